// The memory of idempotency keys: the same operation within a day goes out under the same key, after a
// restart of the host too.
//
//   operation    a scope and a content text; equal texts are one operation
//   entry        MD5 of both, the key, the time of its making
//   "LIC2"       {"entries":[{"hash":"...","key":"...","createdAt":"..."}]}, plain, in the client's folder
//
// The list is a member of the RegistryClient, filled from the file at its construction; these are the steps
// over it. Nothing here fails as a result: what goes wrong is traced and costs a key, or a key's survival.
// The file is rewritten in place: a crash in between leaves an empty one, which means no entries.
//
// No lock: the owner of the client serialises. Two processes on one folder overwrite each other's file, the
// last writer wins. Throws as the containers do.
#pragma once

#include <cstdint>

#include "core/src/registry/Records.h"
#include "core/src/registry/RegistryClient.h"
#include "core/src/registry/Request.h"
#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace registry {

/// The request header that carries a key.
inline constexpr char kIdempotencyHeader[] = "Idempotency-Key";
/// The name of the file within the folder, which ends in its separator or is empty.
inline constexpr char kIdempotencyFileName[] = "LIC2";
/// How long a key lives from its making. A use does not lengthen it.
inline constexpr std::uint64_t kIdempotencyKeySeconds = 86400;

/// The scope of what finishes a sign-up through a social account.
inline constexpr char kSignUpFinalizeScope[] = "SIGNUP_FINALIZE";

/// Gives the request the header "Idempotency-Key", so that it is repeated. Without a key it is not, and goes
/// out once.
template <class Api>
void AttachIdempotencyKey(RegistryClient<Api>& client, Request<Api>& request, const char* scope,
                          const portable_stl::string& content, void* context);

/// The operation's key: that of a living entry, as it stands there, or a new one of 36 characters, which is
/// stored. Drops from `entries` what has expired or comes from the future. Empty when the platform can't
/// hash, and then nothing is stored, or when the file's entry has an empty key.
template <class Api>
[[nodiscard]] portable_stl::string GetOrCreateKey(const portable_stl::string& folder,
                                                  portable_stl::vector<IdempotencyEntry>& entries,
                                                  const char* scope, const portable_stl::string& content,
                                                  void* context);

/// Replaces `entries` by those of the file, none when there is no file or it can't be read. An entry that
/// lacks a member is left out.
template <class Api>
void LoadEntries(const portable_stl::string& path, void* context,
                 portable_stl::vector<IdempotencyEntry>& entries);

/// Replaces the file.
template <class Api>
void SaveEntries(const portable_stl::string& path, void* context,
                 const portable_stl::vector<IdempotencyEntry>& entries);

/// Sets 32 digits in the groups 8-4-4-4-12 of a GUID, without its version bits. Any other text stays.
[[nodiscard]] portable_stl::string FormatGuidText(const portable_stl::string& text);

/// The file's text and back. ReadEntries leaves `entries` as they were when it answers false: no JSON.
[[nodiscard]] bool WriteEntries(const portable_stl::vector<IdempotencyEntry>& entries,
                                portable_stl::string& text);
[[nodiscard]] bool ReadEntries(const portable_stl::string& text,
                               portable_stl::vector<IdempotencyEntry>& entries);

/// The process's next number, from 1: keeps two keys apart that are made in the same second.
[[nodiscard]] std::uint64_t NextKeyNumber() noexcept;

}  // namespace registry
