#pragma once

#include <cstdint>

#include "core/src/ResultCode.h"
#include "portable_stl/string.h"

namespace quillmarkclient_core {

// The two files that let a sign-in survive a restart, and the operations that move them to and from a
// session.
//
//   "LIC0"  {"identityToken":...,"contextType":"b2c"|"b2b","contextId":...}, or the bare identity token
//   "LIC"   {"contextToken":...}
//
// Both lie in the session's folder, behind its cipher. Nothing in them tells their version: the two forms of
// "LIC0" are told apart by the parse alone. No lock of their own; two processes that share a folder overwrite
// each other's files, the last writer wins.
//
// `Session` is what the files act on. It has the type `Api` and the fields `storagePath` (ends in its
// separator), `cryptographer` (shared pointer) and `registryClient` (pointer: SetAccessToken,
// ReauthorizeViaIdentity). The one session of the library is Client, whose folder holds the instantiation.
//
// `context` goes unchanged to every platform operation. Throws as the containers do.

// The names within the folder. The pointers can be changed, before the first client only: they are
// process-wide and unguarded.
extern const char* identityFileName;
extern const char* contextFileName;

/// Makes the stored context token the session's token, with its mark clear.
///   returns  0, also when nothing is stored; kFileGetSize, kFileRead; kJsonParse
template <class Session>
[[nodiscard]] ResultCode LoadContextFile(Session& session, void* context);

/// Renews the session by the stored identity, which takes up to two exchanges. The service's answer does not
/// count: a refused identity shows in the session having no valid token.
///   returns  0, also when nothing is stored; kFileGetSize, kFileRead; kInternalError when the file names no
///            identity
template <class Session, class ErrorInfo>
[[nodiscard]] ResultCode LoadIdentityFile(Session& session, ErrorInfo* errorInfo, void* context);

/// Replace the whole file. A failure goes to the trace outlet; the file may then be left empty.
template <class Session>
void StoreIdentityFile(Session& session, const portable_stl::string& identityToken, std::uint32_t contextMode,
                       const portable_stl::string& contextId, void* context);
template <class Session>
void StoreContextFile(Session& session, const portable_stl::string& contextToken, void* context);

}  // namespace quillmarkclient_core
