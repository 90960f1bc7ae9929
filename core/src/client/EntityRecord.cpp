#include "core/src/client/EntityRecord.h"

#include <cstddef>
#include <utility>

#include "portable_stl/tree.h"

namespace lowcode {

using json::JsonNode;
using portable_stl::string;
using portable_stl::vector;

namespace {

template <class Record>
struct FieldRow {
    const char* name;
    string Record::*field;
};

constexpr FieldRow<EntityRecord> kEntityTexts[] = {
    {"id", &EntityRecord::id},
    {"entityTypeKey", &EntityRecord::entityTypeKey},
    {"stateKey", &EntityRecord::stateKey},
    {"isDraft", &EntityRecord::isDraft},
    {"customerNumber", &EntityRecord::customerNumber},
};

constexpr const char* kIgnored[] = {"entityTypeId", "stateId", "version"};

constexpr FieldRow<EntityAttributeValue> kAttributeTexts[] = {
    {"id", &EntityAttributeValue::id},
    {"key", &EntityAttributeValue::key},
};

constexpr FieldRow<EntityValueLocale> kLocaleTexts[] = {
    {"key", &EntityValueLocale::key},
    {"display", &EntityValueLocale::display},
};

constexpr FieldRow<EntityReference> kReferenceTexts[] = {
    {"id", &EntityReference::id},
    {"key", &EntityReference::key},
    {"entityId", &EntityReference::entityId},
    {"entityTypeKey", &EntityReference::entityTypeKey},
};

template <class Record, std::size_t count>
void CopyPresent(const JsonNode& node, const FieldRow<Record> (&rows)[count], Record& record) {
    for (const auto& row : rows) {
        if (const JsonNode* const member = json::FindChild(node, row.name); member != nullptr)
            record.*row.field = member->value;
    }
}

void AddLocales(const JsonNode& list, vector<EntityValueLocale>& locales) {
    for (const JsonNode& element : list.children) {
        const JsonNode* const value = json::FindChild(element, "value");
        if (value == nullptr)
            continue;
        EntityValueLocale locale;
        locale.value = value->value;
        CopyPresent(element, kLocaleTexts, locale);
        locales.push_back(std::move(locale)).value();
    }
}

void AddAttributes(const JsonNode& list, vector<EntityAttributeValue>& attributes) {
    for (const JsonNode& element : list.children) {
        const JsonNode* const attributeKey = json::FindChild(element, "attributeKey");
        if (attributeKey == nullptr)
            continue;
        EntityAttributeValue attribute;
        attribute.attributeKey = attributeKey->value;
        CopyPresent(element, kAttributeTexts, attribute);
        if (const JsonNode* const locales = json::FindChild(element, "valueLocales"); locales != nullptr)
            AddLocales(*locales, attribute.valueLocales);
        attributes.push_back(std::move(attribute)).value();
    }
}

void AddReferences(const JsonNode& list, vector<EntityReference>& references) {
    for (const JsonNode& element : list.children) {
        EntityReference reference;
        CopyPresent(element, kReferenceTexts, reference);
        references.push_back(std::move(reference)).value();
    }
}

struct CopyStep {
    const JsonNode* source;
    EntityExtraField* target;
};

// With a list of what is still to be copied, since the depth is the service's to choose. A node's children
// get their places at once, so that the pointers to them hold. False when there is no room for the fields.
bool CopyTree(const JsonNode& member, EntityExtraField& field) {
    vector<CopyStep> steps;
    if (!steps.push_back(CopyStep{&member, &field}))
        return false;
    while (!steps.empty()) {
        const CopyStep step = steps.back();
        steps.pop_back();
        step.target->name = step.source->key;
        step.target->value = step.source->value;
        const std::size_t count = step.source->children.size();
        if (!step.target->children.resize(count))
            return false;
        for (std::size_t i = 0; i < count; ++i) {
            if (!steps.push_back(CopyStep{&step.source->children[i], &step.target->children[i]}))
                return false;
        }
    }
    return true;
}

bool AddExtraField(const JsonNode& member, vector<EntityExtraField>& fields) {
    EntityExtraField field;
    return CopyTree(member, field) && fields.push_back(std::move(field)).has_value();
}

bool IsIgnored(const string& key) {
    for (const char* const name : kIgnored) {
        if (json::KeyEquals(key, name))
            return true;
    }
    return false;
}

bool TakeMember(const JsonNode& member, EntityRecord& record) {
    for (const auto& row : kEntityTexts) {
        if (json::KeyEquals(member.key, row.name)) {
            record.*row.field = member.value;
            return true;
        }
    }
    if (json::KeyEquals(member.key, "attributeValues"))
        AddAttributes(member, record.attributeValues);
    else if (json::KeyEquals(member.key, "referencedTo"))
        AddReferences(member, record.referencedTo);
    else if (!IsIgnored(member.key))
        return AddExtraField(member, record.extraFields);
    return true;
}

}  // namespace

EntityExtraField::~EntityExtraField() {
    portable_stl::destroy_children(*this);
}

bool ReadEntity(const JsonNode* root, EntityRecord& record) {
    record = EntityRecord();
    if (root == nullptr)
        return false;
    for (const JsonNode& member : root->children) {
        if (!TakeMember(member, record))
            return false;
    }
    return !record.id.empty() && !record.entityTypeKey.empty();
}

ResultCode ComposeAttribute(JsonNode* array, const string& attributeKey, const string& value) {
    if (array == nullptr)
        return ResultCode::kInvalidParameters;
    if (attributeKey.empty() || value.empty())
        return ResultCode::kSuccess;
    JsonNode& element = json::AddObject(*array, "");
    json::AddChild(element, "attributeKey", attributeKey, true);
    JsonNode& locale = json::AddObject(json::AddArray(element, "valueLocales"), "");
    json::AddChild(locale, "value", value, true);
    return ResultCode::kSuccess;
}

}  // namespace lowcode
