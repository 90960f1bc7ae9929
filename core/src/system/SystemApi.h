#pragma once

#include <cstddef>
#include <cstdint>

#include "core/src/ResultCode.h"
#include "core/src/system/PlatformTable.h"
#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace quillmarkclient_core {

// What the core's templates take as their parameter `Api`: thin static wrappers round the process's platform
// table.
//
// A wrapper tests its entry, answers kNotImplemented if it is null, and calls it otherwise. Where the result
// is no code: Alloc gives null, the void operations do nothing, MemCompare gives 0. The operations that make
// or release crypto blocks, and Encrypt and Decrypt with them, ask for FreeCryptoBuffer too. Arguments go
// through as they stand: the entry judges them. What an entry throws passes through, but for the three that
// take a block back: they run in destructors and let nothing out.
//
// The table is process-wide and unguarded: SetTable belongs before a second thread works. The last call
// decides for the whole process, objects made before it included.
struct SystemApi {
    SystemApi() = delete;

    static void SetTable(const PlatformTable& table) noexcept;  // copies
    [[nodiscard]] static const PlatformTable& Table() noexcept;

    static ResultCode Sleep(std::uint32_t milliseconds, void* context);

    [[nodiscard]] static ResultCode FileRead(const char* path, std::uint64_t offset, void* buffer,
                                             std::uint32_t size, std::uint32_t* bytesRead, void* context);
    [[nodiscard]] static ResultCode FileWrite(const char* path, std::uint64_t offset, const void* buffer,
                                              std::uint32_t size, std::uint32_t* bytesWritten, void* context);
    [[nodiscard]] static ResultCode FileGetSize(const char* path, std::uint32_t* size, void* context);
    [[nodiscard]] static ResultCode FileSetSize(const char* path, std::uint64_t size, void* context);
    static ResultCode FileDelete(const char* path, void* context);

    // The machine's identifiers as texts, the first of them the machine id.
    //   returns    0; kNotImplemented; kMachineId for a platform failure and for an empty list;
    //              kInsufficientResources
    //   throws     as the containers do; `ids` is replaced on success only
    [[nodiscard]] static ResultCode GetMachineIds(portable_stl::vector<portable_stl::string>& ids,
                                                  void* context);

    [[nodiscard]] static ResultCode HttpRequest(const char* method, const char* url,
                                                const HttpHeaderPair* headers, std::uint32_t headerCount,
                                                const char* body, std::uint32_t flags, std::uint32_t* status,
                                                char** responseBody, char** responseHeaders, void* context);
    [[nodiscard]] static ResultCode HttpUploadFile(const char* method, const char* url,
                                                   const HttpHeaderPair* headers, std::uint32_t headerCount,
                                                   const char* boundary, const char* filePath,
                                                   const char* fileName, std::uint32_t* status,
                                                   char** responseBody);
    static ResultCode HttpFree(void* block, void* context) noexcept;

    [[nodiscard]] static void* Alloc(std::size_t size);
    static void Free(void* block) noexcept;
    static void MemSet(void* block, std::uint8_t byte, std::size_t size);
    static void MemCopy(void* target, const void* source, std::size_t size);
    static void MemMove(void* target, const void* source, std::size_t size);
    [[nodiscard]] static int MemCompare(const void* left, const void* right, std::size_t size);

    [[nodiscard]] static ResultCode GetTime(std::uint64_t* seconds, void* context);

    [[nodiscard]] static ResultCode VerifySignature(const char* keyText, const char* message,
                                                    const char* signature, std::uint32_t signatureSize,
                                                    std::uint32_t* verdict, void* context);
    [[nodiscard]] static ResultCode Encrypt(const char* keyText, void* buffer, std::uint32_t size,
                                            void* context);
    [[nodiscard]] static ResultCode Decrypt(const char* keyText, void* buffer, std::uint32_t size,
                                            void* context);
    [[nodiscard]] static ResultCode Sha512(const void* data, std::uint32_t size, std::uint8_t** digest,
                                           std::uint32_t* digestSize, void* context);
    [[nodiscard]] static ResultCode Sha256(const void* data, std::uint32_t size, std::uint8_t** digest,
                                           std::uint32_t* digestSize, void* context);
    [[nodiscard]] static ResultCode Md5(const void* data, std::uint32_t size, std::uint8_t** digest,
                                        std::uint32_t* digestSize, void* context);
    [[nodiscard]] static ResultCode RsaPublicDecrypt(const char* keyText, const void* block,
                                                     std::uint32_t size, std::uint8_t** plain,
                                                     std::uint32_t* plainSize, void* context);
    static void FreeCryptoBuffer(void* block, void* context) noexcept;
};

}  // namespace quillmarkclient_core
