// The JSON of the core: a tree of JsonNode records, a forgiving reader and a compact writer.
//
// Every scalar is text, numbers and literals too: the reader never converts, and a member given as null
// reads as the text "null" with isString false. Text is UTF-8 throughout.
//
// The reader takes more than JSON, and on purpose: trailing commas, brackets that close the other kind,
// unquoted names of one token, stray bytes as values, a container in place of a value that stood before it
// without a comma, `\uXXXX` escapes that are decoded before anything else looks at the text. What passes
// has to keep passing and what fails has to keep failing, because callers decide on the outcome.
//
// Reading, writing, moving and destroying take linear time and a constant amount of stack, whatever the
// depth of the tree. A tree belongs to one thread; nothing is shared between trees.
//
// Throws portable_stl::bad_alloc or bad_expected_access when memory is exhausted; a tree that was being
// filled is then good for its destruction only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace json {

// A value of any kind. Fresh, it is an empty quoted scalar.
//
// Neither flag set and no children: a scalar. A node with children is written as an array when isArray is
// set and its value is empty, else as an object, with or without isObject.
struct JsonNode {
    portable_stl::string key;    // member name; empty for an element and for the root
    portable_stl::string value;  // scalar text without quotes, escapes resolved; empty for a container
    bool isString = true;        // the scalar was, or is to be written, in double quotes
    bool isArray = false;
    bool isObject = false;
    // Owner while the tree is being read, null at the root. Stale as soon as the owner has moved, which the
    // growth of the owner's siblings does: nothing may follow it once reading has ended.
    JsonNode* parent = nullptr;
    portable_stl::vector<JsonNode> children;  // members or elements, in document order

    JsonNode() noexcept = default;
    JsonNode(const JsonNode&) = delete;
    JsonNode& operator=(const JsonNode&) = delete;
    // A move takes over the children as a block: no child moves.
    JsonNode(JsonNode&&) noexcept = default;
    JsonNode& operator=(JsonNode&&) noexcept = default;

    ~JsonNode() {
        if (!children.empty())
            DestroyChildren();
    }

    // Ends everything below this node with a loop, however deep it is.
    void DestroyChildren() noexcept;
};

// Reads `text` into a fresh root. False when it can't be read; the tree is then partly filled and only to
// be destroyed. Reading stops at the first zero byte, written as such or as \u0000.
[[nodiscard]] bool ParseJson(const portable_stl::string& text, JsonNode& root);

// Replaces `out` by the text of the tree. A root without key, value and children gives [], {} or "". The
// escapes are those of EscapeJsonText; `pretty` sets a line for each child, indented by four blanks a
// level. Always true.
bool WriteJson(const JsonNode& root, portable_stl::string& out, bool pretty);

// Appends the text of `node` to `out`, with its name in front if it has one. `indent` is the number of
// blanks in front of the line that the node stands on; it matters to `pretty` only.
void WriteJsonNode(const JsonNode& node, portable_stl::string& out, std::size_t indent, bool pretty);

// These three append a child and return it: a scalar, an empty array, an empty object. The texts are
// copied. The reference holds until a further child is added to the same parent, so children are filled
// before their next sibling is added.
JsonNode& AddChild(JsonNode& parent, const portable_stl::string& key, const portable_stl::string& value,
                   bool isString);
JsonNode& AddArray(JsonNode& parent, const portable_stl::string& key);
JsonNode& AddObject(JsonNode& parent, const portable_stl::string& key);

// The first child with that name, or null; a linear scan. Names match as KeyEquals says, or byte for byte
// when `exactCase` is set. A null key reads as the empty one. The pointer holds as long as no child is added
// to the same node.
[[nodiscard]] const JsonNode* FindChild(const JsonNode& node, const portable_stl::string& key,
                                        bool exactCase = false) noexcept;
[[nodiscard]] JsonNode* FindChild(JsonNode& node, const portable_stl::string& key,
                                  bool exactCase = false) noexcept;
[[nodiscard]] const JsonNode* FindChild(const JsonNode& node, const char* key,
                                        bool exactCase = false) noexcept;
[[nodiscard]] JsonNode* FindChild(JsonNode& node, const char* key, bool exactCase = false) noexcept;

// Equal lengths, and equal bytes once A-Z are folded to a-z. No other byte is folded, under any locale.
[[nodiscard]] bool KeyEquals(const portable_stl::string& a, const portable_stl::string& b) noexcept;

// Makes the node a scalar: clears both flags and destroys all children.
void SetValue(JsonNode& node, const portable_stl::string& text, bool isString);
void SetKey(JsonNode& node, const portable_stl::string& text);

// Replaces `out` by the decimal digits of `value`.
void UnsignedToDecimal(std::uint64_t value, portable_stl::string& out);

// The text with a backslash form for line feed, tab, carriage return, form feed, backspace, backslash,
// double quote and slash. All other bytes pass raw, other controls and non-ASCII included.
[[nodiscard]] portable_stl::string EscapeJsonText(const portable_stl::string& text);

}  // namespace json
