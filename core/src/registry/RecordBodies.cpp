#include "core/src/registry/RecordBodies.h"

#include <cstddef>
#include <utility>

#include "core/src/json/Json.h"
#include "portable_stl/exception.h"

namespace registry {
namespace {

// Which member of a JSON object goes to which text of a record.
template <class Record>
struct FieldRow {
    const char* name;
    portable_stl::string Record::*field;
};

constexpr FieldRow<CustomerInfo> kCustomerInfoFields[] = {
    {"id", &CustomerInfo::id},
    {"firstName", &CustomerInfo::firstName},
    {"lastName", &CustomerInfo::lastName},
    {"middleName", &CustomerInfo::middleName},
    {"email", &CustomerInfo::email},
    {"language", &CustomerInfo::language},
    {"country", &CustomerInfo::country},
    {"state", &CustomerInfo::state},
    {"city", &CustomerInfo::city},
    {"address", &CustomerInfo::address},
    {"emailConfirmed", &CustomerInfo::emailConfirmed},
    {"role", &CustomerInfo::role},
    {"gdprStatus", &CustomerInfo::gdprStatus},
    {"uwgStatus", &CustomerInfo::uwgStatus},
};

constexpr FieldRow<TrustRecord> kTrustDetailFields[] = {
    {"type", &TrustRecord::type},           {"name", &TrustRecord::name},
    {"firstName", &TrustRecord::firstName}, {"middleName", &TrustRecord::middleName},
    {"lastName", &TrustRecord::lastName},   {"email", &TrustRecord::email},
    {"phone", &TrustRecord::phone},
};

constexpr FieldRow<TrustRight> kTrustRightFields[] = {
    {"id", &TrustRight::id},
    {"space", &TrustRight::space},
    {"role", &TrustRight::role},
    {"bans", &TrustRight::bans},
};

template <class Record, std::size_t count>
void CopyPresentFields(const json::JsonNode& node, const FieldRow<Record> (&rows)[count], Record& record) {
    for (const auto& row : rows) {
        if (const json::JsonNode* const member = json::FindChild(node, row.name); member != nullptr)
            record.*row.field = member->value;
    }
}

portable_stl::vector<TrustRight> ReadRights(const json::JsonNode& list) {
    portable_stl::vector<TrustRight> rights;
    for (const json::JsonNode& element : list.children) {
        TrustRight right;
        CopyPresentFields(element, kTrustRightFields, right);
        rights.push_back(std::move(right)).value();
    }
    return rights;
}

ResultCode ReadTrust(const json::JsonNode& element, TrustRecord& record) {
    const json::JsonNode* const id = json::FindChild(element, "id");
    const json::JsonNode* const trustorId = json::FindChild(element, "trustorId");
    if (id == nullptr || trustorId == nullptr)
        return ResultCode::kCompatibilityBroken;
    record.id = id->value;
    record.trustorId = trustorId->value;
    // Our query asks for no rights; they are read all the same should the service send them.
    if (const json::JsonNode* const rights = json::FindChild(element, "trustRights"); rights != nullptr)
        record.rights = ReadRights(*rights);
    if (const json::JsonNode* const details = json::FindChild(element, "trustorDetails"); details != nullptr)
        CopyPresentFields(*details, kTrustDetailFields, record);
    return ResultCode::kSuccess;
}

}  // namespace

ResultCode ReadCustomerInfo(const portable_stl::string& responseBody, CustomerInfo& info) {
    json::JsonNode root;
    if (!json::ParseJson(responseBody, root))
        return ResultCode::kCompatibilityBroken;
    info = CustomerInfo();
    CopyPresentFields(root, kCustomerInfoFields, info);
    return ResultCode::kSuccess;
}

ResultCode ReadTrustRecords(const portable_stl::string& responseBody,
                            portable_stl::vector<TrustRecord>& records) {
    json::JsonNode root;
    if (!json::ParseJson(responseBody, root))
        return ResultCode::kCompatibilityBroken;
    records.clear();
    for (const json::JsonNode& element : root.children) {
        TrustRecord record;
        if (const auto code = ReadTrust(element, record); !IsSuccess(code))
            return code;
        records.push_back(std::move(record)).value();
    }
    return ResultCode::kSuccess;
}

ResultCode ReadSocialProviders(const portable_stl::string& responseBody, char separator,
                               portable_stl::string& text) {
    json::JsonNode root;
    if (!json::ParseJson(responseBody, root))
        return ResultCode::kCompatibilityBroken;
    std::size_t size = text.size();
    for (const json::JsonNode& provider : root.children) {
        if (const json::JsonNode* const key = json::FindChild(provider, "key"); key != nullptr)
            size += key->value.size() + 1;
    }
    if (!text.reserve(size))
        throw portable_stl::bad_alloc();
    for (const json::JsonNode& provider : root.children) {
        if (const json::JsonNode* const key = json::FindChild(provider, "key"); key != nullptr)
            text.append(key->value).append(separator);
    }
    return ResultCode::kSuccess;
}

}  // namespace registry
