// Runs commands of the machine, such as curl or openssl, the way a person would: as a second opinion on what
// our code does.
#pragma once

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>

#include <array>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace test {

struct CommandResult {
    int exitCode = -1;   // -1: it could not be run, or a signal ended it
    std::string output;  // standard output and standard error
};

[[nodiscard]] inline CommandResult RunCommand(const std::string& command) {
    FILE* pipe = popen(("exec 2>&1\n" + command).c_str(), "r");
    if (pipe == nullptr)
        return {};
    CommandResult result;
    std::array<char, 4096> piece{};
    while (const std::size_t count = fread(piece.data(), 1, piece.size(), pipe))
        result.output.append(piece.data(), count);
    const int status = pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

/// The standard output of the shell command `command` fed with `input`; a command that fails fails the test.
inline std::string Output(const std::string& command, const std::string& input = {}) {
    const TemporaryFolder folder;
    WriteWhole(folder.PathOf("in"), input);
    const auto result =
        RunCommand("( " + command + " ) < '" + folder.PathOf("in") + "' 2> '" + folder.PathOf("err") + "'");
    EXPECT_EQ(result.exitCode, 0) << command << "\n" << ReadWhole(folder.PathOf("err"));
    return result.output;
}

}  // namespace test
