#include "platform/linux/Time.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <time.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

#include "tests/platform/linux/ChildProcess.h"

namespace {

std::atomic<int> signalsSeen{0};

TEST(LinuxTime, SignalsNeitherShortenNorLengthenASleep) {
    struct sigaction count {};
    struct sigaction before {};
    count.sa_handler = [](int) { ++signalsSeen; };
    ASSERT_EQ(sigaction(SIGUSR1, &count, &before), 0);
    using Clock = std::chrono::steady_clock;
    std::atomic<bool> done{false};
    Clock::duration elapsed{};
    std::thread sleeper([&] {
        const auto start = Clock::now();
        EXPECT_EQ(quillmarkclient_linux::Sleep(300, nullptr), 0u);
        elapsed = Clock::now() - start;
        done = true;
    });
    while (!done) {
        pthread_kill(sleeper.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    sleeper.join();
    sigaction(SIGUSR1, &before, nullptr);
    EXPECT_GT(signalsSeen, 0);
    EXPECT_GE(elapsed, std::chrono::milliseconds(300));
    EXPECT_LT(elapsed, std::chrono::seconds(20)) << "started anew at each signal";
}

TEST(LinuxTime, IsTheSameInEveryTimeZone) {
    for (const char* zone : {"UTC", "Pacific/Kiritimati", "America/Los_Angeles", "XYZ-13"}) {
        const std::string difference = test::InChild([&] {
            setenv("TZ", zone, 1);
            tzset();
            std::uint64_t seconds = 0;
            const std::uint32_t code = quillmarkclient_linux::GetTime(&seconds, nullptr);
            const auto now = static_cast<std::uint64_t>(time(nullptr));
            return std::string(code == 0 && seconds + 2 > now && seconds < now + 2 ? "none" : "some");
        });
        EXPECT_EQ(difference, "none") << zone;
    }
}

}  // namespace
