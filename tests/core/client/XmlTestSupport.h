// What the tests of the XML reader share: a way to write down a tree, and a reader to compare with.
#pragma once

#include <optional>
#include <string>

#include "core/src/client/XmlNode.h"

namespace xml_test {

// The tree in one line, with nothing escaped; each part stands only where there is something to tell:
//   name(attribute=value,...)'text'{child,child}
// An instruction has a question mark in front of its name. Of a document that has its usual name and no more
// only the children are told; any other begins with #.
std::string Shape(const xml::XmlNode& node);

// The shape of what ParseXml makes of the text, or nothing when it refuses it. A document that was refused
// and is not cleared fails the test.
std::optional<std::string> ShapeOf(const std::string& text);

// The same by a second reader, which is slow, keeps to the rules one by one and shares no code with the
// library's.
std::optional<std::string> ReferenceShapeOf(const std::string& text);

// What a row says of a text that is to be refused.
inline constexpr char kRefused[] = "(refused)";

// `part` so many times.
std::string Repeated(const std::string& part, std::size_t count);

}  // namespace xml_test
