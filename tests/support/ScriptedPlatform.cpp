#include "tests/support/ScriptedPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/src/system/LogOutlets.h"
#include "core/src/system/SystemApi.h"
#include "platform/common/Crypto.h"

namespace test {

using quillmarkclient_core::HttpHeaderPair;
using quillmarkclient_core::PlatformTable;

namespace {

ScriptedPlatform* current = nullptr;

std::string Hex(std::uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", value);
    return text;
}

}  // namespace

// The table's entries; each finds the platform of the running test.
struct ScriptedOperations {
    using Lock = std::unique_lock<std::mutex>;

    // What every entry with a code does first.
    static bool Fails(Operation operation, std::uint32_t* code) {
        if (current->before)
            current->before(operation);
        const Lock lock(current->mutex_);
        return current->Enter(operation, code);
    }

    static std::uint32_t Sleep(std::uint32_t milliseconds, void*) {
        std::uint32_t code = 0;
        const bool fails = Fails(Operation::Sleep, &code);
        const Lock lock(current->mutex_);
        current->sleepsMs.push_back(milliseconds);
        return fails ? code : 0;
    }

    static std::uint32_t FileRead(const char* path, std::uint64_t offset, void* buffer, std::uint32_t size,
                                  std::uint32_t* bytesRead, void*) {
        std::uint32_t code = 0;
        if (Fails(Operation::FileRead, &code))
            return code;
        const Lock lock(current->mutex_);
        const std::string& text = current->files[path];
        std::size_t count = 0;
        if (offset < text.size())
            count = std::min<std::size_t>(size, text.size() - offset);
        std::memcpy(buffer, text.data() + (count != 0 ? offset : 0), count);
        if (bytesRead != nullptr)
            *bytesRead = static_cast<std::uint32_t>(count);
        return 0;
    }

    static std::uint32_t FileWrite(const char* path, std::uint64_t offset, const void* buffer,
                                   std::uint32_t size, std::uint32_t* bytesWritten, void*) {
        std::uint32_t code = 0;
        if (Fails(Operation::FileWrite, &code))
            return code;
        const Lock lock(current->mutex_);
        std::string& text = current->files[path];
        if (text.size() < offset + size)
            text.resize(offset + size);
        text.replace(offset, size, static_cast<const char*>(buffer), size);
        if (bytesWritten != nullptr)
            *bytesWritten = size;
        return 0;
    }

    static std::uint32_t FileGetSize(const char* path, std::uint32_t* size, void*) {
        std::uint32_t code = 0;
        if (Fails(Operation::FileGetSize, &code))
            return code;
        const Lock lock(current->mutex_);
        const auto file = current->files.find(path);
        *size = file == current->files.end() ? 0 : static_cast<std::uint32_t>(file->second.size());
        return 0;
    }

    static std::uint32_t FileSetSize(const char* path, std::uint64_t size, void*) {
        std::uint32_t code = 0;
        if (Fails(Operation::FileSetSize, &code))
            return code;
        const Lock lock(current->mutex_);
        current->files[path].resize(size);
        return 0;
    }

    static std::uint32_t FileDelete(const char* path, void*) {
        std::uint32_t code = 0;
        if (Fails(Operation::FileDelete, &code))
            return code;
        const Lock lock(current->mutex_);
        return current->files.erase(path) == 1 ? 0 : 0x8100000Bu;
    }

    static std::uint32_t GetMachineIds(char* buffer, std::uint32_t* size, void*) {
        std::uint32_t code = 0;
        if (Fails(Operation::GetMachineIds, &code))
            return code;
        const Lock lock(current->mutex_);
        std::string block;
        for (const std::string& id : current->machineIds)
            block.append(id).push_back('\0');
        if (buffer == nullptr) {
            *size = static_cast<std::uint32_t>(block.size());
            return 0;
        }
        if (*size < block.size())
            return 0x80000005u;
        std::memcpy(buffer, block.data(), block.size());
        return 0;
    }

