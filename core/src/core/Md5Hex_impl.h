#pragma once

#include <cstdint>
#include <limits>

#include "core/src/core/Md5Hex.h"

namespace quillmarkclient_core {

namespace md5_detail {

inline void WriteHex(const std::uint8_t* bytes, std::uint32_t size, portable_stl::string& text) {
    constexpr const char* kDigits = "0123456789abcdef";
    text.resize(std::size_t{size} * 2);
    for (std::uint32_t i = 0; i < size; ++i) {
        text[std::size_t{i} * 2] = kDigits[bytes[i] >> 4];
        text[std::size_t{i} * 2 + 1] = kDigits[bytes[i] & 0xF];
    }
}

// A digest of the platform; it goes back when the scope ends, an exception included.
template <class Api>
struct DigestBlock {
    explicit DigestBlock(void* platformContext) : context(platformContext) {}
    ~DigestBlock() {
        if (bytes != nullptr)
            Api::FreeCryptoBuffer(bytes, context);
    }
    DigestBlock(const DigestBlock&) = delete;
    DigestBlock& operator=(const DigestBlock&) = delete;

    std::uint8_t* bytes = nullptr;
    std::uint32_t size = 0;
    void* context;
};

}  // namespace md5_detail

template <class Api>
portable_stl::string Md5Hex(const portable_stl::string& text, void* context) {
    portable_stl::string hex;
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        return hex;
    md5_detail::DigestBlock<Api> digest(context);
    const auto code =
        Api::Md5(text.data(), static_cast<std::uint32_t>(text.size()), &digest.bytes, &digest.size, context);
    if (IsSuccess(code) && digest.bytes != nullptr)
        md5_detail::WriteHex(digest.bytes, digest.size, hex);
    return hex;
}

}  // namespace quillmarkclient_core
