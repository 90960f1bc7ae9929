// Entries of a map that end at a time: each has a member `expiresAt`, the first second at which it is gone.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace sandbox {

inline constexpr std::int64_t kNever = INT64_MAX;

// The entry of a key unless its time has passed, else null.
template <typename Entries>
auto* findLive(Entries& entries, const std::string& key, std::int64_t now) {
    const auto found = entries.find(key);
    return found == entries.end() || found->second.expiresAt <= now ? nullptr : &found->second;
}

template <typename Entry>
void eraseExpired(std::map<std::string, Entry>& entries, std::int64_t now) {
    std::erase_if(entries, [now](const auto& entry) { return entry.second.expiresAt <= now; });
}

}  // namespace sandbox
