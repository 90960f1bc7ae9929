// The generic records in which the service holds tickets and reports: an entity of a named type with a list
// of attribute values, each with one or more localised values.
#pragma once

#include "core/src/ResultCode.h"
#include "core/src/json/Json.h"
#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace lowcode {

struct EntityValueLocale {
    portable_stl::string key;  // the locale
    portable_stl::string value;
    portable_stl::string display;
};

struct EntityAttributeValue {
    portable_stl::string id;
    portable_stl::string key;
    portable_stl::string attributeKey;
    portable_stl::vector<EntityValueLocale> valueLocales;
};

struct EntityReference {
    portable_stl::string id;
    portable_stl::string key;
    portable_stl::string entityTypeKey;
    portable_stl::string entityId;
};

/// A member that has no field: a copy of it with all below it. Any depth; destroyed by a loop.
struct EntityExtraField {
    portable_stl::string name;
    portable_stl::string value;
    portable_stl::vector<EntityExtraField> children;
    EntityExtraField* parent = nullptr;  // of use to the destructor only

    EntityExtraField() noexcept = default;
    EntityExtraField(const EntityExtraField&) = delete;
    EntityExtraField& operator=(const EntityExtraField&) = delete;
    EntityExtraField(EntityExtraField&&) noexcept = default;
    EntityExtraField& operator=(EntityExtraField&&) noexcept = default;
    ~EntityExtraField();
};

/// Every value is the text that the JSON reader holds, numbers and booleans included.
struct EntityRecord {
    portable_stl::string id;
    portable_stl::string entityTypeKey;
    portable_stl::string stateKey;
    portable_stl::string isDraft;
    portable_stl::string customerNumber;
    portable_stl::vector<EntityAttributeValue> attributeValues;
    portable_stl::vector<EntityReference> referencedTo;
    portable_stl::vector<EntityExtraField> extraFields;
};

/// Replaces `record`. False for a null node, for an entity without id or type, and when there is no memory
/// for a list of the extra fields; a text that finds none throws. Member names match in any ASCII case; a
/// later member of a name overwrites a text and extends a list.
[[nodiscard]] bool ReadEntity(const json::JsonNode* root, EntityRecord& record);

/// Appends one attribute value with one locale to the array; nothing for an empty key or value.
///   returns  0; kInvalidParameters for a null array
[[nodiscard]] ResultCode ComposeAttribute(json::JsonNode* array, const portable_stl::string& attributeKey,
                                          const portable_stl::string& value);

}  // namespace lowcode
