// Texts and bytes that nobody would write.
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

/// The same for the same seed.
inline std::string RandomBytes(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes;
    while (bytes.size() < size)
        bytes += static_cast<char>(random() & 0xFF);
    return bytes;
}

inline std::string EveryByte() {
    std::string all;
    for (int value = 0; value < 256; ++value)
        all += static_cast<char>(value);
    return all;
}

}  // namespace test
