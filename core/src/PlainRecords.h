#pragma once

#include <cstdint>

#include "core/src/BackupMetadataRecord.h"
#include "core/src/OnlineReportRecords.h"
#include "core/src/system/PlatformTable.h"

// What crosses the native boundary: structures of integers and zero-terminated UTF-8 texts.
//
// Records that go in belong to the caller and are copied at once. A record that goes out is one block, its
// strings and lists inside it: one FreeMemory takes it back. Strings in such a record are never null; lists
// end with a null pointer.
namespace quillmarkclient {

struct RetryPolicyRecord {
    std::uint32_t maxAttempts;
    std::uint32_t timeoutRetryDelayMs;
    std::uint32_t idempotencyWaitMs;
    std::uint32_t idempotencyWaitCapMs;
};

/// The start-up record of Initialize. Read during that call only.
struct QuillmarkClientInit {
    std::uint32_t version;     // kLibraryVersion of the caller's build
    std::uint32_t clientKind;  // 0 customer, 1 business, 2 principal administrator
    quillmarkclient_core::PlatformTable table;
    const char* storagePath;   // folder of the token files; null reads as empty
    const char* serviceUrl;    // base URL of the account service; required
    const char* identityName;  // names a newly made identity record; optional
    const char* auxiliary4;    // stored, not read; optional
    std::uint8_t useAlternateKeys;
    RetryPolicyRecord retryPolicy;  // a zero keeps the default of that field
};

/// A choice among contexts. `contextId` is not read for the own context and may be null there.
struct ContextChoice {
    std::uint32_t kind;  // 0 own context, 1 organisation
    const char* contextId;
};

/// One entry of a list of contexts.
struct CustomerContext {
    std::uint32_t kind;  // as in ContextChoice
    const char* id;
    const char* name;  // for display
};
static_assert(sizeof(void*) != 8 || sizeof(CustomerContext) == 24);

struct CustomerData {
    const char* firstName;
    const char* lastName;
    const char* email;
    const char* id;
};

struct NameValuePair {
    const char* name;
    const char* value;
};

/// The detail of the service's last refusal.
struct ServiceErrorRecord {
    std::uint32_t resultCode;
    std::uint32_t httpCode;
    const char* type;
    const char* title;
    const char* status;
    const char* detail;
    const char* reason;
    const char* errorCode;
    const char* traceId;
    const NameValuePair* const* errorArgs;  // ended by a null pointer
};
static_assert(sizeof(void*) != 8 || sizeof(ServiceErrorRecord) == 72);

/// The newest build that a feed tells.
struct ProductUpdateInfo {
    const char* version;
    const char* description;
    const char* url;
};

/// A principal administrator that is to be made. `name` and `description` may be null or empty: both have a
/// default.
struct PrincipalAdminRequest {
    const char* name;
    const char* email;
    const char* password;
    const char* description;
};

/// A principal administrator as the service made it.
struct PrincipalAdmin {
    const char* id;
    const char* name;
    const char* email;
    const char* description;
};

/// One extra parameter of a customer request.
struct KeyValuePair {
    const char* key;
    const char* value;
};

/// A customer request that is to be filed as a ticket. The first three are never null.
struct CustomerRequest {
    const char* email;
    const char* title;
    const char* description;
    const KeyValuePair* const* additionalParameters;  // ended by a null pointer; may be null itself
};

}  // namespace quillmarkclient
