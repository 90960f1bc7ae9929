#include "tools/sandbox/Idempotency.h"

#include "tools/sandbox/Expiry.h"

namespace sandbox {

bool IdempotencyRecord::isBusy(std::int64_t now) {
    if (answer)
        return false;
    if (busyAnswers > 0) {
        --busyAnswers;
        return true;
    }
    return now < busyUntil;
}

IdempotencyRecord* IdempotencyRecords::find(const std::string& key, std::int64_t now) {
    return findLive(records_, key, now);
}

IdempotencyRecord& IdempotencyRecords::begin(const std::string& key, IdempotencyRecord record,
                                             std::int64_t now) {
    eraseExpired(records_, now);
    return records_[key] = std::move(record);
}

std::string operationOf(const Request& request) {
    return splitTarget(request.target).path + '\n' + request.body;
}

}  // namespace sandbox
