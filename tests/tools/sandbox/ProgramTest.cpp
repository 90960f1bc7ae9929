// The program quillmark-sandbox as a person starts it. Its path comes from the build.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Command.h"
#include "tests/tools/sandbox/SandboxClient.h"
#include "tools/sandbox/Accounts.h"

extern char** environ;

namespace {

using test::RunCommand;

// The running program, its standard output at the end of a pipe.
class Program {
public:
    explicit Program(std::vector<std::string> arguments) {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe can be made");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        arguments.insert(arguments.begin(), QUILLMARK_SANDBOX_PROGRAM);
        std::vector<char*> texts;
        for (std::string& argument : arguments)
            texts.push_back(argument.data());
        texts.push_back(nullptr);
        const int failure = posix_spawn(&process_, texts[0], &actions, nullptr, texts.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        output_ = ends[0];
        if (failure != 0) {
            close(output_);
            throw std::runtime_error(std::string(texts[0]) + " can't be started");
        }
    }
    ~Program() {
        (void)end(SIGKILL);
        close(output_);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // The next line without its end; what there is of it when the program has ended or says nothing for 20 s.
    std::string readLine() {
        std::string line;
        for (char byte = 0; readByte(byte) && byte != '\n';)
            line += byte;
        return line;
    }

    // The exit code after a signal; -1 if a signal killed it, the one that comes 20 s later included.
    int end(int signal) {
        if (process_ <= 0)
            return -1;
        int status = 0;
        kill(process_, signal);
        if (!endsInTime(status)) {
            kill(process_, SIGKILL);
            waitpid(process_, &status, 0);
        }
        process_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    bool readByte(char& byte) const {
        pollfd wanted{output_, POLLIN, 0};
        return poll(&wanted, 1, 20'000) == 1 && read(output_, &byte, 1) == 1;
    }
    bool endsInTime(int& status) const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            if (waitpid(process_, &status, WNOHANG) != 0)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    pid_t process_ = 0;
    int output_ = -1;
};

class SandboxProgram : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "program-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string path(const char* name) const { return (folder_ / name).string(); }
    [[nodiscard]] std::string textOf(const char* name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    std::filesystem::path folder_;
};

TEST_F(SandboxProgram, ServesOverHttpsUntilSigterm) {
    Program program({"--https", "--ca-out", path("ca.pem"), "--port-file", path("port")});
    const std::string url = program.readLine();
    EXPECT_EQ(url + "\n", "https://127.0.0.1:" + textOf("port"));
    const auto said = RunCommand("env -u CURL_CA_BUNDLE -u SSL_CERT_DIR SSL_CERT_FILE=" + path("ca.pem") +
                                 " curl -sS --noproxy '*' -o /dev/null -w '%{http_code}' "
                                 "-H x-vqm-custom:vqm-client " +
                                 url + "/api/registry/v2/users");
    ASSERT_EQ(said.output, "401");
    EXPECT_TRUE(program.readLine().starts_with("GET /api/registry/v2/users 401 - "));
    EXPECT_EQ(program.end(SIGTERM), 0);
}

TEST_F(SandboxProgram, SigintEndsItCleanly) {
    Program program({});
    EXPECT_TRUE(program.readLine().starts_with("http://127.0.0.1:"));
    EXPECT_EQ(program.end(SIGINT), 0);
}

TEST_F(SandboxProgram, TakesSeedAndTokenLifetime) {
    sandbox::Account account = sandbox::readSeedFile(sandbox::defaultSeedFile()).accounts.at(0);
    std::ofstream(path("seed.json"))
        << R"({"accounts":[{"name":"a","login":"only@example.test","password":"p",)"
           R"("ownContext":true,"customer":{"id":"1","firstName":"","lastName":"",)"
           R"("middleName":"","email":"","language":"","country":"","state":"",)"
           R"("city":"","address":"","emailConfirmed":true,"role":"",)"
           R"("gdprStatus":"","uwgStatus":""}}]})";
    Program program({"--seed", path("seed.json"), "--token-lifetime", "7"});
    const std::string url = program.readLine();
    account.login = "only@example.test";
    account.password = "p";
    const std::string claims = test_support::claimsOf(test_support::signIn(url, account));
    const auto numberOf = [&claims](const std::string& name) {
        return std::stoll(claims.substr(claims.find("\"" + name + "\":") + name.size() + 3));
    };
    EXPECT_EQ(numberOf("exp") - numberOf("iat"), 7) << claims;
}

TEST_F(SandboxProgram, SaysWhatIsWrongWithItsArguments) {
    static const struct {
        const char* name;
        const char* arguments;
        int exitCode;
        const char* says;
    } rows[] = {
        {"help", "--help", 0, "usage:"},
        {"an unknown option", "--prot 1", 2, "unknown option --prot"},
        {"a value that is missing", "--seed", 2, "--seed takes a value"},
        {"a port that is no number", "--port x", 2, "--port takes a number from 0 to 65535"},
        {"a port too high", "--port 65536", 2, "--port takes a number from 0 to 65535"},
        {"a lifetime of 0", "--token-lifetime 0", 2, "--token-lifetime takes a number from 1"},
        {"an authority without HTTPS", "--ca-out x", 2, "--ca-out needs --https"},
        {"a seed that is missing", "--seed /no/such/file", 1, "/no/such/file cannot be opened"},
        {"a file that can't be written", "--https --ca-out /no/such/ca.pem", 1,
         "/no/such/ca.pem cannot be written"},
    };
    for (const auto& row : rows) {
        const auto said =
            RunCommand(std::string("timeout 20 ") + QUILLMARK_SANDBOX_PROGRAM + " " + row.arguments);
        EXPECT_EQ(said.exitCode, row.exitCode) << row.name << ": " << said.output;
        EXPECT_NE(said.output.find(row.says), said.output.npos) << row.name << ": " << said.output;
    }
}

}  // namespace