    static std::uint32_t HttpRequest(const char* method, const char* url, const HttpHeaderPair* headers,
                                     std::uint32_t headerCount, const char* body, std::uint32_t flags,
                                     std::uint32_t* status, char** responseBody, char** responseHeaders,
                                     void*) {
        std::uint32_t code = 0;
        if (Fails(Operation::HttpRequest, &code))
            return code;
        RecordedRequest request{method, url, {}, body != nullptr ? body : "", flags};
        for (std::uint32_t i = 0; i < headerCount; ++i)
            request.headers.emplace_back(headers[i].name, headers[i].value);
        const ScriptedAnswer answer = NextAnswer(request);
        const Lock lock(current->mutex_);
        *status = answer.status;
        if (!answer.nullBlocks) {
            if (responseBody != nullptr)
                *responseBody = Copy(answer.body);
            if (responseHeaders != nullptr)
                *responseHeaders = Copy(answer.headers);
        }
        return answer.result;
    }

    static std::uint32_t HttpUploadFile(const char*, const char*, const HttpHeaderPair*, std::uint32_t,
                                        const char*, const char*, const char*, std::uint32_t* status,
                                        char** responseBody) {
        std::uint32_t code = 0;
        if (Fails(Operation::HttpUploadFile, &code))
            return code;
        const Lock lock(current->mutex_);
        *status = 200;
        *responseBody = Copy("");
        return 0;
    }

    static std::uint32_t HttpFree(void* block, void*) {
        std::uint32_t code = 0;
        const bool fails = Fails(Operation::HttpFree, &code);
        const Lock lock(current->mutex_);
        current->ReturnBlock(Operation::HttpFree, block);
        return fails ? code : 0;
    }

    static void* Alloc(std::size_t size) {
        std::uint32_t code = 0;
        if (Fails(Operation::Alloc, &code) || size == 0)
            return nullptr;
        const Lock lock(current->mutex_);
        void* block = current->NewBlock(Operation::Free, size);
        std::memset(block, 0xA5, size);  // nobody may rely on cleared memory
        return block;
    }

    static void Free(void* block) { GiveBack(Operation::Free, block); }

    static void MemSet(void* block, std::uint8_t byte, std::size_t size) {
        if (block != nullptr)
            std::memset(block, byte, size);
    }
    static void MemCopy(void* target, const void* source, std::size_t size) {
        if (target != nullptr && source != nullptr)
            std::memcpy(target, source, size);
    }
    static void MemMove(void* target, const void* source, std::size_t size) {
        if (target != nullptr && source != nullptr)
            std::memmove(target, source, size);
    }
    static int MemCompare(const void* left, const void* right, std::size_t size) {
        return left == nullptr || right == nullptr ? 0 : std::memcmp(left, right, size);
    }

    static std::uint32_t GetTime(std::uint64_t* seconds, void*) {
        std::uint32_t code = 0;
        if (Fails(Operation::GetTime, &code))
            return code;
        const Lock lock(current->mutex_);
        *seconds = current->nowSeconds;
        return 0;
    }

    static std::uint32_t VerifySignature(const char* keyText, const char* message, const char* signature,
                                         std::uint32_t size, std::uint32_t* verdict, void* context) {
        std::uint32_t code = 0;
        if (Fails(Operation::VerifySignature, &code))
            return code;
        return quillmarkclient_common::VerifySignature(keyText, message, signature, size, verdict, context);
    }

    static std::uint32_t Encrypt(const char* keyText, void* buffer, std::uint32_t size, void* context) {
        std::uint32_t code = 0;
        if (Fails(Operation::Encrypt, &code))
            return code;
        return quillmarkclient_common::Encrypt(keyText, buffer, size, context);
    }
    static std::uint32_t Decrypt(const char* keyText, void* buffer, std::uint32_t size, void* context) {
        std::uint32_t code = 0;
        if (Fails(Operation::Decrypt, &code))
            return code;
        return quillmarkclient_common::Decrypt(keyText, buffer, size, context);
    }

    using DigestFunction = std::uint32_t (*)(const void*, std::uint32_t, std::uint8_t**, std::uint32_t*,
                                             void*);

