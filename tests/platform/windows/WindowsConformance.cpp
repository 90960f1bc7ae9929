// The rows that every platform passes, over the table of this one.
#include "tests/platform/conformance/Conformance.h"
#include "tests/platform/conformance/HttpConformance.h"
#include "tests/support/windows/Wine.h"

namespace test {
namespace {

// What WinHTTP does in its own way, and what wine's does and that of Windows does not. HttpWineTest.cpp shows
// what wine's does; where a reset runs a race with the bytes before it, that is one of two things.
std::vector<KnownDifference> DifferencesHere() {
    std::vector<KnownDifference> differences;
    for (const char* address : {"::ffff:127.0.0.1", "::FFFF:7f00:1", "0:0:0:0:0:ffff:127.0.0.1"})
        differences.push_back({address, "a socket of IPv6 is for IPv6 alone here"});
    if (!IsWine())
        return differences;
    for (const char* address : {"::1", "0::1", "::0:1", "::0001", "0:0:0:0:0:0:0:1", "0:0:0:0:0:0::1",
                                "0:0:0:0:0:0:0.0.0.1", "::0.0.0.1"})
        differences.push_back({address, "wine ends the host of a URL at its first colon"});
    constexpr const char* kCut = "wine takes an answer that is cut short for a whole one";
    constexpr const char* kReset = "the same under wine, unless the reset overtakes what came before it";
    differences.insert(differences.end(),
                       {{"half a head", kCut},
                        {"half a body", kCut},
                        {"half a body, then a reset", kReset},
                        {"half a chunk", kCut},
                        {"an interim answer is left out", "wine takes no interim answer"}});
    return differences;
}

// Small letters are wine's.
const FilledPlatform kWindows = {
    .name = "windows",
    .table = &quillmarkclient_core::DefaultPlatformTable(),
    .differences = DifferencesHere(),
    .addressDigits = IsWine() ? "0123456789abcdef" : "0123456789ABCDEF",
};

INSTANTIATE_TEST_SUITE_P(Windows, FileConformance, ::testing::Values(kWindows));
INSTANTIATE_TEST_SUITE_P(Windows, MemoryConformance, ::testing::Values(kWindows));
INSTANTIATE_TEST_SUITE_P(Windows, TimeConformance, ::testing::Values(kWindows));
INSTANTIATE_TEST_SUITE_P(Windows, IdentifierConformance, ::testing::Values(kWindows));
INSTANTIATE_TEST_SUITE_P(Windows, CryptoConformance, ::testing::Values(kWindows));
INSTANTIATE_TEST_SUITE_P(Windows, HttpConformance, ::testing::Values(kWindows));
INSTANTIATE_TEST_SUITE_P(Windows, HttpUploadConformance, ::testing::Values(kWindows));

}  // namespace
}  // namespace test
