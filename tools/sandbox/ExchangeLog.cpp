#include "tools/sandbox/ExchangeLog.h"

namespace sandbox {

std::string exchangeLine(const ExchangeRecord& record) {
    std::string line = record.method + " " + record.target + " ";
    line += record.status == 0 ? "cut" : std::to_string(record.status);
    line += " " + (record.login.empty() ? std::string("-") : record.login);
    line.append(" ").append(std::to_string(record.milliseconds)).append(" ms");
    if (!record.fault.empty())
        line += " fault=" + record.fault;
    return line;
}

void ExchangeLog::setListener(Listener listener) {
    const std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
}

void ExchangeLog::add(ExchangeRecord record) {
    const std::lock_guard lock(mutex_);
    if (listener_)
        listener_(record);
    records_.push_back(std::move(record));
    if (records_.size() > kKeptRecords)
        records_.pop_front();
}

std::vector<ExchangeRecord> ExchangeLog::records() const {
    const std::lock_guard lock(mutex_);
    return {records_.begin(), records_.end()};
}

void ExchangeLog::clear() {
    const std::lock_guard lock(mutex_);
    records_.clear();
}

}  // namespace sandbox
