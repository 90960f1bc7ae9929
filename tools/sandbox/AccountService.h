// The account service without its sockets: a request goes in, an answer comes out.
//
// Checks what every endpoint asks for (path, method, the client's header, bearer, Accept, body) against the
// table of routes and then runs the row's handler. One mutex guards all state and is held for one call, so
// any thread may ask. Nothing here fails by exception but exhausted memory and a broken OpenSSL.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tools/sandbox/Accounts.h"
#include "tools/sandbox/Http.h"
#include "tools/sandbox/ServiceState.h"

namespace sandbox {

// The machine's clock.
[[nodiscard]] std::int64_t systemClock();

class AccountService {
public:
    // `clock` is called under the mutex, from any thread.
    explicit AccountService(Seed seed, Clock clock = systemClock);
    ~AccountService();
    AccountService(const AccountService&) = delete;
    AccountService& operator=(const AccountService&) = delete;

    [[nodiscard]] Answer answer(const Request& request);

    // All access tokens expire now; identity secrets and challenges stay.
    void expireTokens();
    // For tokens issued from now on.
    void setTokenLifetime(std::int64_t seconds);
    // Back to the seed: no tokens, no locks, no identity records.
    void reset();

    // The code that the account's authenticator shows now, or the next one when that was used up. Nothing for
    // an unknown login, an account without second factor, or when both were used.
    [[nodiscard]] std::optional<std::string> totpCode(std::string_view login) const;

    // The seed's account of that name; throws SeedError if there is none.
    [[nodiscard]] const Account& account(std::string_view name) const;

    // PEM of the key that checks the tokens.
    [[nodiscard]] std::string tokenKeyPem() const;

private:
    struct Guarded;
    std::unique_ptr<Guarded> guarded_;
};

}  // namespace sandbox
