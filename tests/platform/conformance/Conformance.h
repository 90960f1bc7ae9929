// What every filled platform table must do, as rows that know nothing of the system below.
//
// A platform runs them against its table by instantiating each suite once:
//
//   INSTANTIATE_TEST_SUITE_P(Linux, FileConformance, ::testing::Values(FilledPlatform{"linux", &table}));
//
// A difference between platforms is a row in the platform's own tests, with its reason. The HTTP rows
// need a server and stand in HttpConformance.h.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "core/src/system/PlatformTable.h"
#include "tests/support/TemporaryFolder.h"

namespace test {

// A row that the system below a platform answers in another way, by the row's name; what it answers there is
// for the platform's own tests to say.
struct KnownDifference {
    const char* row;
    const char* reason;
};

// The rows that may be left out. One that gets another name gets it here as well, and then no platform can go
// on to leave out a row that is no more.
inline constexpr std::string_view kRowsThatMayDiffer[] = {
    "status line and headers, in order",
    "the head of a fault",
    "an interim answer is left out",
    "not a word",
    "a reset",
    "half a head",
    "half a body",
    "half a body, then a reset",
    "half a chunk",
    "::1",
    "0::1",
    "::0:1",
    "::0001",
    "0:0:0:0:0:0:0:1",
    "0:0:0:0:0:0::1",
    "0:0:0:0:0:0:0.0.0.1",
    "::0.0.0.1",
    "::ffff:127.0.0.1",
    "::FFFF:7f00:1",
    "0:0:0:0:0:ffff:127.0.0.1",
};
[[nodiscard]] inline bool MayDiffer(std::string_view row) {
    return std::count(std::begin(kRowsThatMayDiffer), std::end(kRowsThatMayDiffer), row) == 1;
}

struct FilledPlatform {
    const char* name;
    const quillmarkclient_core::PlatformTable* table;
    std::vector<KnownDifference> differences = {};
    // Whether this machine has a name for certain; otherwise it may have none, and its rows are skipped.
    bool isMachineNamed = true;
    const char* addressDigits = "0123456789ABCDEF";  // of a network adapter
};
inline void PrintTo(const FilledPlatform& platform, std::ostream* out) {
    *out << platform.name;
}

class PlatformConformance : public ::testing::TestWithParam<FilledPlatform> {
protected:
    const quillmarkclient_core::PlatformTable& table = *GetParam().table;

    // Whether the row is left out here; says so and why.
    [[nodiscard]] static bool IsLeftOut(const char* row) {
        EXPECT_TRUE(MayDiffer(row)) << row;
        for (const auto& difference : GetParam().differences) {
            EXPECT_TRUE(MayDiffer(difference.row)) << difference.row << ": a difference of no row";
            if (std::string_view(row) == difference.row) {
                std::cout << "left out: " << row << ": " << difference.reason << "\n";
                return true;
            }
        }
        return false;
    }
};

class FileConformance : public PlatformConformance {
protected:
    /// A path in a folder of this test alone.
    [[nodiscard]] std::string Path(const std::string& name = "file") const { return folder.PathOf(name); }
    [[nodiscard]] std::uint32_t Size(
        const std::string& path) const;  // by FileGetSize; fails the test without success

    TemporaryFolder folder;
};

class MemoryConformance : public PlatformConformance {};
class TimeConformance : public PlatformConformance {};
class IdentifierConformance : public PlatformConformance {};
class CryptoConformance : public PlatformConformance {};

}  // namespace test
