#include "tools/sandbox/Faults.h"

#include <algorithm>

namespace sandbox {
namespace {

struct KindWord {
    FaultKind kind;
    std::string_view word;
};

constexpr KindWord kKindWords[] = {
    {FaultKind::delay, "delay"}, {FaultKind::status, "status"}, {FaultKind::cut, "cut"},
    {FaultKind::half, "half"},   {FaultKind::lost, "lost"},
};

bool fits(const Fault& fault, std::string_view method, std::string_view path) {
    if (!fault.method.empty() && fault.method != method)
        return false;
    if (fault.path.empty())
        return true;
    if (fault.path.back() != '*')
        return fault.path == path;
    return path.starts_with(std::string_view(fault.path).substr(0, fault.path.size() - 1));
}

}  // namespace

std::optional<FaultKind> faultKind(std::string_view word) {
    for (const KindWord& row : kKindWords) {
        if (row.word == word)
            return row.kind;
    }
    return std::nullopt;
}

std::string_view faultWord(FaultKind kind) {
    const auto* found = std::find_if(std::begin(kKindWords), std::end(kKindWords),
                                     [kind](const KindWord& row) { return row.kind == kind; });
    return found->word;
}

void Faults::add(Fault fault) {
    const std::lock_guard lock(mutex_);
    if (fault.count > 0)
        faults_.push_back(std::move(fault));
}

void Faults::clear() {
    const std::lock_guard lock(mutex_);
    faults_.clear();
}

std::size_t Faults::waiting() const {
    const std::lock_guard lock(mutex_);
    return faults_.size();
}

std::optional<Fault> Faults::take(std::string_view method, std::string_view path) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(faults_.begin(), faults_.end(),
                                    [&](const Fault& fault) { return fits(fault, method, path); });
    if (found == faults_.end())
        return std::nullopt;
    Fault fault = *found;
    if (--found->count == 0)
        faults_.erase(found);
    return fault;
}

bool Faults::wait(std::chrono::milliseconds delay) {
    std::unique_lock lock(mutex_);
    return !ended_.wait_for(lock, delay, [this] { return waitsEnded_; });
}

void Faults::endWaits() {
    const std::lock_guard lock(mutex_);
    waitsEnded_ = true;
    ended_.notify_all();
}

void Faults::allowWaits() {
    const std::lock_guard lock(mutex_);
    waitsEnded_ = false;
}

}  // namespace sandbox
