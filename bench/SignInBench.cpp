// A whole password sign-in over loopback TLS, its token files included, against the same exchanges made by
// bare libcurl handles that read the system's bundle each. A second figure compares the library's own time in
// a sign-in, which is all but HttpRequest, with the time of its exchanges.
//
// The exchanges that the handles repeat are those of the first sign-in, recorded behind the platform table.
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/BareExchange.h"
#include "bench/MedianReporter.h"
#include "bench/TlsPeer.h"
#include "core/src/QuillmarkClient.h"
#include "core/src/system/SystemApi.h"
#include "platform/linux/HttpTransport.h"

namespace {

using Clock = std::chrono::steady_clock;
using quillmarkclient_core::SystemApi;

constexpr int kRepetitions = 9;
constexpr int kOwnTimeRounds = 101;
constexpr double kAllowedRatio = 0.2;
constexpr double kAllowedOwnShare = 0.05;

// A sign-in of a customer with an own context alone, whose identity record is made on the way.
constexpr struct {
    const char* path;
    const char* body;
} kAnswers[] = {
    {"/api/customer/registry/v2/tokens", R"({"accessToken":"e30.eyJ1c2VyaWQiOiJ1LTEifQ==.c2ln"})"},
    {"/api/registry/v2/trustee/trusts?WithDetails=true&WithRights=false&level=Customer", "[]"},
    {"/api/customer/registry/v2/tokens/context", R"({"accessToken":"e30.eyJ1c2VyaWQiOiJ1LTEifQ==.c2ln"})"},
    {"/api/registry/v2/identities", R"({"id":"identity-1"})"},
    {"/api/registry/v2/identities/identity-1/token", "secret-of-identity-1"},
};

test::Answer AnswerFor(const std::string& target) {
    for (const auto& row : kAnswers) {
        if (target == row.path)
            return test::Answer::Of(200, {{"Content-Type", "application/json"}}, row.body);
    }
    return test::Answer::Of(404, {}, "");
}

struct Peer : bench::TlsPeer {
    std::vector<bench::Exchange> exchanges;  // of one sign-in
    Clock::duration networkTime{};           // spent in HttpRequest since it was last set to zero
    bool isRecording = false;
    quillmarkclient::QuillmarkClient client;

    Peer();
    [[nodiscard]] bool SignIn() {
        return client.SignIn("anna@example.test", "pw") == ResultCode::kSuccess &&
               !test::ReadWhole(folder.PathOf("LIC0")).empty();
    }
};

Peer& ThePeer() {
    static Peer peer;
    return peer;
}

// The row of the platform table while this program runs: the platform's own, watched.
std::uint32_t WatchedRequest(const char* method, const char* url,
                             const quillmarkclient_core::HttpHeaderPair* headers, std::uint32_t headerCount,
                             const char* body, std::uint32_t flags, std::uint32_t* status,
                             char** responseBody, char** responseHeaders, void* context) {
    Peer& peer = ThePeer();
    if (peer.isRecording) {
        bench::Exchange exchange{method, url, {}, body};
        for (std::uint32_t i = 0; i < headerCount; ++i)
            exchange.headers.emplace_back(headers[i].name, headers[i].value);
        peer.exchanges.push_back(std::move(exchange));
    }
    const auto start = Clock::now();
    const auto code = quillmarkclient_linux::HttpRequest(method, url, headers, headerCount, body, flags,
                                                         status, responseBody, responseHeaders, context);
    peer.networkTime += Clock::now() - start;
    return code;
}

Peer::Peer() {
    server.SetDefault([](const auto& request) { return AnswerFor(request.target); });
    if (client.Init(folder.Path().string(), server.Url("")) != ResultCode::kSuccess)
        std::abort();
    auto table = SystemApi::Table();
    table.HttpRequest = &WatchedRequest;
    SystemApi::SetTable(table);
}

void Ours(benchmark::State& state) {
    Peer& peer = ThePeer();
    while (state.KeepRunning()) {
        if (!peer.SignIn())
            state.SkipWithError("the sign-in failed");
    }
}

void BareHandles(benchmark::State& state) {
    const Peer& peer = ThePeer();
    std::string body;
    while (state.KeepRunning()) {
        for (const bench::Exchange& exchange : peer.exchanges) {
            if (!bench::MakeBareExchange(exchange, peer.bundle, body) || body.empty())
                state.SkipWithError("libcurl's exchange failed");
        }
    }
}

// The median over some sign-ins of own time by network time.
double OwnShare(Peer& peer) {
    std::vector<double> shares;
    for (int round = 0; round < kOwnTimeRounds; ++round) {
        peer.networkTime = {};
        const auto start = Clock::now();
        if (!peer.SignIn())
            return -1;
        const std::chrono::duration<double> whole = Clock::now() - start;
        const std::chrono::duration<double> network = peer.networkTime;
        shares.push_back((whole - network) / network);
    }
    std::nth_element(shares.begin(), shares.begin() + kOwnTimeRounds / 2, shares.end());
    return shares[kOwnTimeRounds / 2];
}

}  // namespace

int main(int argc, char** argv) {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    Peer& peer = ThePeer();
    peer.isRecording = true;
    if (!peer.SignIn())
        return EXIT_FAILURE;
    peer.isRecording = false;

    for (auto* made : {benchmark::RegisterBenchmark("Ours", Ours),
                       benchmark::RegisterBenchmark("BareHandles", BareHandles)})
        made->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(kRepetitions)->ReportAggregatesOnly();
    bench::MedianReporter reporter;
    if (!bench::RunByTurns(argc, argv, reporter))
        return EXIT_FAILURE;
    const double ratio = reporter.medians["Ours"] / reporter.medians["BareHandles"];
    const double ownShare = OwnShare(peer);
    (void)std::printf(
        "sign-in of %zu exchanges, ours / bare libcurl handles: %.3f (at most %.2f)\n"
        "own time / network's in a sign-in: %.3f (below %.2f)\n",
        peer.exchanges.size(), ratio, kAllowedRatio, ownShare, kAllowedOwnShare);
    const bool isGood = ratio <= kAllowedRatio && ownShare >= 0 && ownShare < kAllowedOwnShare;
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}
