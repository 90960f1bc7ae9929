// What the tests of the JSON layer share: a way to write down a tree, and a reader to compare with.
#pragma once

#include <optional>
#include <string>

#include "core/src/json/Json.h"

namespace json_test {

// Bytes in and out of the core's strings.
portable_stl::string Text(const std::string& bytes);
std::string Bytes(const portable_stl::string& text);

// The whole tree in one line, with nothing escaped:
//   "text"  a quoted scalar     text    an unquoted one
//   [a,b]   flagged array       {k=a}   flagged object, `k` a key      [{a}]  both flags
std::string Shape(const json::JsonNode& node);

// The shape of what ParseJson makes of the text, or nothing when it fails.
std::optional<std::string> ShapeOf(const std::string& text);

// The same by a second reader, which is slow, keeps to the rules one by one and shares no code with the
// library's.
std::optional<std::string> ReferenceShapeOf(const std::string& text);

// The text that WriteJson gives.
std::string Written(const json::JsonNode& root, bool pretty = false);

// `inner` between the two others.
std::string Between(const char* open, const std::string& inner, const char* close);

// For messages: the text with bytes that can't be shown as \xNN.
std::string Visible(const std::string& text);

}  // namespace json_test
