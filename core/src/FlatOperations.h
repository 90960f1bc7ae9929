#pragma once

#include <cstdint>

#include "core/src/Export.h"
#include "core/src/PlainRecords.h"
#include "core/src/ResultCode.h"
#include "core/src/system/LogOutlets.h"

// The flat interface of the library: free functions over an opaque handle.
//
//   threads   none of them locks: the caller serialises all calls on one handle
//   strings   zero-terminated UTF-8, copied before the call returns
//   outs      written on success only; a record or text that found no memory leaves null. What comes out is
//             one block, the caller's until FreeMemory
//   handle    null, or without an object that the operation needs: kNotInitialized, unless it says otherwise
//   checks    in the order in which an operation lists them; null arguments not spoken of are
//             kInvalidParameters
//   platformContext  goes unchanged to every platform operation; may be null
//   failures  are told to the error outlet as "core/src/quillmarkclient" and returned; a few token operations
//             write a trace line instead and say so
//   throws    but for Initialize, no handler: exhausted memory in a container is an exception of
//             portable_stl, and what a platform operation throws passes through. The native objects turn
//             both into a code. A sign-in that ends so leaves nobody signed in; a choice of a context, and a
//             second factor, leave the session as it was until their answer has come
//   blocking  an operation without exchanges returns at once. An exchange normally takes well under a second;
//             a host that can't be reached holds it for up to 65 s (5 to resolve, 60 to connect), one that
//             falls silent for 30 s more, and one that drips without end for 15 minutes in all. Each
//             operation names the most exchanges that it makes, one behind the other; 401 answers that renew
//             the token are counted in
namespace quillmarkclient {

struct ClientContext;

// --- Setting up ---

/// Stores both log outlets for the process; null silences. Not guarded: belongs before the first client.
QUILLMARK_CORE_EXPORT void SetLogCallbacks(quillmarkclient_core::TraceOutlet trace,
                                           quillmarkclient_core::ErrorOutlet error) noexcept;

/// The version constant of this build, see Version.h.
[[nodiscard]] QUILLMARK_CORE_EXPORT std::uint32_t GetLibraryVersion() noexcept;

/// Builds a client and restores a stored sign-in. Up to 2 exchanges, none when nothing is stored.
///
/// The platform table becomes the process's table, for clients made before as well. A stored sign-in that is
/// damaged or that the service refuses is no failure: nobody is signed in then.
///   returns  0; kInvalidParameters (null argument; null or empty serviceUrl); kVersionMismatch;
///            kInsufficientResources. Up to kVersionMismatch `*out` stays as it was and nothing else is
///            touched, behind it `*out` is null
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode Initialize(const QuillmarkClientInit* init,
                                                          ClientContext** out, void* platformContext);

/// Ends the client and all that it owns; null is ignored. Blocks that it gave out live on.
QUILLMARK_CORE_EXPORT void Shutdown(ClientContext* context, void* platformContext);

/// Takes back what an operation gave out; null is accepted, and a null handle too. Returns 0.
QUILLMARK_CORE_EXPORT ResultCode FreeMemory(ClientContext* context, void* block, void* platformContext);

// --- Sign-in ---
//
// Each returns the service's answer. A success of those that sign in is stored for the next start, but for an
// administrator's and for a token that is taken over.
//
// Three codes are steps rather than faults, though they are reported like all: kSecondFactorRequired (the
// challenge stands in GetLastServiceError, then ConfirmSecondFactor), kInvalidVerificationCode (once more)
// and kTooManyContexts (GetCustomerContexts, then SignInToContext). Storing may fail; that is traced, and the
// sign-in stands for this run.

/// Signs in by password. A former sign-in is dropped first, its stored identity included, so that a refusal
/// leaves nobody signed in. Login and password may be empty: the service judges. Up to 7 exchanges.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode SignIn(ClientContext* context, const char* login,
                                                      const char* password, void* platformContext);

/// Answers a second-factor challenge; null or empty arguments are kInvalidParameters, without an exchange.
/// Customers only: other kinds answer kNotImplemented here and in the next two. Up to 10 exchanges.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode ConfirmSecondFactor(ClientContext* context,
                                                                   const char* challengeToken,
                                                                   const char* code, void* platformContext);

