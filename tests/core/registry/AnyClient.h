// Sessions of all three kinds behind their common class, for tests that make a fresh one for each row.
#pragma once

#include "core/src/registry/BusinessRegistryClient.h"
#include "core/src/registry/PrincipalAdminRegistryClient.h"
#include "tests/core/registry/RegistryFixture.h"

namespace test {

using ClientMaker = portable_stl::unique_ptr<AnyClient> (*)();

template <class Client>
portable_stl::unique_ptr<AnyClient> MakeClient() {
    portable_stl::unique_ptr<AnyClient> client =
        portable_stl::make_unique<Client>(kBaseUrl, "", registry::RetryPolicy{}, nullptr);
    client->token = quillmarkclient_core::Token("old.e30.sig", true);
    return client;
}

// Each makes a session with the token "old.e30.sig".
inline constexpr ClientMaker kCustomer = &MakeClient<registry::CustomerRegistryClient<SystemApi>>;
inline constexpr ClientMaker kBusiness = &MakeClient<registry::BusinessRegistryClient<SystemApi>>;
inline constexpr ClientMaker kAdministrator = &MakeClient<registry::PrincipalAdminRegistryClient<SystemApi>>;

}  // namespace test
