#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "core/src/core/Cryptographer.h"
#include "core/src/core/KeyPieces.h"
#include "core/src/system/Base64.h"
#include "core/src/system/LogOutlets.h"
#include "portable_stl/vector.h"

namespace quillmarkclient_core {

namespace cryptographer_detail {

using Bytes = portable_stl::vector<unsigned char>;

constexpr char kSource[] = "core/src/core/Cryptographer_impl";
constexpr std::size_t kPaddingUnit = 16;  // bytes
// The platform counts in 32 bits, and base64 makes 4 characters of 3 bytes.
constexpr std::size_t kLongestText =
    std::size_t{std::numeric_limits<std::uint32_t>::max()} / 4 * 3 - kPaddingUnit;

// Puts the pieces in order on the stack; nowhere else does the text stand whole before it is needed.
inline portable_stl::string AssembleKeyText(const KeyText& key) {
    char text[kLongestKeyText];
    std::size_t length = 0;
    for (std::size_t i = 0; i < key.pieceCount; ++i) {
        const KeyPiece& piece = key.pieces[i];
        std::memcpy(text + length, kKeyPiecePool + piece.offset, piece.size);
        length += piece.size;
    }
    return portable_stl::string(text, length);
}

inline Bytes CopyBytes(const char* text, std::size_t size, std::size_t unit) {
    Bytes bytes;
    bytes.resize((size + unit - 1) / unit * unit).value();
    if (size != 0)
        std::memcpy(bytes.data(), text, size);
    return bytes;
}

inline std::size_t LengthToZero(const Bytes& bytes) {
    const void* zero = bytes.empty() ? nullptr : std::memchr(bytes.data(), 0, bytes.size());
    return zero ? static_cast<std::size_t>(static_cast<const unsigned char*>(zero) - bytes.data())
                : bytes.size();
}

inline portable_stl::string TextToZero(const Bytes& bytes) {
    return portable_stl::string(reinterpret_cast<const char*>(bytes.data()), LengthToZero(bytes));
}

// Fills `encoded` with what stands in the file for `text`.
template <class Api>
ResultCode EncryptText(const portable_stl::string& text, const Cryptographer<Api>& cryptographer,
                       portable_stl::string& encoded, void* context) {
    Bytes bytes = CopyBytes(text.data(), text.size(), kPaddingUnit);
    if (cryptographer.cipherKeyText.empty())
        return ReportError(ResultCode::kInternalError, kSource, __LINE__);
    if (!IsSuccess(Api::Encrypt(cryptographer.cipherKeyText.c_str(), bytes.data(),
                                static_cast<std::uint32_t>(bytes.size()), context)))
        return ReportError(ResultCode::kEncrypt, kSource, __LINE__);
    encoded = Base64Encode(bytes.data(), bytes.size());
    return ResultCode::kSuccess;
}

// Turns the file's bytes into the plain ones, in place; no bytes when there is nothing to decipher.
template <class Api>
ResultCode DecryptBytes(Bytes& bytes, const Cryptographer<Api>& cryptographer, void* context) {
    Bytes decoded;
    if (Base64Decode(reinterpret_cast<const char*>(bytes.data()), LengthToZero(bytes), decoded))
        bytes.swap(decoded);
    // A damaged file is no error here. Without bytes there is no buffer that Decrypt could be given.
    if (bytes.empty() || bytes.size() % kPaddingUnit != 0) {
        bytes.clear();
        return ResultCode::kSuccess;
    }
    if (cryptographer.cipherKeyText.empty())
        return ReportError(ResultCode::kInternalError, kSource, __LINE__);
    if (!IsSuccess(Api::Decrypt(cryptographer.cipherKeyText.c_str(), bytes.data(),
                                static_cast<std::uint32_t>(bytes.size()), context)))
        return ReportError(ResultCode::kDecrypt, kSource, __LINE__);
    return ResultCode::kSuccess;
}

}  // namespace cryptographer_detail

template <class Api>
Cryptographer<Api>::Cryptographer(bool useAlternateKeys)
    : cipherKeyText(cryptographer_detail::AssembleKeyText(kLongKeyTexts[useAlternateKeys ? 1 : 0])),
      shortKeyText(cryptographer_detail::AssembleKeyText(kShortKeyTexts[useAlternateKeys ? 1 : 0])) {}

template <class Api>
ResultCode WriteEncryptedFile(const char* path, const portable_stl::string& text,
                              const portable_stl::shared_ptr<Cryptographer<Api>>* cryptographer,
                              void* context) {
    if (!IsSuccess(Api::FileSetSize(path, 0, context)))
        return ResultCode::kFileSetSize;
    if (text.empty())
        return ResultCode::kSuccess;
    if (text.size() > cryptographer_detail::kLongestText)
        return ResultCode::kFileWrite;

    const portable_stl::string* content = &text;
    portable_stl::string encoded;
    if (cryptographer->get()) {
        if (const auto code = cryptographer_detail::EncryptText(text, **cryptographer, encoded, context);
            !IsSuccess(code))
            return code;
        content = &encoded;
    }
    if (!IsSuccess(Api::FileWrite(path, 0, content->data(), static_cast<std::uint32_t>(content->size()),
                                  nullptr, context)))
        return ResultCode::kFileWrite;
    return ResultCode::kSuccess;
}

template <class Api>
ResultCode ReadEncryptedFile(const char* path, portable_stl::string& text,
                             const portable_stl::shared_ptr<Cryptographer<Api>>* cryptographer,
                             void* context) {
    text.clear();
    std::uint32_t size = 0;
    if (!IsSuccess(Api::FileGetSize(path, &size, context)))
        return ResultCode::kFileGetSize;
    if (size == 0)
        return ResultCode::kSuccess;

    cryptographer_detail::Bytes bytes;
    bytes.resize(size).value();
    if (!IsSuccess(Api::FileRead(path, 0, bytes.data(), size, nullptr, context)))
        return ResultCode::kFileRead;
    if (cryptographer->get()) {
        if (const auto code = cryptographer_detail::DecryptBytes(bytes, **cryptographer, context);
            !IsSuccess(code))
            return code;
    }
    text = cryptographer_detail::TextToZero(bytes);
    return ResultCode::kSuccess;
}

}  // namespace quillmarkclient_core