/// The contexts to choose from: a list of pointers ended by a null pointer. Up to 8 exchanges.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode GetCustomerContexts(ClientContext* context,
                                                                   CustomerContext*** out,
                                                                   void* platformContext);

/// Chooses one. A null record, and a null id with kind 1, are kInvalidParameters. Up to 4 exchanges.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode SignInToContext(ClientContext* context,
                                                               const ContextChoice* choice,
                                                               void* platformContext);

/// Signs in with an access token that a social provider gave. Makes the account on the way when there is none
/// yet. Drops a former sign-in first, as SignIn does. Null arguments are kInvalidParameters, and so are empty
/// ones, behind the drop. Customers only: other kinds answer kNotImplemented. Up to 13 exchanges, and up to 8
/// waits of at most 30 s while the service makes the account.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode SignInWithSocialToken(ClientContext* context,
                                                                     const char* providerKey,
                                                                     const char* accessToken,
                                                                     void* platformContext);

/// Signs in with a code that a social provider's browser page gave; customers and businesses. Drops a former
/// sign-in first. A null code is kInvalidParameters, and so is an empty one, behind the drop. Up to 12
/// exchanges, and up to 4 waits of at most 30 s while the service makes the account.
/// \param operation  0 sign in, 1 sign up: makes the account first, 2 link: as 0, and so is any other number
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode SignInWithSocialCode(ClientContext* context, const char* code,
                                                                    std::uint32_t operation,
                                                                    void* platformContext);

/// Takes over an access token that the host has from elsewhere, as it stands; a former sign-in is dropped
/// first. No exchange, and nothing is stored: such a sign-in lasts as long as the token or the process. Null
/// is kInvalidParameters.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode UseAccessToken(ClientContext* context, const char* token,
                                                              void* platformContext);

/// The keys of the social providers in the service's order, with `separator` between them; an empty text when
/// there are none. Needs no sign-in. Up to 4 exchanges.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode GetSocialProviders(ClientContext* context, char** out,
                                                                  char separator, void* platformContext);

// --- Tokens and identity ---

/// Non-zero while there is a sign-in, a pending choice of a context included. A bad handle is reported and
/// gives 0.
[[nodiscard]] QUILLMARK_CORE_EXPORT std::uint32_t IsSignedIn(const ClientContext* context,
                                                             void* platformContext);

/// The access token's text, whatever its state: empty before any sign-in, the former one after SignOut.
///   returns  0; kInvalidParameters (null handle or out); kRegistryNotInitialized (no session);
///            kInsufficientResources; a code of the session, traced only
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode GetAccessToken(ClientContext* context, char** out,
                                                              void* platformContext);

/// The identity's secret, which renews the session: keep it like a password.
///   returns  as GetAccessToken; kAuthorizationDenied when there is none
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode GetIdentityToken(ClientContext* context, char** out,
                                                                void* platformContext);

/// Writes the identity's secret into a JSON document of the host, as its top-level member "identityToken",
/// and leaves the rest of the document's content. The document comes back in compact form, without what is
/// no JSON, such as comments. A missing or empty file becomes a document of this member alone. The file is
/// rewritten in place, once the new text is whole: whatever is refused before stays byte for byte, a crash in
/// between and a failed write (kFileWrite) can leave it empty or cut.
///   returns  0; kInvalidParameters (null handle or path); kRegistryNotInitialized; kAuthorizationDenied (no
///            identity); kInsufficientResources; kFileRead; kSecretsFormat (no JSON, or its root is no
///            object); kFileWrite
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode PersistIdentityToken(ClientContext* context, const char* path,
                                                                    void* platformContext);

/// Renews the access token by the identity and hands it out. Nothing is stored. Up to 2 exchanges.
///   returns  as GetAccessToken; kInvalidParameters also when there is no identity
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode RefreshAccessToken(ClientContext* context, char** out,
                                                                  void* platformContext);

