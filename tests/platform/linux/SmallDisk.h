// A disk that is soon full.
#pragma once

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <string>

#include "tests/support/TemporaryFolder.h"

namespace test {

/// Gives this process a disk of 64 KiB at `path`, that nobody else sees. Only in a child. False where the
/// machine lets nobody mount one.
inline bool MountSmallDisk(const std::string& path) {
    const bool root = geteuid() == 0;
    const std::string map = "0 " + std::to_string(geteuid()) + " 1";
    if (unshare(root ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0)
        return false;
    if (!root)
        WriteWhole("/proc/self/uid_map", map);
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", path.c_str(), "tmpfs", 0, "size=64k") == 0;
}

}  // namespace test
