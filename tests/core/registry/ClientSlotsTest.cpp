// The order of the sessions' virtual operations, which hosts of the classes rely on.
#include "core/src/registry/BusinessRegistryClient.h"
#include "core/src/registry/PrincipalAdminRegistryClient.h"
#include "tests/core/registry/RegistryFixture.h"
#include "tests/support/VirtualSlot.h"

namespace {

using portable_stl::string;
using registry::ServiceErrorInfo;
using test::SystemApi;
using Base = registry::RegistryClient<SystemApi>;

template <class Class>
using ByToken = ResultCode (Class::*)(const string&, const string&, ServiceErrorInfo*, void*);
template <class Class>
using ByTokenAndCause = ResultCode (Class::*)(const string&, const string&, const string&, ServiceErrorInfo*,
                                              void*);
template <class Class>
using ByCode = ResultCode (Class::*)(const string&, std::uint32_t, ServiceErrorInfo*, void*);
template <class Class>
using ByCodeAndCause = ResultCode (Class::*)(const string&, std::uint32_t, const string&, ServiceErrorInfo*,
                                             void*);

// The destructor takes two slots in this ABI, 0 and 1.
TEST(ClientSlots, StandInTheirOrder) {
    static_assert(std::has_virtual_destructor_v<Base>);
    EXPECT_EQ(test::SlotOf(&Base::Authorize), 2u);
    EXPECT_EQ(test::SlotOf(&Base::AuthorizeSecondFactor), 3u);
    EXPECT_EQ(test::SlotOf(&Base::SelectContext), 4u);
    EXPECT_EQ(test::SlotOf(&Base::GetContexts), 5u);
    EXPECT_EQ(test::SlotOf(ByTokenAndCause<Base>{&Base::AuthorizeSocialToken}), 6u);
    EXPECT_EQ(test::SlotOf(ByToken<Base>{&Base::AuthorizeSocialToken}), 7u);
    EXPECT_EQ(test::SlotOf(ByCodeAndCause<Base>{&Base::AuthorizeSocialCode}), 8u);
    EXPECT_EQ(test::SlotOf(ByCode<Base>{&Base::AuthorizeSocialCode}), 9u);
    EXPECT_EQ(test::SlotOf(&Base::GetAuthState), 10u);
    EXPECT_EQ(test::SlotOf(&Base::AcquireContextToken), 11u);
}

template <class Client>
struct ClientSlotsOf : ::testing::Test {};
using Clients =
    ::testing::Types<registry::CustomerRegistryClient<SystemApi>, registry::BusinessRegistryClient<SystemApi>,
                     registry::PrincipalAdminRegistryClient<SystemApi>>;
TYPED_TEST_SUITE(ClientSlotsOf, Clients, );

TYPED_TEST(ClientSlotsOf, AClassOverridesAndDoesNotHide) {
    using C = TypeParam;
    EXPECT_EQ(test::SlotOf(&C::Authorize), 2u);
    EXPECT_EQ(test::SlotOf(&C::AuthorizeSecondFactor), 3u);
    EXPECT_EQ(test::SlotOf(&C::SelectContext), 4u);
    EXPECT_EQ(test::SlotOf(&C::GetContexts), 5u);
    EXPECT_EQ(test::SlotOf(ByTokenAndCause<C>{&C::AuthorizeSocialToken}), 6u);
    EXPECT_EQ(test::SlotOf(ByToken<C>{&C::AuthorizeSocialToken}), 7u);
    EXPECT_EQ(test::SlotOf(ByCodeAndCause<C>{&C::AuthorizeSocialCode}), 8u);
    EXPECT_EQ(test::SlotOf(ByCode<C>{&C::AuthorizeSocialCode}), 9u);
    EXPECT_EQ(test::SlotOf(&C::GetAuthState), 10u);
    EXPECT_EQ(test::SlotOf(&C::AcquireContextToken), 11u);
}

}  // namespace
