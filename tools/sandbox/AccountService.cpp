#include "tools/sandbox/AccountService.h"

#include <algorithm>
#include <chrono>
#include <mutex>

#include "tools/sandbox/Dispatch.h"
#include "tools/sandbox/Totp.h"

namespace sandbox {
namespace {

SignUpReport reportOf(const SignUp& signUp) {
    SignUpReport report;
    report.person = signUp.person->name;
    report.provider = signUp.person->provider;
    report.email = signUp.person->email;
    report.cause = signUp.cause;
    report.made = signUp.made;
    report.requests = signUp.requests;
    report.keys = static_cast<std::int64_t>(signUp.keys.size());
    if (signUp.account != nullptr)
        report.kind = accountKindWord(signUp.account->kind);
    return report;
}

}  // namespace

struct AccountService::Guarded {
    Guarded(Seed seed, Clock clock) : state(std::move(seed), std::move(clock)) {}

    std::mutex mutex;
    ServiceState state;
};

std::int64_t systemClock() {
    using std::chrono::seconds;
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<seconds>(sinceEpoch).count();
}

AccountService::AccountService(Seed seed, Clock clock)
    : guarded_(std::make_unique<Guarded>(std::move(seed), std::move(clock))) {}

AccountService::~AccountService() = default;

Answer AccountService::answer(const Request& request) {
    const std::lock_guard lock(guarded_->mutex);
    return dispatch(guarded_->state, request);
}

void AccountService::expireTokens() {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.expire(Perishable::tokens);
}

void AccountService::expire(Perishable what) {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.expire(what);
}

void AccountService::setTokenLifetime(std::int64_t seconds) {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.setTokenLifetime(seconds);
}

void AccountService::reset() {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.reset();
}

std::optional<std::string> AccountService::totpCode(std::string_view login) const {
    const std::lock_guard lock(guarded_->mutex);
    const AccountRecord* record = guarded_->state.accounts().ofLogin(login);
    if (record == nullptr || record->account->totpSecret.empty())
        return std::nullopt;
    const std::int64_t current = totpStep(guarded_->state.now());
    const std::int64_t step = std::max(current, record->lastTotpStep + 1);
    if (step > current + 1)
        return std::nullopt;
    return sandbox::totpCode(decodeBase32(record->account->totpSecret).value_or(""), step);
}

void AccountService::setFinalization(const FinalizationRule& rule) {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.setFinalization(rule);
}

std::vector<SignUpReport> AccountService::signUps() const {
    const std::lock_guard lock(guarded_->mutex);
    std::vector<SignUpReport> reports;
    for (const SignUp& signUp : guarded_->state.social().signUps())
        reports.push_back(reportOf(signUp));
    return reports;
}

void AccountService::setTicketRule(const TicketRule& rule) {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.setTicketRule(rule);
}

std::vector<Ticket> AccountService::tickets() const {
    const std::lock_guard lock(guarded_->mutex);
    const auto& tickets = guarded_->state.tickets().all();
    return {tickets.begin(), tickets.end()};
}

bool AccountService::setFeedState(std::string_view feed, FeedState state) {
    const std::lock_guard lock(guarded_->mutex);
    return guarded_->state.feeds().setState(feed, state);
}

std::optional<std::string> AccountService::metadata() const {
    const std::lock_guard lock(guarded_->mutex);
    return guarded_->state.metadata().document;
}

void AccountService::setMetadataAnswer(MetadataAnswer answer) {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.metadata().answer = answer;
}

std::optional<std::string> AccountService::socialCode(std::string_view name) {
    const std::lock_guard lock(guarded_->mutex);
    ServiceState& state = guarded_->state;
    for (const SocialPerson& person : state.seed().people) {
        if (person.name == name)
            return state.social().issueCode(person, state.codeExpiry());
    }
    return std::nullopt;
}

bool AccountService::setAccountState(std::string_view login, AccountState wanted) {
    const std::lock_guard lock(guarded_->mutex);
    AccountRecord* record = guarded_->state.accounts().ofLogin(login);
    if (record != nullptr)
        record->state = wanted;
    return record != nullptr;
}

const Account& AccountService::account(std::string_view name) const {
    return accountNamed(guarded_->state.seed(), name);
}

const SocialPerson& AccountService::person(std::string_view name) const {
    return personNamed(guarded_->state.seed(), name);
}

std::string AccountService::tokenKeyPem() const {
    return guarded_->state.signer().publicKeyPem();
}

}  // namespace sandbox
