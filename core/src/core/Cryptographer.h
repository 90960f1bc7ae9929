// What keeps the token files from being plain text on the disk.
//
// An encrypted file is one text and nothing else: the base64 form (standard alphabet, padded, no line breaks)
// of the plain bytes, filled up with zero bytes to a multiple of 16 and enciphered by the platform's Encrypt
// under `cipherKeyText`. No header, no version, no checksum: a file of another key reads as other bytes, with
// success, and the layer above finds out because the text isn't what it expects.
#pragma once

#include "core/src/ResultCode.h"
#include "portable_stl/shared_ptr.h"
#include "portable_stl/string.h"

namespace quillmarkclient_core {

/// The key texts of the library. Immutable once made, so any thread may use it. The constructor throws as
/// strings do.
template <class Api>
class Cryptographer {
public:
    /// \param useAlternateKeys  selects the second pair of texts; files of one pair can't be read under the
    /// other
    explicit Cryptographer(bool useAlternateKeys);

    portable_stl::string
        cipherKeyText;  ///< pass phrase of all file encryption: PEM of a 2048-bit RSA public key
    portable_stl::string shortKeyText;  ///< PEM of a 120-bit RSA public key; held, and read by nothing
};

/// Replaces the file's content by `text`; an empty text leaves an empty file.
///
/// The file is emptied first, so a failure behind that point leaves it empty, and a reader may see it so
/// meanwhile.
/// \param cryptographer  address of the owner; when that is empty, the plain bytes are written
/// \return 0; kFileSetSize, kFileWrite; kInternalError for an empty key text and kEncrypt, both reported
template <class Api>
[[nodiscard]] ResultCode WriteEncryptedFile(const char* path, const portable_stl::string& text,
                                            const portable_stl::shared_ptr<Cryptographer<Api>>* cryptographer,
                                            void* context);

/// Reads what WriteEncryptedFile wrote, up to the first zero byte of the plain text.
///
/// A missing or empty file, a file of blanks and one whose bytes are no multiple of 16 read as the empty text
/// with success. A file that isn't base64 is deciphered as it stands.
/// \param text           out, replaced; empty after a failure
/// \param cryptographer  as above; when empty, the file's plain bytes are the text
/// \return 0; kFileGetSize, kFileRead; kInternalError for an empty key text and kDecrypt, both reported
template <class Api>
[[nodiscard]] ResultCode ReadEncryptedFile(const char* path, portable_stl::string& text,
                                           const portable_stl::shared_ptr<Cryptographer<Api>>* cryptographer,
                                           void* context);

}  // namespace quillmarkclient_core
