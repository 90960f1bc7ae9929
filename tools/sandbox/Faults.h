// Faults on demand: what goes wrong with the next requests of a path.
//
// A fault waits until a request fits it, serves as often as `count` says, and is gone. Those added first
// serve first; one request takes one fault. Any thread may call anything.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sandbox/Http.h"

namespace sandbox {

enum class FaultKind {
    delay,   // the right answer, late
    status,  // `status` and `body` in place of an answer; the service doesn't see the request
    cut,     // the connection ends before a byte of the answer; the service doesn't see the request
    half,    // the right answer, promised whole and ended after half of its body; one without a body is lost
    lost,    // the service does its work, and the connection ends before a byte of the answer
};

struct Fault {
    FaultKind kind = FaultKind::delay;
    std::string path;    // without query; "/api/*" fits all that begins so; empty fits everything
    std::string method;  // empty: any
    std::uint32_t count = 1;
    std::chrono::milliseconds delay{0};  // before the answer, with every kind
    int status = 500;
    std::string body;
    std::string contentType = "application/json";
    NamedValues headers;  // of a `status` fault, such as Retry-After
};

[[nodiscard]] std::optional<FaultKind> faultKind(std::string_view word);
[[nodiscard]] std::string_view faultWord(FaultKind kind);

class Faults {
public:
    void add(Fault fault);
    void clear();
    [[nodiscard]] std::size_t waiting() const;

    // The fault of this request, if any; counts it as served.
    [[nodiscard]] std::optional<Fault> take(std::string_view method, std::string_view path);

    // Waits on the server's behalf. False at once when endWaits was called, before or meanwhile.
    bool wait(std::chrono::milliseconds delay);
    void endWaits();
    void allowWaits();

private:
    mutable std::mutex mutex_;
    std::condition_variable ended_;
    bool waitsEnded_ = false;
    std::vector<Fault> faults_;
};

}  // namespace sandbox
