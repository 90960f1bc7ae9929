// The accounts of the sandbox's seed file, and some whose contexts leave nothing to ask:
//
//   own-and-person      own context and the trust of a person: a choice for the core, one context to the host
//   two-persons         no own context, the trusts of two persons: a choice without anything to choose from
//   no-context          no context of any kind
//   factor-then-choice  a second factor, then several contexts
//   factor-then-one     a second factor, then as own-and-person
//   factor-then-none    a second factor, then as two-persons
//
// Each has a login of its name at "example.test", the password of "plain", and a social person of its name
// that is linked to it.
#pragma once

#include "tools/sandbox/Accounts.h"

namespace test_support {

[[nodiscard]] sandbox::Seed contextSeed();

}  // namespace test_support
