#include "tests/core/json/JsonTestSupport.h"

#include <cstdio>

namespace json_test {

portable_stl::string Text(const std::string& bytes) {
    return {bytes.data(), bytes.size()};
}

std::string Bytes(const portable_stl::string& text) {
    return {text.data(), text.size()};
}

std::string Between(const char* open, const std::string& inner, const char* close) {
    std::string text(open);
    text += inner;
    text += close;
    return text;
}

std::string Shape(const json::JsonNode& node) {
    const std::string name = node.key.empty() ? "" : Bytes(node.key) + "=";
    if (!node.isArray && !node.isObject)
        return name + (node.isString ? Between("\"", Bytes(node.value), "\"") : Bytes(node.value));
    std::string inner;
    for (const json::JsonNode& child : node.children) {
        inner += &child == node.children.begin() ? "" : ",";
        inner += Shape(child);
    }
    if (node.isObject)
        inner = Between("{", inner, "}");
    return name + (node.isArray ? Between("[", inner, "]") : inner);
}

std::optional<std::string> ShapeOf(const std::string& text) {
    json::JsonNode root;
    if (!json::ParseJson(Text(text), root))
        return std::nullopt;
    return Shape(root);
}

std::string Written(const json::JsonNode& root, bool pretty) {
    portable_stl::string out;
    json::WriteJson(root, out, pretty);
    return Bytes(out);
}

std::string Visible(const std::string& text) {
    std::string visible;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02x", byte);
        visible += byte < 0x20 || byte > 0x7E ? std::string(hex) : std::string(1, character);
    }
    return visible;
}

}  // namespace json_test
