// Base64 as texts and bytes of the standard library.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "core/src/system/Base64.h"

namespace test {

inline std::string Encoded(const std::string& bytes) {
    const auto text = quillmarkclient_core::Base64Encode(bytes.data(), bytes.size());
    return {text.data(), text.size()};
}

struct Decoded {
    bool ok;
    std::string bytes;
    bool operator==(const Decoded&) const = default;
};
inline void PrintTo(const Decoded& decoded, std::ostream* out) {
    *out << (decoded.ok ? "true, " : "false, ") << ::testing::PrintToString(decoded.bytes);
}

// Into a vector that holds something already.
inline Decoded Decode(const std::string& text) {
    portable_stl::vector<unsigned char> bytes;
    bytes.push_back('x').value();
    const bool ok = quillmarkclient_core::Base64Decode(text.data(), text.size(), bytes);
    return {ok, std::string(bytes.begin(), bytes.end())};
}

}  // namespace test
