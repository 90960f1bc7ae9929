// The account service without its sockets: a request goes in, an answer comes out.
//
// Guards the state of the service: one mutex, held for one call, so any thread may ask. What an answer is
// made of stands in Dispatch and the families of endpoints. Nothing here fails by exception but exhausted
// memory and a broken OpenSSL.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sandbox/Accounts.h"
#include "tools/sandbox/Http.h"
#include "tools/sandbox/ServiceState.h"

namespace sandbox {

// The machine's clock.
[[nodiscard]] std::int64_t systemClock();

// A social person's way to an account.
struct SignUpReport {
    std::string person;
    std::string provider;
    std::string email;
    std::string kind;  // of the account; empty until one was made
    std::string cause;
    std::int64_t made = 0;      // accounts; 1 is right
    std::int64_t requests = 0;  // finalisations that named the person
    std::int64_t keys = 0;      // different Idempotency-Keys of these
};

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
    // All of that kind expire now.
    void expire(Perishable what);
    // For tokens issued from now on.
    void setTokenLifetime(std::int64_t seconds);
    // How sign-ups are finalised from now on; a reset goes back to the seed's rule.
    void setFinalization(const FinalizationRule& rule);
    // False if there is no such login. Access tokens that were handed out stay good.
    bool setAccountState(std::string_view login, AccountState wanted);
    // Back to the seed: no tokens, no locks, no identity records, no sign-ups, codes as new.
    void reset();

    // Everybody who finalised a sign-up or tried to, in the order of the first request.
    [[nodiscard]] std::vector<SignUpReport> signUps() const;
    // How tickets are filed from now on; a reset goes back to the seed's rule.
    void setTicketRule(const TicketRule& rule);
    // Those that were filed and those that are being filed, in the order of the first request.
    [[nodiscard]] std::vector<Ticket> tickets() const;
    // False if there is no feed of that name, its language included.
    bool setFeedState(std::string_view feed, FeedState state);
    // The last document as it came; nothing before the first.
    [[nodiscard]] std::optional<std::string> metadata() const;
    // What documents are answered with from now on, until a reset.
    void setMetadataAnswer(MetadataAnswer answer);

    // A further authorisation code of a social person; nothing for an unknown name.
    [[nodiscard]] std::optional<std::string> socialCode(std::string_view name);

    // The code that the account's authenticator shows now, or the next one when that was used up. Nothing for
    // an unknown login, an account without second factor, or when both were used.
    [[nodiscard]] std::optional<std::string> totpCode(std::string_view login) const;

    // The seed's account of that name; throws SeedError if there is none.
    [[nodiscard]] const Account& account(std::string_view name) const;
    // The same for its social people.
    [[nodiscard]] const SocialPerson& person(std::string_view name) const;

    // PEM of the key that checks the tokens.
    [[nodiscard]] std::string tokenKeyPem() const;

private:
    struct Guarded;
    std::unique_ptr<Guarded> guarded_;
};

}  // namespace sandbox
