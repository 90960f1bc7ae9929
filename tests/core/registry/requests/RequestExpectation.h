// One row of a request test: every byte of the request, and what its construction logs.
#pragma once

#include "tests/core/registry/RegistryFixture.h"

namespace test {

inline const Headers kStandardHeaders = {
    {"Accept", "application/json"},
    {"Cache-Control", "no-cache"},
    {"Content-Type", "application/json;charset=UTF-8"},
};

inline constexpr const char* kAsSent = nullptr;

struct RequestExpectation {
    const char* name;
    RequestPointer (*make)(const portable_stl::string& baseUrl);
    const char* method;
    const char* path;
    Headers headers;  // those of the constructor
    const char* body;
    Headers members;  // of the body, as a JSON library reads it; a value that is no text as compact JSON
    const char* logName;
    const char* loggedBody = kAsSent;  // as the log shows it
};

/// A request, made from the fields of its parameter record behind the base URL.
template <template <class> class RequestType, class Params, class... Values>
RequestPointer Make(const portable_stl::string& baseUrl, Values... values) {
    return portable_stl::make_unique<RequestType<SystemApi>>(Params{baseUrl, values...});
}

/// `own`, and `added` behind them.
inline Headers With(Headers own, const Headers& added) {
    own.insert(own.end(), added.begin(), added.end());
    return own;
}

/// What the log shows of the request.
[[nodiscard]] std::string Described(const RequestExpectation& row);

/// Checks the built request, its line in the log, and what goes out when it is sent.
void ExpectRequest(const RequestExpectation& row);

}  // namespace test