    // The real digest, in a block of ours so that its way back is counted.
    static std::uint32_t Digest(Operation operation, DigestFunction function, const void* data,
                                std::uint32_t size, std::uint8_t** digest, std::uint32_t* digestSize,
                                void* context) {
        std::uint32_t code = 0;
        if (Fails(operation, &code))
            return code;
        std::uint8_t* block = nullptr;
        if (const std::uint32_t result = function(data, size, &block, digestSize, context); result != 0)
            return result;
        const Lock lock(current->mutex_);
        *digest = static_cast<std::uint8_t*>(current->NewBlock(Operation::FreeCryptoBuffer, *digestSize));
        std::memcpy(*digest, block, *digestSize);
        quillmarkclient_common::FreeCryptoBuffer(block, context);
        return 0;
    }
    static std::uint32_t Sha512(const void* data, std::uint32_t size, std::uint8_t** digest,
                                std::uint32_t* digestSize, void* context) {
        return Digest(Operation::Sha512, &quillmarkclient_common::Sha512, data, size, digest, digestSize,
                      context);
    }
    static std::uint32_t Sha256(const void* data, std::uint32_t size, std::uint8_t** digest,
                                std::uint32_t* digestSize, void* context) {
        return Digest(Operation::Sha256, &quillmarkclient_common::Sha256, data, size, digest, digestSize,
                      context);
    }
    static std::uint32_t Md5(const void* data, std::uint32_t size, std::uint8_t** digest,
                             std::uint32_t* digestSize, void* context) {
        return Digest(Operation::Md5, &quillmarkclient_common::Md5, data, size, digest, digestSize, context);
    }

    static std::uint32_t RsaPublicDecrypt(const char* keyText, const void* block, std::uint32_t size,
                                          std::uint8_t** plain, std::uint32_t* plainSize, void* context) {
        std::uint32_t code = 0;
        if (Fails(Operation::RsaPublicDecrypt, &code))
            return code;
        std::uint8_t* text = nullptr;
        const std::uint32_t result =
            quillmarkclient_common::RsaPublicDecrypt(keyText, block, size, &text, plainSize, context);
        if (result != 0)
            return result;
        *plain = nullptr;
        if (text == nullptr)
            return 0;
        const Lock lock(current->mutex_);
        *plain = static_cast<std::uint8_t*>(current->NewBlock(Operation::FreeCryptoBuffer, *plainSize));
        std::memcpy(*plain, text, *plainSize);
        quillmarkclient_common::FreeCryptoBuffer(text, context);
        return 0;
    }

    static void FreeCryptoBuffer(void* block, void*) { GiveBack(Operation::FreeCryptoBuffer, block); }

    static void Trace(const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        va_list again;
        va_copy(again, arguments);
        std::string line(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, arguments)), '\0');
        std::vsnprintf(line.data(), line.size() + 1, format, again);
        va_end(again);
        va_end(arguments);
        const Lock lock(current->mutex_);
        current->traceLines.push_back(line);
        current->logOrder.push_back("T " + line);
    }

    static void Error(std::uint32_t code, const char* message, const char* source, std::uint32_t line) {
        const Lock lock(current->mutex_);
        current->errors.push_back({code, message, source, line});
        current->logOrder.push_back("E " + Hex(code) + " " + source);
    }

private:
    static void GiveBack(Operation partner, void* block) {
        std::uint32_t code = 0;
        Fails(partner, &code);
        const Lock lock(current->mutex_);
        current->ReturnBlock(partner, block);
    }

    // Under the lock.
    static char* Copy(const std::string& text) {
        char* block = static_cast<char*>(current->NewBlock(Operation::HttpFree, text.size() + 1));
        std::memcpy(block, text.c_str(), text.size() + 1);
        return block;
    }

    static ScriptedAnswer NextAnswer(const RecordedRequest& request) {
        {
            const Lock lock(current->mutex_);
            current->requests.push_back(request);
            if (!current->answers_.empty()) {
                ScriptedAnswer answer = std::move(current->answers_.front());
                current->answers_.pop_front();
                return answer;
            }
        }
        if (current->responder)
            return current->responder(request);
        ADD_FAILURE() << "no answer scripted for " << request.method << " " << request.url;
        ScriptedAnswer none;
        none.result = 0x81000006u;
        return none;
    }
};

std::string RecordedRequest::Header(const std::string& name) const {
    for (const auto& [headerName, value] : headers) {
        if (headerName == name)
            return value;
    }
    return "(none)";
}

