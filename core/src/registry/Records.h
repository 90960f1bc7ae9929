#pragma once

#include <cstdint>

#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace registry {

/// Which context a session works in.
enum ContextMode : std::uint32_t {
    kOwnContext = 0,      // the customer's own ("dynamic") context
    kTrustorContext = 1,  // an organisation's
    kNoContext = 2,       // none chosen yet
};

/// What a person who comes by a social provider's code wants. The service links on its own accord, so that
/// kLinkFlow goes the way of kSignInFlow.
enum SocialFlow : std::uint32_t { kSignInFlow = 0, kSignUpFlow = 1, kLinkFlow = 2 };

/// What of a session is stored, renewed and handed out.
struct AuthState {
    portable_stl::string tokenType;  // always "Bearer"
    portable_stl::string accessToken;
    portable_stl::string identitySecret;
    std::uint32_t contextMode = kNoContext;
    portable_stl::string contextId;
};

/// One context that a customer may choose.
struct ContextEntry {
    std::uint32_t kind = 0;  // 0 own context, 1 organisation
    portable_stl::string id;
    portable_stl::string name;
};

struct TrustRight {
    portable_stl::string id;
    portable_stl::string space;
    portable_stl::string role;
    portable_stl::string bans;
};

/// One trust: somebody (the trustor) lets the customer act in his name.
struct TrustRecord {
    portable_stl::string id;
    portable_stl::string trustorId;
    portable_stl::string type;
    portable_stl::string name;
    portable_stl::string firstName;
    portable_stl::string middleName;
    portable_stl::string lastName;
    portable_stl::string email;
    portable_stl::string phone;
    portable_stl::vector<TrustRight> rights;
};

struct CustomerInfo {
    portable_stl::string id;
    portable_stl::string firstName;
    portable_stl::string lastName;
    portable_stl::string middleName;
    portable_stl::string email;
    portable_stl::string language;
    portable_stl::string country;
    portable_stl::string state;
    portable_stl::string city;
    portable_stl::string address;
    portable_stl::string emailConfirmed;
    portable_stl::string role;
    portable_stl::string gdprStatus;
    portable_stl::string uwgStatus;
};

/// A key of a request that must not take effect twice.
struct IdempotencyEntry {
    portable_stl::string hash;  // names the operation: MD5 in lower-case hex
    portable_stl::string key;
    std::int64_t createdAt = 0;  // seconds since 1970, UTC
};

/// How often and after which waits a request is repeated. All values are positive.
struct RetryPolicy {
    std::uint32_t maxAttempts = 5;               // tries of one request, the first included
    std::uint32_t timeoutRetryDelayMs = 1500;    // wait before a repeat after a time-out
    std::uint32_t idempotencyWaitMs = 1000;      // shortest wait that a 409 asks for, and the usual one
    std::uint32_t idempotencyWaitCapMs = 30000;  // highest wait taken from "Retry-After"
};

}  // namespace registry
