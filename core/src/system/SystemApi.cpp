#include "core/src/system/SystemApi.h"

#include <cstring>
#include <utility>

namespace quillmarkclient_core {
namespace {

PlatformTable& ProcessTable() noexcept {
    static PlatformTable table{};
    return table;
}

// Calls an entry, or answers kNotImplemented for it.
template <class Entry, class... Arguments>
ResultCode Call(Entry entry, Arguments... arguments) {
    return entry ? static_cast<ResultCode>(entry(arguments...)) : ResultCode::kNotImplemented;
}

// As Call, for the operations that make no sense where nothing takes back their blocks.
template <class Entry, class... Arguments>
ResultCode CallCrypto(Entry entry, Arguments... arguments) {
    return ProcessTable().FreeCryptoBuffer ? Call(entry, arguments...) : ResultCode::kNotImplemented;
}

// Calls an entry that takes a block back. These run in destructors, where nothing may be thrown: what the
// platform throws is dropped, and the block is the platform's loss.
template <class Entry, class... Arguments>
void TakeBack(Entry entry, Arguments... arguments) noexcept {
    try {
        if (entry)
            static_cast<void>(entry(arguments...));
    } catch (...) {
        return;
    }
}

using Texts = portable_stl::vector<portable_stl::string>;

// A block of Alloc that goes back when the scope ends, by an exception of the containers as well.
class OwnedBlock {
public:
    explicit OwnedBlock(std::size_t size) : bytes_(static_cast<char*>(SystemApi::Alloc(size))) {}
    ~OwnedBlock() { SystemApi::Free(bytes_); }
    OwnedBlock(const OwnedBlock&) = delete;
    OwnedBlock& operator=(const OwnedBlock&) = delete;
    [[nodiscard]] char* Get() const { return bytes_; }

private:
    char* bytes_;
};

// Each text up to its zero byte; a last one without a zero byte ends with the block.
Texts SplitAtZeros(const char* block, std::size_t size) {
    Texts texts;
    const char* const end = block + size;
    while (block != end) {
        const void* found = std::memchr(block, 0, static_cast<std::size_t>(end - block));
        const char* const zero = found ? static_cast<const char*>(found) : end;
        texts.push_back(portable_stl::string(block, static_cast<std::size_t>(zero - block))).value();
        block = found ? zero + 1 : end;
    }
    return texts;
}

}  // namespace

void SystemApi::SetTable(const PlatformTable& table) noexcept {
    ProcessTable() = table;
}

const PlatformTable& SystemApi::Table() noexcept {
    return ProcessTable();
}

ResultCode SystemApi::Sleep(std::uint32_t milliseconds, void* context) {
    return Call(Table().Sleep, milliseconds, context);
}

ResultCode SystemApi::FileRead(const char* path, std::uint64_t offset, void* buffer, std::uint32_t size,
                               std::uint32_t* bytesRead, void* context) {
    return Call(Table().FileRead, path, offset, buffer, size, bytesRead, context);
}

ResultCode SystemApi::FileWrite(const char* path, std::uint64_t offset, const void* buffer,
                                std::uint32_t size, std::uint32_t* bytesWritten, void* context) {
    return Call(Table().FileWrite, path, offset, buffer, size, bytesWritten, context);
}

ResultCode SystemApi::FileGetSize(const char* path, std::uint32_t* size, void* context) {
    return Call(Table().FileGetSize, path, size, context);
}

ResultCode SystemApi::FileSetSize(const char* path, std::uint64_t size, void* context) {
    return Call(Table().FileSetSize, path, size, context);
}

ResultCode SystemApi::FileDelete(const char* path, void* context) {
    return Call(Table().FileDelete, path, context);
}

ResultCode SystemApi::GetMachineIds(portable_stl::vector<portable_stl::string>& ids, void* context) {
    const auto entry = Table().GetMachineIds;
    if (!entry)
        return ResultCode::kNotImplemented;
    std::uint32_t size = 0;
    if (!IsSuccess(Call(entry, nullptr, &size, context)) || size == 0)
        return ResultCode::kMachineId;
    const OwnedBlock block(size);
    if (!block.Get())
        return ResultCode::kInsufficientResources;
    std::uint32_t filled = size;
    if (!IsSuccess(Call(entry, block.Get(), &filled, context)))
        return ResultCode::kMachineId;
    Texts texts = SplitAtZeros(block.Get(), filled < size ? filled : size);  // never behind our block
    if (texts.empty())
        return ResultCode::kMachineId;
    ids.swap(texts);
    return ResultCode::kSuccess;
}

ResultCode SystemApi::HttpRequest(const char* method, const char* url, const HttpHeaderPair* headers,
                                  std::uint32_t headerCount, const char* body, std::uint32_t flags,
                                  std::uint32_t* status, char** responseBody, char** responseHeaders,
                                  void* context) {
    return Call(Table().HttpRequest, method, url, headers, headerCount, body, flags, status, responseBody,
                responseHeaders, context);
}

ResultCode SystemApi::HttpUploadFile(const char* method, const char* url, const HttpHeaderPair* headers,
                                     std::uint32_t headerCount, const char* boundary, const char* filePath,
                                     const char* fileName, std::uint32_t* status, char** responseBody) {
    return Call(Table().HttpUploadFile, method, url, headers, headerCount, boundary, filePath, fileName,
                status, responseBody);
}

ResultCode SystemApi::HttpFree(void* block, void* context) noexcept {
    try {
        return Call(Table().HttpFree, block, context);
    } catch (...) {
        return ResultCode::kInternalError;
    }
}

void* SystemApi::Alloc(std::size_t size) {
    const auto entry = Table().Alloc;
    return entry ? entry(size) : nullptr;
}

void SystemApi::Free(void* block) noexcept {
    TakeBack(Table().Free, block);
}

void SystemApi::MemSet(void* block, std::uint8_t byte, std::size_t size) {
    if (const auto entry = Table().MemSet; entry)
        entry(block, byte, size);
}

void SystemApi::MemCopy(void* target, const void* source, std::size_t size) {
    if (const auto entry = Table().MemCopy; entry)
        entry(target, source, size);
}

void SystemApi::MemMove(void* target, const void* source, std::size_t size) {
    if (const auto entry = Table().MemMove; entry)
        entry(target, source, size);
}

int SystemApi::MemCompare(const void* left, const void* right, std::size_t size) {
    const auto entry = Table().MemCompare;
    return entry ? entry(left, right, size) : 0;
}

ResultCode SystemApi::GetTime(std::uint64_t* seconds, void* context) {
    return Call(Table().GetTime, seconds, context);
}

ResultCode SystemApi::VerifySignature(const char* keyText, const char* message, const char* signature,
                                      std::uint32_t signatureSize, std::uint32_t* verdict, void* context) {
    return CallCrypto(Table().VerifySignature, keyText, message, signature, signatureSize, verdict, context);
}

ResultCode SystemApi::Encrypt(const char* keyText, void* buffer, std::uint32_t size, void* context) {
    return CallCrypto(Table().Encrypt, keyText, buffer, size, context);
}

ResultCode SystemApi::Decrypt(const char* keyText, void* buffer, std::uint32_t size, void* context) {
    return CallCrypto(Table().Decrypt, keyText, buffer, size, context);
}

ResultCode SystemApi::Sha512(const void* data, std::uint32_t size, std::uint8_t** digest,
                             std::uint32_t* digestSize, void* context) {
    return CallCrypto(Table().Sha512, data, size, digest, digestSize, context);
}

ResultCode SystemApi::Sha256(const void* data, std::uint32_t size, std::uint8_t** digest,
                             std::uint32_t* digestSize, void* context) {
    return CallCrypto(Table().Sha256, data, size, digest, digestSize, context);
}

ResultCode SystemApi::Md5(const void* data, std::uint32_t size, std::uint8_t** digest,
                          std::uint32_t* digestSize, void* context) {
    return CallCrypto(Table().Md5, data, size, digest, digestSize, context);
}

ResultCode SystemApi::RsaPublicDecrypt(const char* keyText, const void* block, std::uint32_t size,
                                       std::uint8_t** plain, std::uint32_t* plainSize, void* context) {
    return CallCrypto(Table().RsaPublicDecrypt, keyText, block, size, plain, plainSize, context);
}

void SystemApi::FreeCryptoBuffer(void* block, void* context) noexcept {
    TakeBack(Table().FreeCryptoBuffer, block, context);
}

}  // namespace quillmarkclient_core