ScriptedPlatform::ScriptedPlatform() : table{} {
    if (current != nullptr)
        std::abort();  // two scripted platforms would answer for one another
    current = this;
    using O = ScriptedOperations;
    table = {
        &O::Sleep,
        &O::FileRead,
        &O::FileWrite,
        &O::FileGetSize,
        &O::FileSetSize,
        &O::FileDelete,
        &O::GetMachineIds,
        &O::HttpRequest,
        &O::HttpUploadFile,
        &O::HttpFree,
        &O::Alloc,
        &O::Free,
        &O::MemSet,
        &O::MemCopy,
        &O::MemMove,
        &O::MemCompare,
        &O::GetTime,
        &O::VerifySignature,
        &O::Encrypt,
        &O::Decrypt,
        &O::Sha512,
        &O::Sha256,
        &O::Md5,
        &O::RsaPublicDecrypt,
        &O::FreeCryptoBuffer,
    };
    Install();
    auto& outlets = quillmarkclient_core::ProcessLogOutlets();
    outlets.trace = &O::Trace;
    outlets.error = &O::Error;
}

ScriptedPlatform::~ScriptedPlatform() {
    quillmarkclient_core::ProcessLogOutlets() = {};
    quillmarkclient_core::SystemApi::SetTable(PlatformTable{});
    for (const auto& [block, partner] : blocks_)
        std::free(block);
    current = nullptr;
}

void ScriptedPlatform::Install() {
    quillmarkclient_core::SystemApi::SetTable(table);
}

void ScriptedPlatform::AnswerWith(std::uint32_t status, std::string body) {
    ScriptedAnswer answer;
    answer.status = status;
    answer.body = std::move(body);
    answer.headers = "HTTP/1.1 " + std::to_string(status) + "\r\n\r\n";
    answers_.push_back(std::move(answer));
}

void ScriptedPlatform::AnswerWith(ScriptedAnswer answer) {
    answers_.push_back(std::move(answer));
}

void ScriptedPlatform::FailExchange(std::uint32_t result) {
    ScriptedAnswer answer;
    answer.result = result;
    answer.body = "left over";
    answers_.push_back(std::move(answer));
}

std::vector<std::string> ScriptedPlatform::RequestLines(const std::string& baseUrl) const {
    std::vector<std::string> lines;
    for (const RecordedRequest& request : requests) {
        EXPECT_EQ(request.url.compare(0, baseUrl.size(), baseUrl), 0) << request.url;
        lines.push_back(request.method + " " +
                        request.url.substr(std::min(baseUrl.size(), request.url.size())));
    }
    return lines;
}

void ScriptedPlatform::FailCall(Operation operation, std::uint32_t code, std::uint32_t nth) {
    orders_[operation] = {code != 0 ? nth : 0, code};
}

std::uint32_t ScriptedPlatform::CallCount(Operation operation) const {
    const auto count = calls_.find(operation);
    return count == calls_.end() ? 0 : count->second;
}

void ScriptedPlatform::ExpectNoBlocks() const {
    for (const auto& [block, partner] : blocks_)
        ADD_FAILURE() << "a block was not given back to operation " << static_cast<std::uint32_t>(partner);
}

long ScriptedPlatform::BlocksOut() const {
    return static_cast<long>(blocks_.size());
}

bool ScriptedPlatform::Enter(Operation operation, std::uint32_t* code) {
    ++calls_[operation];
    const auto order = orders_.find(operation);
    if (order == orders_.end() || order->second.countdown == 0 || --order->second.countdown != 0)
        return false;
    *code = order->second.code;
    return true;
}

void* ScriptedPlatform::NewBlock(Operation partner, std::size_t size) {
    void* block = std::malloc(size);
    blocks_[block] = partner;
    return block;
}

void ScriptedPlatform::ReturnBlock(Operation partner, void* block) {
    if (block == nullptr)
        return;
    const auto entry = blocks_.find(block);
    if (entry == blocks_.end()) {
        ADD_FAILURE() << "a block came back that is not out";
        return;
    }
    EXPECT_EQ(static_cast<std::uint32_t>(entry->second), static_cast<std::uint32_t>(partner))
        << "a block went to the wrong partner";
    blocks_.erase(entry);
    std::free(block);
}

}  // namespace test
