#pragma once

#include <limits>
#include <utility>

#include "core/src/core/Md5Hex.h"
#include "core/src/json/Json.h"
#include "core/src/registry/IdempotencyKeyStore.h"
#include "core/src/system/LogOutlets.h"

namespace registry {

namespace key_store_detail {

inline portable_stl::string Decimal(std::uint64_t value) {
    portable_stl::string text;
    json::UnsignedToDecimal(value, text);
    return text;
}

// A clock that can't be read stands at 0, where no key that was made by a working one is alive.
template <class Api>
std::int64_t Now(void* context) {
    std::uint64_t seconds = 0;
    return IsSuccess(Api::GetTime(&seconds, context)) ? static_cast<std::int64_t>(seconds) : 0;
}

inline bool IsAlive(const IdempotencyEntry& entry, std::int64_t now) {
    // Unsigned, because a hostile file holds times whose distance no signed number can tell.
    return now >= entry.createdAt &&
           static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(entry.createdAt) <
               kIdempotencyKeySeconds;
}

inline portable_stl::vector<IdempotencyEntry> Alive(const portable_stl::vector<IdempotencyEntry>& entries,
                                                    std::int64_t now) {
    portable_stl::vector<IdempotencyEntry> kept;
    for (const IdempotencyEntry& entry : entries) {
        if (IsAlive(entry, now))
            kept.push_back(entry).value();
    }
    return kept;
}

// Empty for a machine that can't be told.
template <class Api>
portable_stl::string MachineId(void* context) {
    portable_stl::vector<portable_stl::string> ids;
    if (!IsSuccess(Api::GetMachineIds(ids, context)) || ids.empty())
        return {};
    return std::move(ids[0]);
}

template <class Api>
portable_stl::string NewKey(const portable_stl::string& hash, std::int64_t now, void* context) {
    const portable_stl::string machineId = MachineId<Api>(context);
    const portable_stl::string material = machineId + ":" + Decimal(static_cast<std::uint64_t>(now)) + ":" +
                                          Decimal(NextKeyNumber()) + ":" + hash;
    return FormatGuidText(quillmarkclient_core::Md5Hex<Api>(material, context));
}

// The whole file. False for one that is missing, empty or can't be read; the latter is traced.
template <class Api>
bool LoadJson(const portable_stl::string& path, void* context, portable_stl::string& text) {
    std::uint32_t size = 0;
    if (!IsSuccess(Api::FileGetSize(path.c_str(), &size, context)) || size == 0)
        return false;
    if (!text.reserve(size)) {
        QUILLMARK_TRACE("IdempotencyKeyStore: LoadJson: failed to allocate %lu bytes for %s",
                        static_cast<unsigned long>(size), path.c_str());
        return false;
    }
    text.resize(size);
    if (!IsSuccess(Api::FileRead(path.c_str(), 0, text.data(), size, nullptr, context))) {
        QUILLMARK_TRACE("IdempotencyKeyStore: LoadJson: FileRead failed for %s", path.c_str());
        text.clear();
        return false;
    }
    return true;
}

template <class Api>
bool StoreJson(const portable_stl::string& path, void* context, const portable_stl::string& text) {
    if (!IsSuccess(Api::FileSetSize(path.c_str(), 0, context))) {
        QUILLMARK_TRACE("IdempotencyKeyStore: StoreJson: FileSetSize failed for %s", path.c_str());
        return false;
    }
    const bool fits = text.size() <= std::numeric_limits<std::uint32_t>::max();
    if (!fits || !IsSuccess(Api::FileWrite(path.c_str(), 0, text.data(),
                                           static_cast<std::uint32_t>(text.size()), nullptr, context))) {
        QUILLMARK_TRACE("IdempotencyKeyStore: StoreJson: FileWrite failed for %s", path.c_str());
        return false;
    }
    return true;
}

}  // namespace key_store_detail

template <class Api>
void AttachIdempotencyKey(RegistryClient<Api>& client, Request<Api>& request, const char* scope,
                          const portable_stl::string& content, void* context) {
    const portable_stl::string key =
        GetOrCreateKey<Api>(client.dataFolder, client.idempotencyEntries, scope, content, context);
    if (!key.empty())
        request.SetHeader(kIdempotencyHeader, key);
}

template <class Api>
portable_stl::string GetOrCreateKey(const portable_stl::string& folder,
                                    portable_stl::vector<IdempotencyEntry>& entries, const char* scope,
                                    const portable_stl::string& content, void* context) {
    portable_stl::string hash =
        quillmarkclient_core::Md5Hex<Api>(portable_stl::string(scope) + "|" + content, context);
    if (hash.empty())
        return {};
    const std::int64_t now = key_store_detail::Now<Api>(context);
    portable_stl::vector<IdempotencyEntry> kept = key_store_detail::Alive(entries, now);
    for (const IdempotencyEntry& entry : kept) {
        if (entry.hash == hash) {
            portable_stl::string key = entry.key;
            entries.swap(kept);
            return key;
        }
    }

    portable_stl::string key = key_store_detail::NewKey<Api>(hash, now, context);
    if (!key.empty())
        kept.push_back(IdempotencyEntry{std::move(hash), key, now}).value();
    entries.swap(kept);
    if (!key.empty())
        SaveEntries<Api>(folder + kIdempotencyFileName, context, entries);
    return key;
}

template <class Api>
void LoadEntries(const portable_stl::string& path, void* context,
                 portable_stl::vector<IdempotencyEntry>& entries) {
    entries.clear();
    portable_stl::string text;
    if (!key_store_detail::LoadJson<Api>(path, context, text))
        return;
    if (!ReadEntries(text, entries))
        QUILLMARK_TRACE("IdempotencyKeyStore: LoadEntries: failed to parse %s as JSON, ignoring",
                        path.c_str());
}

template <class Api>
void SaveEntries(const portable_stl::string& path, void* context,
                 const portable_stl::vector<IdempotencyEntry>& entries) {
    portable_stl::string text;
    if (!WriteEntries(entries, text)) {
        QUILLMARK_TRACE("IdempotencyKeyStore: SaveEntries: failed to serialize entries for %s", path.c_str());
        return;
    }
    if (!key_store_detail::StoreJson<Api>(path, context, text))
        QUILLMARK_TRACE(
            "IdempotencyKeyStore: SaveEntries: failed to persist %s; key reuse across retries/app relaunch "
            "will not work until this succeeds",
            path.c_str());
}

}  // namespace registry