/// Forgets the sign-in and deletes the stored identity; the stored context token stays. No exchange: nothing
/// is revoked at the service. A bad handle is reported.
QUILLMARK_CORE_EXPORT void SignOut(ClientContext* context, void* platformContext);

// --- Information ---

/// The user's details; kAuthorizationDenied unless signed in. Up to 4 exchanges.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode GetCustomerData(ClientContext* context, CustomerData** out,
                                                               void* platformContext);

/// The service's base URL as it was given; kInternalError for a handle without a core.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode GetBasicEndpoint(ClientContext* context, char** out,
                                                                void* platformContext);

/// The first of the machine's identifiers. Asked for once per client; kMachineId when it can't be had.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode GetDeviceId(ClientContext* context, char** out,
                                                           void* platformContext);

/// The detail of the service's last refusal. `*out` is null, with success, when there was none yet. A later
/// success does not clear it.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode GetLastServiceError(ClientContext* context,
                                                                   ServiceErrorRecord** out,
                                                                   void* platformContext);

// --- Features: no sign-in is needed unless said otherwise ---
//
// Each may also return kRequestNotSent, kTimedOut, kInsufficientResources, and kInternalError for a client
// without a session. Those that take the bearer token along (all but CreateTicket and the reports) may return
// the code of a renewal that the service refused: the family 0x82, kServiceMaintenance.

/// The newest build that the product's update feed offers for 64-bit Windows, newer than `currentVersion`: in
/// `language`, else in English when that feed is not there. Up to 8 exchanges.
///
/// What the feed says is handed on unchanged: check the address's scheme, verify the download, clean the
/// HTML.
///   returns  0; kInvalidParameters (null out; any text null or empty); kNoUpdate; kFeedInvalid;
///            kFeedUnavailable; kAuthorizationDenied (a feed that is not for everybody, and no identity to
///            renew the token by)
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode GetProductUpdateInfo(
    ClientContext* context, const char* feedName, const char* feedVariant, const char* currentVersion,
    const char* language, ProductUpdateInfo** out, void* platformContext);

/// Files a customer request as a ticket and hands out its number, empty when the service's answer tells none.
/// The same request within a day is the same ticket. Up to 5 exchanges, and up to 4 waits of at most 30 s
/// while the service is at work.
///   returns  0; kInvalidParameters (null record or out; an email, title or description that is null or
///            empty); kInternalError (any refusal: see GetLastServiceError)
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode CreateTicket(ClientContext* context,
                                                            const CustomerRequest* request, char** out,
                                                            void* platformContext);

/// Makes a principal administrator and hands out his record. Needs a session that may do so. Up to 4
/// exchanges. Without a name he is "Super User", without a description "Super user created via
/// tessaly.quillmarkclient".
///   returns  0; kInvalidParameters (null record or out; an email or password that is null or empty);
///            kAuthorizationDenied (nobody signed in); kEmailUnverifiedOrBlocked (not allowed to);
///            kCannotDeserialize: made, but the answer can't be read; the family 0x82; kServiceMaintenance
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode CreatePrincipalAdmin(ClientContext* context,
                                                                    const PrincipalAdminRequest* request,
                                                                    PrincipalAdmin** out,
                                                                    void* platformContext);

/// Posts what a backup product knows of this computer. Up to 4 exchanges. An answer that speaks of an error
/// is reported under code 0 and is no failure. GetLastServiceError does not learn of a refusal.
///   returns  0; kInvalidParameters (null record); kMetadataRefused; kAuthorizationDenied;
///            kServiceUnavailable
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode SendBackupMetadata(ClientContext* context,
                                                                  const BackupMetadataRecord* record,
                                                                  void* platformContext);

/// Composes the report of a backup and drops it: there is nobody to send it to yet. No exchange. A null
/// record is kInvalidParameters.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode SendOnlineBackupReport(ClientContext* context,
                                                                      const OnlineBackupReportRecord* report,
                                                                      void* platformContext);
/// The same for the wipe of a disk.
[[nodiscard]] QUILLMARK_CORE_EXPORT ResultCode SendOnlineReport(ClientContext* context,
                                                                const OnlineReportRecord* report,
                                                                void* platformContext);

}  // namespace quillmarkclient
