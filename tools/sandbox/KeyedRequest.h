// A request under an Idempotency-Key, and what the endpoints that ask for one share.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/sandbox/Routes.h"

namespace sandbox {

struct KeyedRequest {
    std::string key;
    IdempotencyRecord* record = nullptr;  // of the work that the key began; null: the key is unused
};

// What a request without a proper key, or with the key of another one, is answered with; else nothing, and
// `keyed` is filled.
[[nodiscard]] std::optional<Answer> readKey(ServiceState& state, const Call& call, KeyedRequest& keyed);

// The record of a work that this request begins.
[[nodiscard]] IdempotencyRecord workFor(const ServiceState& state, const Call& call, std::int64_t busyAnswers,
                                        std::int64_t busySeconds);

// What each request of a key is answered with while its work lasts.
[[nodiscard]] Answer askToWait(std::int64_t retryAfterSeconds);

}  // namespace sandbox
