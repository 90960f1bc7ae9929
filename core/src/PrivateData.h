#pragma once

#include <memory>
#include <mutex>

#include "core/src/FlatOperations.h"

namespace quillmarkclient {

// The core and its one lock, shared by a QuillmarkClient and the interfaces that it made. The last share ends
// the core, on its holder's thread.
//
// The mutex is not recursive, and nothing takes it twice: the flat operations call each other below it.
struct PrivateData {
    PrivateData() = default;
    explicit PrivateData(ClientContext* core) noexcept : context(core) {}
    ~PrivateData();
    PrivateData(const PrivateData&) = delete;
    PrivateData& operator=(const PrivateData&) = delete;

    std::mutex mutex;
    ClientContext* context = nullptr;  // owned
};

/// What both faces have the social providers' keys separated by.
inline constexpr char kProviderSeparator = ';';

// Gives a block back to the core that made it, at the latest when it goes out of scope. For use under the
// lock.
class MadeBlock {
public:
    MadeBlock(ClientContext* context, void* block) noexcept : context_(context), block_(block) {}
    ~MadeBlock();
    MadeBlock(const MadeBlock&) = delete;
    MadeBlock& operator=(const MadeBlock&) = delete;

private:
    ClientContext* context_;
    void* block_;
};

/// Runs `call` on the core under its lock and gives its code: what every operation of both faces does.
///
/// kNotInitialized without a core. Whatever is thrown, by the lock, by a container of the core (these know
/// nothing of std::exception), by a platform operation or by the caller's own containers, ends here as
/// kInternalError, with the lock released.
template <class Call>
[[nodiscard]] ResultCode RunLocked(const std::shared_ptr<PrivateData>& data, Call&& call) noexcept {
    if (!data)
        return ResultCode::kNotInitialized;
    try {
        const std::lock_guard lock(data->mutex);
        return call(data->context);
    } catch (...) {
        return ResultCode::kInternalError;
    }
}

}  // namespace quillmarkclient
