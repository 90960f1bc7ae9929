#include "platform/linux/SignalGuard.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>

namespace {

using quillmarkclient_linux::SignalGuard;

std::atomic<int> delivered{0};

bool IsPending() {
    sigset_t pending{};
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

bool IsBlocked() {
    sigset_t mask{};
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, SIGPIPE) == 1;
}

void WriteToClosedPipe() {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    close(ends[0]);
    EXPECT_EQ(write(ends[1], "x", 1), -1);
    close(ends[1]);
}

class SignalGuardTest : public testing::Test {
protected:
    void SetUp() override {
        delivered = 0;
        struct sigaction counting {};
        counting.sa_handler = [](int) { ++delivered; };
        ASSERT_EQ(sigaction(SIGPIPE, &counting, &former_), 0);
    }
    void TearDown() override { ASSERT_EQ(sigaction(SIGPIPE, &former_, nullptr), 0); }

    static void Block(int how) {
        sigset_t set{};
        sigemptyset(&set);
        sigaddset(&set, SIGPIPE);
        pthread_sigmask(how, &set, nullptr);
    }

private:
    struct sigaction former_ {};
};

TEST_F(SignalGuardTest, WithoutItTheSignalArrives) {
    WriteToClosedPipe();
    EXPECT_EQ(delivered.load(), 1);
}

TEST_F(SignalGuardTest, TakesTheSignalAway) {
    {
        const SignalGuard guard(SIGPIPE);
        EXPECT_TRUE(IsBlocked());
        WriteToClosedPipe();
        EXPECT_TRUE(IsPending());
    }
    EXPECT_FALSE(IsPending());
    EXPECT_FALSE(IsBlocked());
    EXPECT_EQ(delivered.load(), 0);
}

TEST_F(SignalGuardTest, LeavesAMaskThatBlocksAsItWas) {
    Block(SIG_BLOCK);
    {
        const SignalGuard guard(SIGPIPE);
        WriteToClosedPipe();
    }
    EXPECT_TRUE(IsBlocked());
    EXPECT_FALSE(IsPending());
    Block(SIG_UNBLOCK);
    EXPECT_EQ(delivered.load(), 0);
}

TEST_F(SignalGuardTest, LeavesTheHostsOwnSignalPending) {
    Block(SIG_BLOCK);
    WriteToClosedPipe();
    { const SignalGuard guard(SIGPIPE); }
    EXPECT_TRUE(IsPending());
    Block(SIG_UNBLOCK);
    EXPECT_EQ(delivered.load(), 1);
}

}  // namespace
