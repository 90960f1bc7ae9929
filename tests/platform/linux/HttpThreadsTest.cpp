// Exchanges on many threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/TrustStore.h"
#include "tests/platform/linux/HttpExchanges.h"
#include "tests/support/OwnAuthority.h"
#include "tests/support/ScriptedServer.h"

namespace {

using quillmarkclient_linux::TrustStore;
using test::Answer;
using test::ScriptedServer;

constexpr int kThreads = 6;
constexpr int kRounds = 5;

void OnThreads(const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(work, i);
    for (auto& thread : threads)
        thread.join();
}

Answer Echo(const test::WireRequest& request) {
    return Answer::Of(200, {{"X-Target", request.target}}, request.target + " " + request.body);
}

// Each thread gets the answers to its own requests.
void ExpectOwnAnswers(ScriptedServer& server) {
    server.SetDefault(Echo);
    OnThreads([&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            const std::string path = "/" + std::to_string(thread) + "/" + std::to_string(round);
            const std::string text(static_cast<std::size_t>(1000 * thread + round), 'x');
            const auto result = test::Send({.method = "POST", .url = server.Url(path), .body = text});
            EXPECT_EQ(result.code, ResultCode::kSuccess);
            EXPECT_EQ(result.status, 200u);
            EXPECT_TRUE(result.body == path + " " + text);
        }
    });
    EXPECT_EQ(server.ConnectionCount(), kThreads * kRounds);
}

TEST(HttpThreads, PlainExchangesDoNotMix) {
    ScriptedServer server;
    ExpectOwnAnswers(server);
}

TEST(HttpThreads, SecureExchangesShareOneStore) {
    const test::OwnAuthority trusted;
    const auto certificate = trusted.Authority().issue();
    ScriptedServer server({.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem});
    const auto loads = TrustStore::OfProcess().GetLoadCount();
    ExpectOwnAnswers(server);
    EXPECT_EQ(TrustStore::OfProcess().GetLoadCount(), loads + 1);
}

TEST(HttpThreads, TheBundleMayChangeMeanwhile) {
    const test::OwnAuthority trusted;
    const auto certificate = trusted.Authority().issue();
    ScriptedServer server({.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem});
    const auto loads = TrustStore::OfProcess().GetLoadCount();
    std::atomic<bool> isOver{false};
    std::atomic<int> changes{0};
    std::thread administrator([&] {
        for (int i = 0; !isOver; ++i) {
            const std::string next = trusted.BundlePath() + ".new";
            test::WriteWhole(next, std::string(static_cast<std::size_t>(i % 7), '\n') +
                                       trusted.Authority().certificatePem());
            std::filesystem::rename(next, trusted.BundlePath());
            changes = i + 1;
        }
    });
    OnThreads([&](int) {
        for (int round = 0; round < kRounds; ++round)
            EXPECT_EQ(test::Get(server.Url("/")).code, ResultCode::kSuccess);
    });
    // One more, behind a change that no exchange so far has seen.
    const int before = changes;
    while (changes < before + 2)
        std::this_thread::yield();
    EXPECT_EQ(test::Get(server.Url("/")).code, ResultCode::kSuccess);
    isOver = true;
    administrator.join();
    EXPECT_GE(TrustStore::OfProcess().GetLoadCount(), loads + 2) << "the first load and a reload";
}

// One that hangs holds none of the others up.
TEST(HttpThreads, ASlowExchangeDelaysNoOther) {
    ScriptedServer server;
    const auto gate = std::make_shared<test::Gate>();
    server.Enqueue(Answer::Of(200, {}, "late").Behind(gate));
    std::thread slow([&] { EXPECT_EQ(test::Get(server.Url("/slow")).body, "late"); });
    EXPECT_TRUE(server.WaitForRequests(1));
    OnThreads([&](int) { EXPECT_EQ(test::Get(server.Url("/")).code, ResultCode::kSuccess); });
    gate->Open();
    slow.join();
}

}  // namespace
