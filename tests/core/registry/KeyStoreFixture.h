// What the tests of the idempotency keys share: a client with a folder, and what a key has to be, computed
// apart from the library.
#pragma once

#include <openssl/evp.h>

#include <cstdint>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/src/registry/IdempotencyKeyStore.h"
#include "tests/core/registry/RegistryFixture.h"

namespace test {

inline constexpr char kKeyFile[] = "folder/LIC2";
inline constexpr char kScope[] = "SIGNUP_FINALIZE";
inline constexpr std::uint64_t kNow = 1'700'000'000;

inline std::string Md5Of(const std::string& text) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    std::size_t size = 0;
    if (EVP_Q_digest(nullptr, "MD5", nullptr, text.data(), text.size(), digest, &size) != 1)
        throw std::runtime_error("no MD5 here");
    std::string hex;
    for (std::size_t i = 0; i < size; ++i) {
        hex += "0123456789abcdef"[digest[i] / 16];
        hex += "0123456789abcdef"[digest[i] % 16];
    }
    return hex;
}

/// The key of that material, with the dashes in their places.
inline std::string KeyFrom(const std::string& machineId, std::uint64_t now, std::uint64_t number,
                           const std::string& hash) {
    std::string key =
        Md5Of(machineId + ":" + std::to_string(now) + ":" + std::to_string(number) + ":" + hash);
    for (const std::size_t place : {8u, 13u, 18u, 23u})
        key.insert(place, "-");
    return key;
}

struct Entry {
    std::string hash;
    std::string key;
    std::int64_t createdAt;

    friend bool operator==(const Entry&, const Entry&) = default;
    friend void PrintTo(const Entry& entry, std::ostream* out) {
        *out << entry.hash << " " << entry.key << " " << entry.createdAt;
    }
};
using Entries = std::vector<Entry>;
using EntryList = portable_stl::vector<registry::IdempotencyEntry>;

inline Entries Told(const EntryList& list) {
    Entries entries;
    for (const auto& entry : list)
        entries.push_back({Text(entry.hash), Text(entry.key), entry.createdAt});
    return entries;
}

inline EntryList Listed(const Entries& entries) {
    EntryList list;
    for (const Entry& entry : entries)
        list.push_back({Text(entry.hash), Text(entry.key), entry.createdAt}).value();
    return list;
}

/// One entry as the file shows it; for texts that need no escapes.
inline std::string EntryText(const std::string& hash, const std::string& key, std::uint64_t createdAt) {
    return R"({"hash":")" + hash + R"(","key":")" + key + R"(","createdAt":")" + std::to_string(createdAt) +
           R"("})";
}

class KeyStoreTest : public RegistryTest {
protected:
    using Client = registry::CustomerRegistryClient<SystemApi>;

    KeyStoreTest() { client.dataFolder = "folder/"; }

    /// A client that starts now, over the files that there are.
    Client Started(const char* folder = "folder/") { return {kBaseUrl, folder, {}, context}; }

    std::string KeyOf(Client& of, const std::string& content, const char* scope = kScope) {
        return Text(registry::GetOrCreateKey<SystemApi>(of.dataFolder, of.idempotencyEntries, scope,
                                                        Text(content), context));
    }
    std::string KeyOf(const std::string& content) { return KeyOf(client, content); }

    std::uint32_t Writes() const {
        return platform.CallCount(Operation::FileWrite) + platform.CallCount(Operation::FileSetSize);
    }
};

}  // namespace test
