#include "tests/core/client/XmlTestSupport.h"

#include <gtest/gtest.h>

#include "tests/core/json/JsonTestSupport.h"

namespace xml_test {

using json_test::Bytes;

namespace {

std::string ChildrenOf(const xml::XmlNode& node) {
    std::string text;
    for (const xml::XmlNode& child : node.children)
        text += (text.empty() ? "" : ",") + Shape(child);
    return text;
}

std::string NameOf(const xml::XmlNode& node) {
    switch (node.kind) {
        case 1:
            return "#" + Bytes(node.name);
        case 2:
            return Bytes(node.name);
        case 4:
            return "?" + Bytes(node.name);
        default:
            ADD_FAILURE() << "a node of kind " << node.kind;
            return {};
    }
}

}  // namespace

std::string Shape(const xml::XmlNode& node) {
    const bool isUsual = Bytes(node.name) == "XmlDocument" && node.text.empty() && node.attributes.empty();
    if (node.kind == 1 && isUsual)
        return ChildrenOf(node);
    std::string attributes;
    for (const xml::XmlAttribute& attribute : node.attributes)
        attributes += (attributes.empty() ? "" : ",") + Bytes(attribute.name) + "=" + Bytes(attribute.value);
    std::string shape = NameOf(node);
    if (!attributes.empty())
        shape.append("(").append(attributes).append(")");
    if (!node.text.empty())
        shape.append("'").append(Bytes(node.text)).append("'");
    if (!node.children.empty())
        shape.append("{").append(ChildrenOf(node)).append("}");
    return shape;
}

std::optional<std::string> ShapeOf(const std::string& text) {
    xml::XmlNode document;
    const auto result = xml::ParseXml(json_test::Text(text), document);
    if (result == 0)
        return Shape(document);
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(document.name.empty() && document.text.empty());
    EXPECT_TRUE(document.children.empty() && document.attributes.empty());
    return std::nullopt;
}

std::string Repeated(const std::string& part, std::size_t count) {
    std::string text;
    text.reserve(part.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        text += part;
    return text;
}

}  // namespace xml_test
