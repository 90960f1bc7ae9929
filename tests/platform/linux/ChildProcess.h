// Work in a process of its own: with other rights, under other limits, as another holder of locks.
#pragma once

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>

namespace test {

/// Runs `work` in a forked child and gives back the text it returns. The child runs no destructors of this
/// program and reports no test failure: what it saw must be in the text. One that hangs is ended after a
/// minute, one whose parent is gone at once.
inline std::string InChild(const std::function<std::string()>& work) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        alarm(60);
        std::string text;
        try {
            text = work();
        } catch (const std::exception& error) {
            text = std::string("exception: ") + error.what();
        }
        const bool told = write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = read(ends[0], buffer.data(), buffer.size())) > 0;)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child ended with " << status;
    return text;
}

/// A user without rights of its own; nothing changes when the tests already run as one. Only in a child.
inline bool DropRights() {
    constexpr unsigned kNobody = 65534;
    return geteuid() != 0 || (setegid(kNobody) == 0 && seteuid(kNobody) == 0);
}

}  // namespace test
