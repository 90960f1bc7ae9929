// Texts that nobody would write.
#pragma once

#include <cstddef>
#include <random>
#include <string>

namespace test {

/// Of up to `longest` bytes out of `bytes`.
inline std::string RandomText(std::mt19937& random, const std::string& bytes, std::size_t longest) {
    std::string text(random() % (longest + 1), '\0');
    for (char& character : text)
        character = bytes[random() % bytes.size()];
    return text;
}

inline std::string EveryByte() {
    std::string all;
    for (int value = 0; value < 256; ++value)
        all += static_cast<char>(value);
    return all;
}

}  // namespace test
