// Building, changing and searching the tree.
#include <cstring>
#include <utility>

#include "core/src/json/Json.h"
#include "portable_stl/tree.h"

namespace json {

using portable_stl::string;

namespace {

unsigned char FoldCase(char character) noexcept {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte - 'A' + 'a') : byte;
}

bool EqualIgnoringCase(const char* a, const char* b, std::size_t length) noexcept {
    for (std::size_t i = 0; i < length; ++i)
        if (FoldCase(a[i]) != FoldCase(b[i]))
            return false;
    return true;
}

const JsonNode* FindChild(const JsonNode& node, const char* key, std::size_t length,
                          bool exactCase) noexcept {
    for (const JsonNode& child : node.children) {
        if (child.key.size() != length)
            continue;
        const char* const name = child.key.data();
        if (exactCase ? std::memcmp(name, key, length) == 0 : EqualIgnoringCase(name, key, length))
            return &child;
    }
    return nullptr;
}

JsonNode& Append(JsonNode& parent, JsonNode&& child) {
    child.parent = &parent;
    parent.children.push_back(std::move(child)).value();
    return parent.children.back();
}

}  // namespace

void JsonNode::DestroyChildren() noexcept {
    portable_stl::destroy_children(*this);
}

JsonNode& AddChild(JsonNode& parent, const string& key, const string& value, bool isString) {
    JsonNode child;
    child.key = key;
    child.value = value;
    child.isString = isString;
    return Append(parent, std::move(child));
}

JsonNode& AddArray(JsonNode& parent, const string& key) {
    JsonNode child;
    child.key = key;
    child.isArray = true;
    return Append(parent, std::move(child));
}

JsonNode& AddObject(JsonNode& parent, const string& key) {
    JsonNode child;
    child.key = key;
    child.isObject = true;
    return Append(parent, std::move(child));
}

const JsonNode* FindChild(const JsonNode& node, const string& key, bool exactCase) noexcept {
    return FindChild(node, key.data(), key.size(), exactCase);
}

JsonNode* FindChild(JsonNode& node, const string& key, bool exactCase) noexcept {
    return const_cast<JsonNode*>(FindChild(std::as_const(node), key, exactCase));
}

const JsonNode* FindChild(const JsonNode& node, const char* key, bool exactCase) noexcept {
    const char* const text = key == nullptr ? "" : key;
    return FindChild(node, text, std::strlen(text), exactCase);
}

JsonNode* FindChild(JsonNode& node, const char* key, bool exactCase) noexcept {
    return const_cast<JsonNode*>(FindChild(std::as_const(node), key, exactCase));
}

bool KeyEquals(const string& a, const string& b) noexcept {
    return a.size() == b.size() && EqualIgnoringCase(a.data(), b.data(), a.size());
}

void SetValue(JsonNode& node, const string& text, bool isString) {
    node.value = text;
    node.isString = isString;
    node.isArray = false;
    node.isObject = false;
    node.children.clear();
}

void SetKey(JsonNode& node, const string& text) {
    node.key = text;
}

void UnsignedToDecimal(std::uint64_t value, string& out) {
    char digits[20];  // 2^64 - 1 has twenty
    std::size_t first = sizeof digits;
    do {
        digits[--first] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    out.assign(digits + first, sizeof digits - first);
}

}  // namespace json
