#pragma once

#include <cstdint>

#include "portable_stl/string.h"
#include "portable_stl/vector.h"

// The XML of the core: a small reader for one kind of document, the update feed.
namespace xml {

enum NodeKind : std::uint32_t {
    kDocument = 1,
    kElement = 2,
    kInstruction = 4,  // <?...?>
};

struct XmlAttribute {
    portable_stl::string name;
    portable_stl::string value;  // entities resolved
};

// A node of the tree; the document is its root. Owned by its parent's vector.
//
// Bytes are taken as they come, whatever encoding the document claims. Moving and destroying take a constant
// amount of stack, whatever the depth.
struct XmlNode {
    portable_stl::string name;  // of the document: "XmlDocument"
    portable_stl::string text;  // the text directly behind its opening tag, entities resolved
    // Owner while the document is being read; stale once its owner has moved.
    XmlNode* parent = nullptr;
    std::uint32_t kind = kElement;
    portable_stl::vector<XmlNode> children;         // in document order
    portable_stl::vector<XmlAttribute> attributes;  // in document order; no two of one name

    XmlNode() noexcept = default;
    XmlNode(const XmlNode&) = delete;
    XmlNode& operator=(const XmlNode&) = delete;
    XmlNode(XmlNode&&) noexcept = default;
    XmlNode& operator=(XmlNode&&) noexcept = default;
    ~XmlNode() {
        if (!children.empty())
            DestroyChildren();
    }

    void DestroyChildren() noexcept;
};

/// Reads a zero-terminated document. 0; -1 for one that the rules refuse or that is empty: the document is
/// cleared then. A constant amount of stack, and linear time but for the attributes of one tag, which are
/// sorted. Throws as the containers do.
///
/// The rules are those that the feed's servers are written against, strict here and careless there. They are
/// no conforming parser's and have to stay: XmlTokenizer.h and the table in XmlReader.cpp hold them.
[[nodiscard]] std::int32_t ParseXml(const portable_stl::string& text, XmlNode& document);

/// The first child of that name, byte for byte when `exact` is set and in any ASCII case otherwise, or null.
[[nodiscard]] const XmlNode* FindXmlChild(const XmlNode& node, const portable_stl::string& name, bool exact);

/// Empties name, text, children and attributes.
void ClearXml(XmlNode& node) noexcept;

}  // namespace xml
