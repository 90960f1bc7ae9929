// A platform table that a test scripts and reads back.
//
// Files live in memory, the clock stands still, sleeps are recorded, HTTP answers come from a queue and
// requests are recorded, the log outlets fill two lists, any call can be made to fail or throw. Digests and
// the cipher are the real ones. Blocks are counted by the partner that must take them back: ExpectNoBlocks()
// tells.
//
//   ScriptedPlatform platform;            // installs the table and both log outlets for its life
//   platform.AnswerWith(200, "{}");
//   ...
//   EXPECT_EQ(platform.requests[0].url, "...");
//
// One at a time in a process. The table's operations may be called from any thread; the fields are for the
// thread of the test while no operation runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "core/src/system/PlatformTable.h"

namespace test {

/// The rows of the table, in its order.
enum class Operation : std::uint32_t {
    Sleep,
    FileRead,
    FileWrite,
    FileGetSize,
    FileSetSize,
    FileDelete,
    GetMachineIds,
    HttpRequest,
    HttpUploadFile,
    HttpFree,
    Alloc,
    Free,
    MemSet,
    MemCopy,
    MemMove,
    MemCompare,
    GetTime,
    VerifySignature,
    Encrypt,
    Decrypt,
    Sha512,
    Sha256,
    Md5,
    RsaPublicDecrypt,
    FreeCryptoBuffer,
    Count,
};

struct RecordedRequest {
    std::string method;
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::uint32_t flags = 0;

    /// The value of the first header of this exact name; "(none)" without one.
    [[nodiscard]] std::string Header(const std::string& name) const;
};

struct ScriptedAnswer {
    std::uint32_t result = 0;  // what HttpRequest returns
    std::uint32_t status = 200;
    std::string body;
    std::string headers = "HTTP/1.1 200 OK\r\n\r\n";
    bool nullBlocks = false;  // success without blocks
};

struct ReportedError {
    std::uint32_t code = 0;
    std::string message;
    std::string source;
    std::uint32_t line = 0;
};

class ScriptedPlatform {
public:
    ScriptedPlatform();
    ~ScriptedPlatform();
    ScriptedPlatform(const ScriptedPlatform&) = delete;
    ScriptedPlatform& operator=(const ScriptedPlatform&) = delete;

    /// The filled table. Change `table` and call Install() to take entries out.
    quillmarkclient_core::PlatformTable table;
    void Install();

    // --- the service ---
    void AnswerWith(std::uint32_t status, std::string body);
    void AnswerWith(ScriptedAnswer answer);
    /// The next exchange fails in the transport with this code; blocks are handed out all the same.
    void FailExchange(std::uint32_t result);
    /// Answers when the queue is empty; without it such a request fails the test and the exchange.
    std::function<ScriptedAnswer(const RecordedRequest&)> responder;
    std::vector<RecordedRequest> requests;
    [[nodiscard]] std::size_t UnusedAnswers() const { return answers_.size(); }
    /// "METHOD path" of every request so far, the part of the URL behind `baseUrl`.
    [[nodiscard]] std::vector<std::string> RequestLines(const std::string& baseUrl) const;

    // --- files, clock, machine ---
    std::map<std::string, std::string> files;  // by path
    std::uint64_t nowSeconds = 1'700'000'000;
    std::vector<std::uint32_t> sleepsMs;
    std::vector<std::string> machineIds = {"MAC-AA-BB-CC-DD-EE-FF", "os-serial"};

    // --- failures ---
    /// The `nth` call (1 is the next) of `operation` from now on answers `code`; Alloc answers null. A code
    /// of 0 takes the order back.
    void FailCall(Operation operation, std::uint32_t code, std::uint32_t nth = 1);
    /// Called before each operation, outside any lock; may throw.
    std::function<void(Operation)> before;
    [[nodiscard]] std::uint32_t CallCount(Operation operation) const;

    // --- the log ---
    std::vector<std::string> traceLines;
    std::vector<ReportedError> errors;
    /// Trace lines ("T text") and error reports ("E code source") in the order in which they came.
    std::vector<std::string> logOrder;

    /// Fails the test for each kind of block that is still out.
    void ExpectNoBlocks() const;
    [[nodiscard]] long BlocksOut() const;

private:
    friend struct ScriptedOperations;

    // Counts the call; true when it has to fail, with the code.
    bool Enter(Operation operation, std::uint32_t* code);
    void* NewBlock(Operation partner, std::size_t size);
    void ReturnBlock(Operation partner, void* block);

    mutable std::mutex mutex_;
    std::deque<ScriptedAnswer> answers_;
    std::map<void*, Operation> blocks_;
    struct Order {
        std::uint32_t countdown = 0;
        std::uint32_t code = 0;
    };
    std::map<Operation, Order> orders_;
    std::map<Operation, std::uint32_t> calls_;
};

}  // namespace test
