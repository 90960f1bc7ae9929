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

#include <cstdint>
#include <ostream>
#include <string>

#include "core/src/system/PlatformTable.h"
#include "tests/support/TemporaryFolder.h"

namespace test {

struct FilledPlatform {
    const char* name;
    const quillmarkclient_core::PlatformTable* table;
};
inline void PrintTo(const FilledPlatform& platform, std::ostream* out) {
    *out << platform.name;
}

class PlatformConformance : public ::testing::TestWithParam<FilledPlatform> {
protected:
    const quillmarkclient_core::PlatformTable& table = *GetParam().table;
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
