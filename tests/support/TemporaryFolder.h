// A fresh, empty folder that ends with the object, with all that was put into it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>

namespace test {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::random_device random;
        for (int attempt = 0; attempt < 100; ++attempt) {
            const auto number = std::uint64_t{random()} << 32 | random();
            path_ = std::filesystem::temp_directory_path() / ("quillmark-test-" + std::to_string(number));
            if (std::filesystem::create_directory(path_))
                return;
        }
        throw std::runtime_error("no temporary folder");
    }
    ~TemporaryFolder() {
        std::error_code ignored;  // what a test made unremovable is left to the system's own tidying
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
    /// UTF-8, as the library takes paths.
    [[nodiscard]] std::string PathOf(const std::string& name) const {
        const auto text = (path_ / std::filesystem::path(std::u8string(name.begin(), name.end()))).u8string();
        return {text.begin(), text.end()};
    }

private:
    std::filesystem::path path_;
};

/// The whole file as bytes; empty when there is none.
inline std::string ReadWhole(const std::string& path) {
    std::ifstream file(std::filesystem::path(std::u8string(path.begin(), path.end())), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteWhole(const std::string& path, const std::string& bytes) {
    std::ofstream file(std::filesystem::path(std::u8string(path.begin(), path.end())), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("can't write " + path);
}

inline bool Exists(const std::string& path) {
    return std::filesystem::exists(std::filesystem::path(std::u8string(path.begin(), path.end())));
}

}  // namespace test
