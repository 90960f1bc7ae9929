// A plain HTTP client for the sandbox's tests, so that they never lean on the library under test.
#pragma once

#include <string>

#include "tools/sandbox/Accounts.h"
#include "tools/sandbox/Http.h"

namespace test_support {

struct Reply {
    int status = 0;  // 0: no whole answer came
    std::string body;
    sandbox::NamedValues headers;

    // A member of the JSON body as text, empty if there is none; "a.b" looks into the object "a".
    [[nodiscard]] std::string member(const std::string& path) const;
};

// "x-vqm-custom" and, with a token, "Authorization".
[[nodiscard]] sandbox::NamedValues clientHeaders(const std::string& accessToken = {});

// One exchange on a fresh connection. A body goes out as application/json unless `headers` name another type.
[[nodiscard]] Reply exchange(const std::string& baseUrl, const std::string& method, const std::string& target,
                             const sandbox::NamedValues& headers, const std::string& body = {});

[[nodiscard]] std::string passwordBody(const sandbox::Account& account);

// The access token of a password sign-in; fails the test and gives "" if there is none.
[[nodiscard]] std::string signIn(const std::string& baseUrl, const sandbox::Account& account);

// The claims of an access token as JSON text.
[[nodiscard]] std::string claimsOf(const std::string& accessToken);

}  // namespace test_support
