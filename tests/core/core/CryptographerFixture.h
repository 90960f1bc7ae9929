// What the tests of the cipher share: both key pairs over a scripted platform, and short ways to write and
// read.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "core/src/core/Cryptographer.h"
#include "core/src/system/SystemApi.h"
#include "tests/support/ScriptedPlatform.h"

namespace test {

using Cryptographer = quillmarkclient_core::Cryptographer<quillmarkclient_core::SystemApi>;
using CryptographerPointer = portable_stl::shared_ptr<Cryptographer>;

inline constexpr char kPath[] = "/folder/LIC0";
inline constexpr char kToken[] = R"({"identityToken":"abc.def.ghi","contextType":"b2c"})";

struct ReadResult {
    std::uint32_t code;
    std::string text;
    bool operator==(const ReadResult&) const = default;
};
inline void PrintTo(const ReadResult& result, std::ostream* out) {
    *out << std::hex << result.code << ", " << ::testing::PrintToString(result.text);
}

inline std::uint32_t Number(ResultCode code) {
    return static_cast<std::uint32_t>(code);
}

inline std::uint32_t WriteTo(const std::string& path, const std::string& text,
                             const CryptographerPointer& cryptographer) {
    return Number(quillmarkclient_core::WriteEncryptedFile(
        path.c_str(), portable_stl::string(text.data(), text.size()), &cryptographer, nullptr));
}

inline ReadResult ReadFrom(const std::string& path, const CryptographerPointer& cryptographer) {
    portable_stl::string text;
    const auto code = quillmarkclient_core::ReadEncryptedFile(path.c_str(), text, &cryptographer, nullptr);
    return {Number(code), std::string(text.data(), text.size())};
}

class CryptographerFixture : public ::testing::Test {
protected:
    CryptographerFixture()
        : first(portable_stl::make_shared<Cryptographer>(false)),
          second(portable_stl::make_shared<Cryptographer>(true)) {}

    std::uint32_t Write(const std::string& text) { return WriteTo(kPath, text, first); }
    ReadResult Read() { return ReadFrom(kPath, first); }
    std::string& File() { return platform.files[kPath]; }

    ScriptedPlatform platform;
    const CryptographerPointer first;
    const CryptographerPointer second;
};

}  // namespace test
