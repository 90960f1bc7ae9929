// Every request of the account service, in every form that it has, with plain values.
#pragma once

#include <vector>

#include "tests/core/registry/requests/RequestExpectation.h"

namespace test {

/// Which headers a request gets on its way out, besides the client's own.
enum class Sending : std::uint8_t {
    kBare,        // none, signed in or not
    kAuthorized,  // the bearer token, if there is one
    kKeyed,       // an idempotency key
};

struct CatalogueRow {
    RequestExpectation request;
    Sending sending;
};

[[nodiscard]] const std::vector<CatalogueRow>& Catalogue();

}  // namespace test
