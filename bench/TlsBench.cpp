// One exchange over TLS through HttpRequest, which shares one loaded trust store, against a fresh libcurl
// handle that reads the system's bundle by itself, as a plain use of libcurl does. The same server answers
// both, in the same run and by turns; the last line is the ratio of the medians.
//
// The server stands on a thread of this process. Its authority is appended to a copy of the system's bundle,
// so that both sides verify it against the same certificates.
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/linux/HttpTransport.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/sandbox/TestCertificates.h"

namespace {

constexpr char kSystemBundle[] = "/etc/ssl/certs/ca-certificates.crt";
constexpr char kAnswerBody[] = "{\"accessToken\":\"abc\"}";
constexpr int kRepetitions = 9;
constexpr double kAllowedRatio = 0.15;

struct Peer {
    sandbox::TestAuthority authority;
    sandbox::ServerCertificate certificate = authority.issue();
    test::ScriptedServer server{{.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem}};
    test::TemporaryFolder folder;
    std::string bundle = folder.PathOf("bundle.pem");
    std::string url = server.Url("/api/registry/user");

    Peer() {
        const std::string system = test::ReadWhole(kSystemBundle);
        if (system.empty())
            (void)std::fprintf(stderr, "%s is missing: both sides read a bundle of one certificate\n",
                               kSystemBundle);
        test::WriteWhole(bundle, system + authority.certificatePem());
        setenv("SSL_CERT_FILE", bundle.c_str(), 1);
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

std::size_t Append(char* data, std::size_t size, std::size_t count, void* text) {
    static_cast<std::string*>(text)->append(data, size * count);
    return size * count;
}

void FreshHandle(benchmark::State& state) {
    const Peer& peer = ThePeer();
    while (state.KeepRunning()) {
        std::string body;
        CURL* easy = curl_easy_init();
        curl_easy_setopt(easy, CURLOPT_URL, peer.url.c_str());
        curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
        curl_easy_setopt(easy, CURLOPT_CAINFO, peer.bundle.c_str());
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Append);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, &body);
        if (curl_easy_perform(easy) != CURLE_OK || body != kAnswerBody)
            state.SkipWithError("libcurl's exchange failed");
        curl_easy_cleanup(easy);
    }
}

// Keeps the medians for the last line.
class Ratio : public benchmark::ConsoleReporter {
public:
    Ratio() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            hasFailed = hasFailed || run.error_occurred;
            if (run.aggregate_name == "median")
                (run.run_name.function_name == "Ours" ? ours : fresh) = run.GetAdjustedRealTime();
        }
    }

    double ours = 0;
    double fresh = 0;
    bool hasFailed = false;
};

}  // namespace

int main(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    char byTurns[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, byTurns);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return EXIT_FAILURE;
    curl_global_init(CURL_GLOBAL_DEFAULT);
    for (auto* made : {benchmark::RegisterBenchmark("Ours", Ours),
                       benchmark::RegisterBenchmark("FreshHandle", FreshHandle)})
        made->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(kRepetitions)->ReportAggregatesOnly();
    Ratio ratio;
    benchmark::RunSpecifiedBenchmarks(&ratio);
    if (ratio.hasFailed || ratio.fresh <= 0)
        return EXIT_FAILURE;
    const double value = ratio.ours / ratio.fresh;
    (void)std::printf("TLS exchange, ours / fresh libcurl handle: %.3f (at most %.2f)\n", value,
                      kAllowedRatio);
    return value <= kAllowedRatio ? EXIT_SUCCESS : EXIT_FAILURE;
}
