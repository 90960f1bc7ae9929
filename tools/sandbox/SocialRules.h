// How a social person stands to the accounts of a kind, and how he gets one of his own.
#pragma once

#include <string>

#include "tools/sandbox/Routes.h"

namespace sandbox {

enum class SocialStanding {
    linked,           // to an account of the kind
    linkedElsewhere,  // to one of another kind, or to one while his e-mail address is another's login
    emailTaken,       // linked to none, and his e-mail address is the login of an account
    unknown,          // a newcomer
};

[[nodiscard]] SocialStanding socialStanding(ServiceState& state, const SocialPerson& person,
                                            AccountKind kind);

// What a standing is answered with where it is refused.
struct StandingRefusal {
    SocialStanding standing;
    int status;
    const char* errorCode;
    const char* detail;
};

// Nothing if the rows have none for the standing.
[[nodiscard]] std::optional<Answer> refuseStanding(std::span<const StandingRefusal> rows,
                                                   SocialStanding standing);

// Makes the account of a newcomer and links him to it.
AccountRecord& signUp(ServiceState& state, const SocialPerson& person, AccountKind kind,
                      const std::string& cause);

}  // namespace sandbox
