// Waits for another thread of the process to sleep in the system: proof that it stands before a lock that is
// taken, when there is nothing else that it could wait for. Linux only.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace test {

// Until the thread of this number sleeps, or half a minute has passed. 0 is a thread that has not come so
// far.
inline bool FallsAsleep(const std::atomic<pid_t>& thread) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < deadline) {
        std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string stat;
        if (thread != 0 && std::getline(file, stat) && stat.find(") S ") != std::string::npos)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

}  // namespace test
