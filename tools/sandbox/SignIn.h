// What the sign-ins of all kinds of account share.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/sandbox/Routes.h"

namespace sandbox {

// Marks the answer as the account's, for the log.
[[nodiscard]] Answer owned(Answer answer, const AccountRecord& owner);

// An access token as it is at a sign-in, before a customer has chosen a context.
[[nodiscard]] Answer grantToken(ServiceState& state, AccountRecord& owner, std::vector<Scope> scopes);

// The rights of such a token: a customer has none before the choice.
[[nodiscard]] std::vector<Scope> firstScopes(const AccountRecord& owner);

// What every sign-in is answered with while the account is not active; nothing if it is.
[[nodiscard]] std::optional<Answer> refuseByState(const AccountRecord& owner);

// Where a kind of account signs in by password, and how.
struct PasswordRule {
    AccountKind kind;
    const char* loginMember;  // of the body
    int unknownLoginStatus;   // 401 where the service doesn't tell whether the login exists
};

// Checks body, login and password and counts wrong ones. `owner` is set when nothing is returned.
[[nodiscard]] std::optional<Answer> refusePassword(ServiceState& state, const Call& call,
                                                   const PasswordRule& rule, AccountRecord*& owner);

// By password, for the kinds that have no second factor.
[[nodiscard]] Answer signInPlainly(ServiceState& state, const Call& call, const PasswordRule& rule);

// By the secret of an identity record, for one kind alone: another's secret is unknown here.
[[nodiscard]] Answer signInByIdentity(ServiceState& state, const Call& call, AccountKind kind);

}  // namespace sandbox
