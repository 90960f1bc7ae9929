#include "tools/sandbox/SocialRules.h"

#include <algorithm>

#include "tools/sandbox/Random.h"

namespace sandbox {
namespace {

constexpr std::uint32_t kOwnerRole = 2;
constexpr std::size_t kIdBytes = 12;

// Numbers of made accounts stand apart from those of the seed file by their first digit.
std::string madeNumber(std::size_t serial) {
    constexpr std::size_t firstNumber = 900000;
    return std::to_string(firstNumber + serial);
}

Customer customerOf(const SocialPerson& person) {
    Customer customer;
    customer.id = randomHex(kIdBytes);
    customer.firstName = person.firstName;
    customer.lastName = person.lastName;
    customer.email = person.email;
    customer.language = "en";
    customer.emailConfirmed = true;  // the provider vouches for it
    customer.role = "Customer";
    customer.gdprStatus = "Accepted";
    customer.uwgStatus = "Declined";
    return customer;
}

Account accountFor(const SocialPerson& person, AccountKind kind, const std::string& number) {
    Account account;
    account.name = "made for " + person.name;
    account.kind = kind;
    account.login = person.email;
    account.customer = customerOf(person);
    account.scopes = {{std::string(accountKindWord(kind)) + "-" + number, kOwnerRole}};
    if (kind == AccountKind::business) {
        account.businessContactNumber = number;
        return account;
    }
    account.ownContext = true;
    account.customerNumber = number;
    account.customerContactNumber = number;
    return account;
}

}  // namespace

SocialStanding socialStanding(ServiceState& state, const SocialPerson& person, AccountKind kind) {
    const AccountRecord* linked = state.social().accountOf(person);
    const AccountRecord* ofEmail = state.accounts().ofLogin(person.email);
    if (linked == nullptr)
        return ofEmail == nullptr ? SocialStanding::unknown : SocialStanding::emailTaken;
    if (linked->account->kind != kind || (ofEmail != nullptr && ofEmail != linked))
        return SocialStanding::linkedElsewhere;
    return SocialStanding::linked;
}

std::optional<Answer> refuseStanding(std::span<const StandingRefusal> rows, SocialStanding standing) {
    const auto found = std::find_if(rows.begin(), rows.end(), [standing](const StandingRefusal& row) {
        return row.standing == standing;
    });
    if (found == rows.end())
        return std::nullopt;
    return refusal(found->status, found->detail, found->errorCode);
}

AccountRecord& signUp(ServiceState& state, const SocialPerson& person, AccountKind kind,
                      const std::string& cause) {
    const std::string number = madeNumber(state.accounts().size());
    AccountRecord& record = state.accounts().add(accountFor(person, kind, number));
    state.social().link(person, record);
    SignUp& signUp = state.social().signUpOf(person);
    signUp.account = record.account;
    signUp.cause = cause;
    ++signUp.made;
    return record;
}

}  // namespace sandbox
