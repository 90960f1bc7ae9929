#pragma once

#include <string>

namespace test {

/// Two small digits a byte.
inline std::string Hex(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        text += "0123456789abcdef"[static_cast<unsigned char>(c) >> 4];
        text += "0123456789abcdef"[static_cast<unsigned char>(c) & 0xF];
    }
    return text;
}

}  // namespace test
