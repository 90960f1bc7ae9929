// One exchange over TLS through HttpRequest, which shares one loaded trust store, against a fresh libcurl
// handle that reads the system's bundle by itself, as a plain use of libcurl does. The same server answers
// both, in the same run and by turns; the last line is the ratio of the medians.
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/BareExchange.h"
#include "bench/MedianReporter.h"
#include "bench/TlsPeer.h"
#include "platform/linux/HttpTransport.h"

namespace {

constexpr char kAnswerBody[] = "{\"accessToken\":\"abc\"}";
constexpr int kRepetitions = 9;
constexpr double kAllowedRatio = 0.15;

struct Peer : bench::TlsPeer {
    std::string url = server.Url("/api/registry/user");

    Peer() {
        server.SetDefault([](const auto&) {
            return test::Answer::Of(200, {{"Content-Type", "application/json"}}, kAnswerBody);
        });
    }
};

Peer& ThePeer() {
    static Peer peer;
    return peer;
}

void Ours(benchmark::State& state) {
    const Peer& peer = ThePeer();
    while (state.KeepRunning()) {
        std::uint32_t status = 0;
        char* body = nullptr;
        char* head = nullptr;
        const auto code = quillmarkclient_linux::HttpRequest("GET", peer.url.c_str(), nullptr, 0, "", 0,
                                                             &status, &body, &head, nullptr);
        if (code != 0 || status != 200 || std::string(body) != kAnswerBody)
            state.SkipWithError("our exchange failed");
        quillmarkclient_linux::HttpFree(body, nullptr);
        quillmarkclient_linux::HttpFree(head, nullptr);
    }
}

void FreshHandle(benchmark::State& state) {
    const Peer& peer = ThePeer();
    const bench::Exchange exchange{"GET", peer.url, {}, ""};
    std::string body;
    while (state.KeepRunning()) {
        if (!bench::MakeBareExchange(exchange, peer.bundle, body) || body != kAnswerBody)
            state.SkipWithError("libcurl's exchange failed");
    }
}

}  // namespace

int main(int argc, char** argv) {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    for (auto* made : {benchmark::RegisterBenchmark("Ours", Ours),
                       benchmark::RegisterBenchmark("FreshHandle", FreshHandle)})
        made->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(kRepetitions)->ReportAggregatesOnly();
    bench::MedianReporter reporter;
    if (!bench::RunByTurns(argc, argv, reporter))
        return EXIT_FAILURE;
    const double ratio = reporter.medians["Ours"] / reporter.medians["FreshHandle"];
    (void)std::printf("TLS exchange, ours / fresh libcurl handle: %.3f (at most %.2f)\n", ratio,
                      kAllowedRatio);
    return ratio <= kAllowedRatio ? EXIT_SUCCESS : EXIT_FAILURE;
}
