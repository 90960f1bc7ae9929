#include "platform/common/MachineIdCache.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "core/src/ResultCode.h"

namespace quillmarkclient_common {
namespace {

constexpr std::uint32_t Number(ResultCode code) {
    return static_cast<std::uint32_t>(code);
}

}  // namespace

void MachineIdCache::Fill() {
    std::string block;
    for (const auto& id : read_())
        block.append(id.c_str(), id.size() + 1);
    if (block.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("identifiers");
    block_ = std::move(block);
}

std::uint32_t MachineIdCache::Get(char* buffer, std::uint32_t* size) noexcept {
    if (!size)
        return Number(ResultCode::kInvalidParameters);
    try {
        const std::lock_guard lock(mutex_);
        if (block_.empty())
            Fill();
        const auto total = static_cast<std::uint32_t>(block_.size());
        if (!buffer) {
            *size = total;
            return Number(ResultCode::kSuccess);
        }
        if (*size < total)
            return Number(ResultCode::kBufferTooSmall);
        std::fill_n(buffer, *size, '\0');
        std::copy(block_.begin(), block_.end(), buffer);
        return Number(ResultCode::kSuccess);
    } catch (...) {
        return Number(ResultCode::kInternalError);
    }
}

}  // namespace quillmarkclient_common
