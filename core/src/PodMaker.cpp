#include "core/src/PodMaker.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

#include "core/src/system/LogOutlets.h"
#include "core/src/system/SystemApi.h"

namespace quillmarkclient {

namespace {

using portable_stl::string;
using quillmarkclient_core::SystemApi;

constexpr std::size_t kPointerSize = sizeof(void*);

std::size_t StoredSize(const string& text) {
    return text.size() + 1;
}

// A zeroed block of `size` bytes, or null and a report. `line` is the maker that asks.
char* NewBlock(std::size_t size, std::uint32_t line) {
    const bool fits = size <= std::numeric_limits<std::uint32_t>::max();
    void* block = fits ? SystemApi::Alloc(size) : nullptr;
    if (block == nullptr) {
        quillmarkclient_core::ReportError(ResultCode::kInsufficientResources, "core/src/PodMaker", line);
        return nullptr;
    }
    SystemApi::MemSet(block, 0, size);
    return static_cast<char*>(block);
}

// Fills a block from the front. Whoever uses it has added up the same pieces before.
class BlockWriter {
public:
    explicit BlockWriter(char* block) : next_(block) {}

    // Room for `count` objects, all zero.
    template <class T>
    T* Place(std::size_t count = 1) {
        T* first = ::new (static_cast<void*>(next_)) T[count]();
        next_ = reinterpret_cast<char*>(first + count);
        return first;
    }

    char* Text(const string& text) {
        char* copy = next_;
        SystemApi::MemCopy(copy, text.c_str(), StoredSize(text));
        next_ += StoredSize(text);
        return copy;
    }

private:
    char* next_;
};

}  // namespace

CustomerContext** PodMaker::MakeCustomerContexts(
    const portable_stl::vector<registry::ContextEntry>& contexts) {
    const std::size_t count = contexts.size();
    const std::size_t slots = (count + 2) / 2 * 2;  // count + 1, rounded up to an even number
    std::size_t size = slots * kPointerSize + count * sizeof(CustomerContext);
    for (const registry::ContextEntry& context : contexts)
        size += StoredSize(context.id) + StoredSize(context.name);

    char* block = NewBlock(size, __LINE__);
    if (block == nullptr)
        return nullptr;
    BlockWriter writer(block);
    auto** list = writer.Place<CustomerContext*>(slots);
    auto* entries = writer.Place<CustomerContext>(count);
    for (std::size_t i = 0; i < count; ++i) {
        list[i] = &entries[i];
        entries[i].kind = contexts[i].kind;
        entries[i].id = writer.Text(contexts[i].id);
        entries[i].name = writer.Text(contexts[i].name);
    }
    return list;
}

CustomerData* PodMaker::MakeCustomerData(const registry::CustomerInfo& info) {
    const std::size_t size = sizeof(CustomerData) + StoredSize(info.id) + StoredSize(info.firstName) +
                             StoredSize(info.lastName) + StoredSize(info.email);
    char* block = NewBlock(size, __LINE__);
    if (block == nullptr)
        return nullptr;
    BlockWriter writer(block);
    auto* data = writer.Place<CustomerData>();
    data->id = writer.Text(info.id);
    data->firstName = writer.Text(info.firstName);
    data->lastName = writer.Text(info.lastName);
    data->email = writer.Text(info.email);
    return data;
}

ServiceErrorRecord* PodMaker::MakeServiceErrorRecord(const registry::ServiceErrorInfo& info) {
    struct Field {
        const char* ServiceErrorRecord::*target;
        string registry::ServiceErrorInfo::*source;
    };
    static constexpr Field kFields[] = {
        {&ServiceErrorRecord::type, &registry::ServiceErrorInfo::type},
        {&ServiceErrorRecord::title, &registry::ServiceErrorInfo::title},
        {&ServiceErrorRecord::status, &registry::ServiceErrorInfo::status},
        {&ServiceErrorRecord::detail, &registry::ServiceErrorInfo::detail},
        {&ServiceErrorRecord::reason, &registry::ServiceErrorInfo::reason},
        {&ServiceErrorRecord::errorCode, &registry::ServiceErrorInfo::errorCode},
        {&ServiceErrorRecord::traceId, &registry::ServiceErrorInfo::traceId},
    };
    const std::size_t count = info.errorArgs.size();
    std::size_t size =
        sizeof(ServiceErrorRecord) + count * sizeof(NameValuePair) + (count + 1) * kPointerSize;
    for (const Field& field : kFields)
        size += StoredSize(info.*field.source);
    for (const registry::NameValue& argument : info.errorArgs)
        size += StoredSize(argument.name) + StoredSize(argument.value);

    char* block = NewBlock(size, __LINE__);
    if (block == nullptr)
        return nullptr;
    BlockWriter writer(block);
    auto* record = writer.Place<ServiceErrorRecord>();
    auto* pairs = writer.Place<NameValuePair>(count);
    auto** list = writer.Place<const NameValuePair*>(count + 1);
    record->resultCode = info.resultCode;
    record->httpCode = info.httpCode;
    record->errorArgs = list;
    for (const Field& field : kFields)
        record->*field.target = writer.Text(info.*field.source);
    for (std::size_t i = 0; i < count; ++i) {
        list[i] = &pairs[i];
        pairs[i].name = writer.Text(info.errorArgs[i].name);
        pairs[i].value = writer.Text(info.errorArgs[i].value);
    }
    return record;
}

ProductUpdateInfo* PodMaker::MakeProductUpdateInfo(const string& version, const string& description,
                                                   const string& url) {
    const std::size_t size =
        sizeof(ProductUpdateInfo) + StoredSize(version) + StoredSize(description) + StoredSize(url);
    char* block = NewBlock(size, __LINE__);
    if (block == nullptr)
        return nullptr;
    BlockWriter writer(block);
    auto* info = writer.Place<ProductUpdateInfo>();
    info->version = writer.Text(version);
    info->description = writer.Text(description);
    info->url = writer.Text(url);
    return info;
}

PrincipalAdmin* PodMaker::MakePrincipalAdmin(const string& id, const string& name, const string& email,
                                             const string& description) {
    const std::size_t size = sizeof(PrincipalAdmin) + StoredSize(id) + StoredSize(name) + StoredSize(email) +
                             StoredSize(description);
    char* block = NewBlock(size, __LINE__);
    if (block == nullptr)
        return nullptr;
    BlockWriter writer(block);
    auto* admin = writer.Place<PrincipalAdmin>();
    admin->id = writer.Text(id);
    admin->name = writer.Text(name);
    admin->email = writer.Text(email);
    admin->description = writer.Text(description);
    return admin;
}

char* PodMaker::MakeString(const string& text) {
    char* block = NewBlock(StoredSize(text), __LINE__);
    return block == nullptr ? nullptr : BlockWriter(block).Text(text);
}

}  // namespace quillmarkclient
