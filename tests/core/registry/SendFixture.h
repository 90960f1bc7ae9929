// What the tests of the send loop share: a request on its way, and short names for the service's answers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/src/registry/requests/ContextRequests.h"
#include "tests/core/registry/RegistryFixture.h"

namespace test {

inline ScriptedAnswer Status(std::uint32_t status) {
    ScriptedAnswer answer;
    answer.status = status;
    answer.headers = "HTTP/1.1 " + std::to_string(status) + "\r\n\r\n";
    return answer;
}

/// The service is still at work on the request, and says for how long.
inline ScriptedAnswer Conflict(const std::string& retryAfter) {
    ScriptedAnswer answer;
    answer.status = 409;
    answer.headers = "HTTP/1.1 409 Conflict\r\nRetry-After: " + retryAfter + "\r\n\r\n";
    return answer;
}

/// A status with a header block of the test's own.
inline ScriptedAnswer StatusWith(std::uint32_t status, const std::string& headers) {
    ScriptedAnswer answer;
    answer.status = status;
    answer.headers = headers;
    return answer;
}

/// An answer that comes without body and header block.
inline ScriptedAnswer WithoutBlocks(std::uint32_t status) {
    ScriptedAnswer answer;
    answer.status = status;
    answer.nullBlocks = true;
    return answer;
}

/// The transport's own result. It leaves blocks behind, which nobody may take for an answer.
inline ScriptedAnswer Broken(std::uint32_t result) {
    ScriptedAnswer answer;
    answer.result = result;
    answer.status = 0;
    answer.body = "left over";
    answer.headers = "HTTP/1.1 409\r\nRetry-After: 99\r\n\r\n";
    return answer;
}

inline ScriptedAnswer TimedOut() {
    return Broken(0x81000014);
}

class SendTest : public RegistryTest {
protected:
    SendTest() {
        request->url = "https://s/x";
        platform.traceLines.clear();  // the request's own making
    }

    void Script(const std::vector<ScriptedAnswer>& answers) {
        for (const ScriptedAnswer& answer : answers)
            platform.AnswerWith(answer);
    }

    ResultCode Send() {
        return client.SendRequest(request, responseBody, responseHeaders, httpCode, context);
    }

    RequestPointer request = portable_stl::make_unique<registry::CustomerTrustTokenRequest<SystemApi>>(
        registry::CustomerTrustTokenParams{kBaseUrl, "org"});
    portable_stl::string responseBody;
    portable_stl::string responseHeaders;
    std::uint32_t httpCode = 77;
};

class KeyedSendTest : public SendTest {
protected:
    KeyedSendTest() { request->SetHeader("Idempotency-Key", "k-1"); }
};

}  // namespace test
