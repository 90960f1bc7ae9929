#include "core/src/client/XmlNode.h"

#include "core/src/json/Json.h"
#include "portable_stl/tree.h"

namespace xml {

void XmlNode::DestroyChildren() noexcept {
    portable_stl::destroy_children(*this);
}

const XmlNode* FindXmlChild(const XmlNode& node, const portable_stl::string& name, bool exact) {
    for (const XmlNode& child : node.children) {
        if (exact ? child.name == name : json::KeyEquals(child.name, name))
            return &child;
    }
    return nullptr;
}

void ClearXml(XmlNode& node) noexcept {
    node.name.clear();
    node.text.clear();
    node.DestroyChildren();
    node.attributes.clear();
}

}  // namespace xml
