// A sandbox account service inside the test program: its own port, its own accounts, a clock that stands
// still.
//
//     test_support::SandboxFixture fixture(test_support::Scheme::https);
//     const sandbox::Account& anna = fixture.account("plain");
//     ... sign in at fixture.baseUrl(), trusting fixture.caFile() ...
//     fixture.advance(901);                        // the token has expired
//     fixture.faults().add({.kind = sandbox::FaultKind::cut});
//     EXPECT_EQ(fixture.exchanges().back().status, 401);
//
// The clock begins at the machine's time and moves only when told. The accounts are those of
// tools/sandbox/accounts.json, by their names: "plain", "second-factor", "organisation-only",
// "several-contexts", "blocked", "locked", "business", "business-blocked", "administrator". Its social people
// are "linked", "linked-several", "linked-blocked", "linked-elsewhere", "password-owner", "newcomer",
// "newcomer-too", "business-linked", "business-blocked", "business-newcomer". Its update feeds are
// "harbour_home_en" and "harbour_home_de", newest build 8.4.2, and "lantern_pro_en", newest build 3.1.0; the
// first ticket of a run is T-500001. Link quillmark_sandbox.
// Everything may be used from any thread, the clock too.
#pragma once

#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/TransportFacts.h"
#include "tools/sandbox/AccountService.h"
#include "tools/sandbox/SandboxServer.h"

namespace test_support {

enum class Scheme { http, https };

class SandboxFixture {
public:
    // With an authority of the test's own, which must outlive it, or one that is made for it.
    explicit SandboxFixture(Scheme scheme = Scheme::http,
                            sandbox::CertificateFlaw flaw = sandbox::CertificateFlaw::none,
                            const sandbox::TestAuthority* authority = nullptr)
        : SandboxFixture(sandbox::readSeedFile(sandbox::defaultSeedFile()), scheme, flaw, authority) {}

    // With other accounts or rules than those of the seed file.
    explicit SandboxFixture(sandbox::Seed seed, Scheme scheme = Scheme::http,
                            sandbox::CertificateFlaw flaw = sandbox::CertificateFlaw::none,
                            const sandbox::TestAuthority* authority = nullptr)
        : now_(sandbox::systemClock()),
          service_(std::move(seed), [this] { return now_.load(); }),
          server_(service_, {scheme == Scheme::https, 0, flaw, authority}),
          scheme_(scheme) {
        server_.start();
        if (scheme == Scheme::https)
            test::WriteWhole(caFile(), server_.authorityPem());
    }

    ~SandboxFixture() { server_.stop(); }

    SandboxFixture(const SandboxFixture&) = delete;
    SandboxFixture& operator=(const SandboxFixture&) = delete;

    // Without a slash at the end. Over HTTPS with a host that this system's transport finds in a certificate.
    [[nodiscard]] std::string baseUrl() const {
        if (scheme_ == Scheme::http)
            return server_.baseUrl();
        return std::string("https://") + test::CertifiedLoopback() + ":" + std::to_string(server_.port());
    }
    // PEM of the authority to trust, a file that exists with Scheme::https alone.
    [[nodiscard]] std::string caFile() const { return folder_.PathOf("ca.pem"); }

    [[nodiscard]] sandbox::AccountService& service() { return service_; }
    [[nodiscard]] sandbox::Faults& faults() { return server_.faults(); }
    [[nodiscard]] const sandbox::Account& account(std::string_view name) const {
        return service_.account(name);
    }

    [[nodiscard]] const sandbox::SocialPerson& person(std::string_view name) const {
        return service_.person(name);
    }

    // A fresh authorisation code of a social person, beside the one that the seed gave him.
    [[nodiscard]] std::string socialCode(std::string_view name) {
        return service_.socialCode(person(name).name).value();
    }

    // How the sign-up of a social person went so far; all zero if he never tried.
    [[nodiscard]] sandbox::SignUpReport signUpOf(std::string_view name) const {
        for (const auto& report : service_.signUps()) {
            if (report.person == name)
                return report;
        }
        return {};
    }

    // The feed by its whole name; throws if there is none.
    void setFeedState(std::string_view feed, sandbox::FeedState state) {
        if (!service_.setFeedState(feed, state))
            throw std::runtime_error("there is no feed " + std::string(feed));
    }

    // A code that the account's next sign-in accepts. Two sign-ins at one time have codes; a third needs
    // advance(30).
    [[nodiscard]] std::string totpCode(std::string_view name) const {
        auto code = service_.totpCode(account(name).login);
        if (!code)
            throw std::runtime_error("the account has no unused code now: advance the clock");
        return *code;
    }

    // What was asked and answered so far, in the order of the answers.
    [[nodiscard]] std::vector<sandbox::ExchangeRecord> exchanges() { return server_.log().records(); }
    void forgetExchanges() { server_.log().clear(); }

    [[nodiscard]] std::int64_t now() const { return now_; }
    void setTime(std::int64_t unixSeconds) { now_ = unixSeconds; }
    void advance(std::int64_t seconds) { now_ += seconds; }

    // Stops serving: connections are refused from here on.
    void stop() { server_.stop(); }

private:
    std::atomic<std::int64_t> now_;
    sandbox::AccountService service_;
    sandbox::SandboxServer server_;
    Scheme scheme_;
    test::TemporaryFolder folder_;
};

}  // namespace test_support
