#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace quillmarkclient_common {

// What stands behind the row GetMachineIds of a platform table. Asks `read` until it gives a list that isn't
// empty, and keeps that one: an adapter added later is not seen.
//
// Any thread: the list is filled under a mutex, so that two first callers can't both add to it.
class MachineIdCache {
public:
    using Read = std::function<std::vector<std::string>()>;
    explicit MachineIdCache(Read read) : read_(std::move(read)) {}

    // The work of the row; an exception of `read` answers 0x80000001.
    std::uint32_t Get(char* buffer, std::uint32_t* size) noexcept;

private:
    void Fill();

    Read read_;
    std::mutex mutex_;   // guards what follows
    std::string block_;  // each text with its zero byte behind it
};

}  // namespace quillmarkclient_common
