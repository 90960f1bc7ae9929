#include "core/src/registry/IdempotencyKeyStore.h"

#include <atomic>
#include <cstddef>

#include "core/src/registry/IdempotencyKeyStore_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

using SystemApi = quillmarkclient_core::SystemApi;
using Entries = portable_stl::vector<IdempotencyEntry>;

template void AttachIdempotencyKey<SystemApi>(RegistryClient<SystemApi>&, Request<SystemApi>&, const char*,
                                              const portable_stl::string&, void*);
template portable_stl::string GetOrCreateKey<SystemApi>(const portable_stl::string&, Entries&, const char*,
                                                        const portable_stl::string&, void*);
template void LoadEntries<SystemApi>(const portable_stl::string&, void*, Entries&);
template void SaveEntries<SystemApi>(const portable_stl::string&, void*, const Entries&);

namespace {

constexpr std::size_t kGuidDigits = 32;
constexpr std::size_t kGuidGroups[] = {8, 4, 4, 4, 12};

// 0 for what is no signed decimal of 64 bits.
std::int64_t ParseTime(const portable_stl::string& text) {
    const bool isNegative = !text.empty() && text[0] == '-';
    const std::uint64_t largest = std::uint64_t{INT64_MAX} + (isNegative ? 1 : 0);
    std::uint64_t value = 0;
    for (std::size_t i = isNegative ? 1 : 0; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9')
            return 0;
        const auto digit = static_cast<std::uint64_t>(text[i] - '0');
        if (value > (largest - digit) / 10)
            return 0;
        value = value * 10 + digit;
    }
    return static_cast<std::int64_t>(isNegative ? 0 - value : value);
}

}  // namespace

portable_stl::string FormatGuidText(const portable_stl::string& text) {
    if (text.size() != kGuidDigits)
        return text;
    portable_stl::string guid;
    std::size_t start = 0;
    for (const std::size_t size : kGuidGroups) {
        if (start != 0)
            guid.append('-');
        guid.append(text.data() + start, size);
        start += size;
    }
    return guid;
}

bool WriteEntries(const Entries& entries, portable_stl::string& text) {
    json::JsonNode root;
    json::JsonNode& list = json::AddArray(root, "entries");
    for (const IdempotencyEntry& entry : entries) {
        json::JsonNode& element = json::AddObject(list, "");
        json::AddChild(element, "hash", entry.hash, true);
        json::AddChild(element, "key", entry.key, true);
        portable_stl::string createdAt;
        json::UnsignedToDecimal(static_cast<std::uint64_t>(entry.createdAt), createdAt);
        json::AddChild(element, "createdAt", createdAt, true);
    }
    return json::WriteJson(root, text, false);
}

bool ReadEntries(const portable_stl::string& text, Entries& entries) {
    json::JsonNode root;
    if (!json::ParseJson(text, root))
        return false;
    Entries read;
    if (const json::JsonNode* const list = json::FindChild(root, "entries"); list != nullptr) {
        for (const json::JsonNode& element : list->children) {
            const json::JsonNode* const key = json::FindChild(element, "key");
            const json::JsonNode* const hash = json::FindChild(element, "hash");
            const json::JsonNode* const createdAt = json::FindChild(element, "createdAt");
            if (key == nullptr || hash == nullptr || createdAt == nullptr)
                continue;
            read.push_back(IdempotencyEntry{hash->value, key->value, ParseTime(createdAt->value)}).value();
        }
    }
    entries.swap(read);
    return true;
}

std::uint64_t NextKeyNumber() noexcept {
    static std::atomic<std::uint64_t> lastNumber{0};
    std::uint64_t last = lastNumber.load(std::memory_order_relaxed);
    while (!lastNumber.compare_exchange_weak(last, last + 1, std::memory_order_relaxed)) {
    }
    return last + 1;
}

}  // namespace registry
