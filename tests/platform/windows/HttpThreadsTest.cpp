// Exchanges on many threads at once.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/windows/HttpExchanges.h"
#include "tests/support/ScriptedServer.h"

namespace {

using test::Answer;

constexpr int kThreads = 6;
constexpr int kRounds = 5;

void OnThreads(const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(work, i);
    for (auto& thread : threads)
        thread.join();
}

std::string AnswerTo(const std::string& url, const std::string& text) {
    return test::Send({.method = "POST", .url = url, .body = text}).body.value_or("(none)");
}

TEST(WindowsHttpThreads, EachGetsTheAnswersToItsOwnRequests) {
    test::ScriptedServer server;
    server.SetDefault([](const test::WireRequest& request) {
        return Answer::Of(200, {}, request.target + " " + request.body);
    });
    OnThreads([&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            const std::string target = "/" + std::to_string(thread) + "/" + std::to_string(round);
            const std::string text(static_cast<std::size_t>(1000 * thread + round), 'x');
            EXPECT_EQ(AnswerTo(server.Url(target), text), target + " " + text);
        }
    });
    EXPECT_EQ(server.Requests().size(), std::size_t{kThreads} * kRounds);
}

// One that hangs holds none of the others up: it is answered when they all have been.
TEST(WindowsHttpThreads, ASlowExchangeDelaysNoOther) {
    test::ScriptedServer server;
    const auto gate = std::make_shared<test::Gate>();
    server.SetDefault([](const auto&) { return Answer::Of(200, {}, "at once"); });
    server.Enqueue(Answer::Of(200, {}, "late").Behind(gate));
    std::thread slow([&] { EXPECT_EQ(AnswerTo(server.Url("/slow"), ""), "late"); });
    EXPECT_TRUE(server.WaitForRequests(1));
    OnThreads([&](int) { EXPECT_EQ(AnswerTo(server.Url("/"), ""), "at once"); });
    gate->Open();
    slow.join();
}

}  // namespace
