#include "tools/sandbox/KeyedRequest.h"

namespace sandbox {
namespace {

constexpr std::size_t kLongestKey = 255;

}  // namespace

std::optional<Answer> readKey(ServiceState& state, const Call& call, KeyedRequest& keyed) {
    const std::string* key = findHeader(call.request.headers, "Idempotency-Key");
    if (key == nullptr || key->empty() || key->size() > kLongestKey)
        return refusal(400, "The header Idempotency-Key must name the operation, in 255 bytes at most.");
    keyed.key = *key;
    keyed.record = state.idempotency().find(*key, state.now());
    if (keyed.record != nullptr && keyed.record->operation != operationOf(call.request))
        return refusal(409, "The key belongs to another request.", "IDEMPOTENCY_KEY_REUSED");
    return std::nullopt;
}

IdempotencyRecord workFor(const ServiceState& state, const Call& call, std::int64_t busyAnswers,
                          std::int64_t busySeconds) {
    return {operationOf(call.request), busyAnswers, state.now() + busySeconds,
            state.now() + state.rules().idempotencyLifetimeSeconds};
}

Answer askToWait(std::int64_t retryAfterSeconds) {
    Answer answer = refusal(409, "The first request of this key is still being worked on.");
    answer.headers.emplace_back("Retry-After", std::to_string(retryAfterSeconds));
    return answer;
}

}  // namespace sandbox
