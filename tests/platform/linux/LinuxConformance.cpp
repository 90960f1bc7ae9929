// The rows that every platform passes, over the table of this one.
#include <fstream>
#include <string>

#include "tests/platform/conformance/Conformance.h"
#include "tests/platform/conformance/HttpConformance.h"

// A sanitizer's allocator ends the program where the system's gives null; the rows want to see the null.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}

namespace test {
namespace {

bool HasMachineId() {
    std::ifstream file("/etc/machine-id");
    std::string id;
    return file >> id && id != "uninitialized";
}

// A machine without an id of its own may have an adapter to be named after, or may not.
const FilledPlatform kLinux = {
    .name = "linux",
    .table = &quillmarkclient_core::DefaultPlatformTable(),
    .isMachineNamed = HasMachineId(),
};

INSTANTIATE_TEST_SUITE_P(Linux, FileConformance, ::testing::Values(kLinux));
INSTANTIATE_TEST_SUITE_P(Linux, MemoryConformance, ::testing::Values(kLinux));
INSTANTIATE_TEST_SUITE_P(Linux, TimeConformance, ::testing::Values(kLinux));
INSTANTIATE_TEST_SUITE_P(Linux, IdentifierConformance, ::testing::Values(kLinux));
INSTANTIATE_TEST_SUITE_P(Linux, CryptoConformance, ::testing::Values(kLinux));
INSTANTIATE_TEST_SUITE_P(Linux, HttpConformance, ::testing::Values(kLinux));
INSTANTIATE_TEST_SUITE_P(Linux, HttpUploadConformance, ::testing::Values(kLinux));

}  // namespace
}  // namespace test
