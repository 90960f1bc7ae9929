// Every flow with a fault at each of its requests in turn: the code, where the road ends, that nobody is half
// signed in, and that the next try succeeds.
#include <optional>

#include "tests/core/registry/RoadFixture.h"
#include "tests/support/TransportFacts.h"

namespace {

using sandbox::FaultKind;
using test::kAdministratorPath;
using test::kBusinessCodePath;
using test::kBusinessIdentityPath;
using test::kBusinessPasswordPath;
using test::kCodeSignInPath;
using test::kDynamicContextPath;
using test::kFinalizeCodePath;
using test::kFinalizeTokenPath;
using test::kGlowpassPath;
using test::kIdentitiesPath;
using test::kIdentitySignInPath;
using test::kIdentityTokenPath;
using test::kNewIdentityPath;
using test::kNobody;
using test::kOwnContextPath;
using test::kPasswordPath;
using test::kProvidersPath;
using test::kSecondFactorPath;
using test::kTrustPath;
using test::kTrustsPath;
using test::kUserPath;
using test::Lines;
using test::Text;

constexpr struct {
    const char* name;
    FaultKind kind;
    int status;
} kInterruptions[] = {
    {"cut", FaultKind::cut, 0},      {"half", FaultKind::half, 0},    {"500", FaultKind::status, 500},
    {"503", FaultKind::status, 503}, {"429", FaultKind::status, 429},
};
constexpr std::size_t kInterruptionCount = std::size(kInterruptions);

// Half an answer that the transport takes for a whole one is no JSON: no fault of the network.
bool IsTakenForWhole(std::size_t interruption) {
    return kInterruptions[interruption].kind == FaultKind::half && !test::NoticesCutAnswers();
}

// Result codes in the order of the interruptions; behind them that of a half which is taken for a whole.
using Codes = std::uint32_t[kInterruptionCount + 1];
constexpr Codes kUsual = {0x80000006, 0x80000006, 0x82000003, 0x8000000C, 0x8200000D, 0x82000004};
// The request about the user knows no 500.
constexpr Codes kOfUser = {0x80000006, 0x80000006, 0x82000004, 0x8000000C, 0x8200000D, 0x82000004};
// Whatever keeps the own context away: there is none, or one of several trusts has to do, or the only one.
constexpr Codes kNoContext = {0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C};
constexpr Codes kChoice = {0x8200000B, 0x8200000B, 0x8200000B, 0x8200000B, 0x8200000B, 0x8200000B};
constexpr Codes kGoesOn = {0, 0, 0, 0, 0, 0};

std::uint32_t CodeAt(const Codes& codes, std::size_t interruption) {
    return codes[IsTakenForWhole(interruption) ? kInterruptionCount : interruption];
}

// Where the road goes after a fault.
struct Outcome {
    std::uint32_t code;
    const char* session = kNobody;
    std::size_t stepsBehind = 0;  // requests that follow all the same
};

struct Step {
    const char* request;
    const Codes& codes = kUsual;
    const char* session = kNobody;  // after a fault here
    std::size_t stepsBehind = 0;
    // After half an answer that is taken for a whole one, if that is not to be JSON.
    std::optional<Outcome> half = {};

    [[nodiscard]] Outcome OutcomeOf(std::size_t interruption) const {
        if (half && IsTakenForWhole(interruption))
            return *half;
        return {CodeAt(codes, interruption), session, stepsBehind};
    }
};

class Traveller;

struct Road {
    const char* name;
    std::vector<Step> steps;
    ResultCode (*travel)(Traveller& traveller);
    const char* session;         // at the end of the whole road
    std::uint32_t expected = 0;  // there
    std::int64_t accountsMade = 0;

    void (*prepare)(Traveller& traveller) = nullptr;            // null: a customer, not signed in
    ResultCode (*travelAgain)(Traveller& traveller) = nullptr;  // null: as the first time

    friend void PrintTo(const Road& road, std::ostream* out) { *out << road.name; }
};

// A session of any kind, and what it remembers between two tries.
class Traveller : public test::RoadFixture {
public:
    using RoadFixture::context;
    using RoadFixture::errorInfo;
    using RoadFixture::service;

    template <class Client>
    void Become() {
        client = Started<Client>();
    }
    ResultCode SignIn(const char* account) {
        const sandbox::Account& who = service.account(account);
        return client->Authorize(Text(who.login), Text(who.password), &errorInfo, context);
    }
    ResultCode ByToken(const char* person) {
        const sandbox::SocialPerson& who = service.person(person);
        return client->AuthorizeSocialToken(Text(who.provider), Text(who.accessToken), &errorInfo, context);
    }
    ResultCode ByCode(const std::string& code, std::uint32_t flow) {
        return client->AuthorizeSocialCode(Text(code), flow, &errorInfo, context);
    }
    ResultCode ByFreshCode(const char* person, std::uint32_t flow) {
        return ByCode(service.socialCode(person), flow);
    }
    void BeginSecondFactor() {
        service.advance(30);  // the authenticator's next code
        ASSERT_EQ(SignIn("second-factor"), ResultCode::kSecondFactorRequired);
        ASSERT_EQ(errorInfo.errorArgs.size(), 1u);
        challenge = errorInfo.errorArgs[0].value;
    }
    ResultCode Confirm() {
        return client->AuthorizeSecondFactor(challenge, Text(service.totpCode("second-factor")), &errorInfo,
                                             context);
    }
    void SignInForLong(const char* account) {
        ASSERT_EQ(SignIn(account), ResultCode::kSuccess);
        ASSERT_EQ(client->ObtainIdentitySecret("", "", &errorInfo, context), ResultCode::kSuccess);
    }
    // A session with a secret, whose token the service takes no more.
    void LetSessionExpire(const char* account) {
        ASSERT_NO_FATAL_FAILURE(SignInForLong(account));
        service.service().expireTokens();
    }
    void BeginChoice() { ASSERT_EQ(SignIn("several-contexts"), ResultCode::kTooManyContexts); }
    ResultCode AskForUser() {
        registry::CustomerInfo info;
        return client->GetCustomerInfo(info, &errorInfo, context);
    }

    std::unique_ptr<test::AnyClient> client;
    portable_stl::string challenge;
};

void BecomeBusiness(Traveller& who) {
    who.Become<test::BusinessClient>();
}

std::vector<Road> SignInRoads() {
    return {
        {.name = "Password",
         .steps = {{kPasswordPath}, {kTrustsPath}, {kOwnContextPath, kNoContext}},
         .travel = [](Traveller& who) { return who.SignIn("plain"); },
         .session = "signed in, 0"},
        {.name = "PasswordOfManyContexts",
         .steps = {{kPasswordPath}, {kTrustsPath}, {kOwnContextPath, kChoice, "signed in, 2"}},
         .travel = [](Traveller& who) { return who.SignIn("several-contexts"); },
         .session = "signed in, 2",
         .expected = 0x8200000B},
        {.name = "PasswordOfAnOrganisation",
         .steps = {{kPasswordPath},
                   {kTrustsPath},
                   {kOwnContextPath, kGoesOn, "signed in, 1 org-marlow", 1},
                   {kTrustPath}},
         .travel = [](Traveller& who) { return who.SignIn("organisation-only"); },
         .session = "signed in, 1 org-marlow"},
        {.name = "SecondFactor",
         .steps = {{kSecondFactorPath}, {kTrustsPath}, {kOwnContextPath, kNoContext}},
         .travel = [](Traveller& who) { return who.Confirm(); },
         .session = "signed in, 0",
         .prepare = [](Traveller& who) { who.BeginSecondFactor(); },
         .travelAgain =
             [](Traveller& who) {
                 who.BeginSecondFactor();
                 return who.Confirm();
             }},
        {.name = "BusinessPassword",
         .steps = {{kBusinessPasswordPath}},
         .travel = [](Traveller& who) { return who.SignIn("business"); },
         .session = "signed in, 2",
         .prepare = &BecomeBusiness},
        {.name = "AdministratorPassword",
         .steps = {{kAdministratorPath}},
         .travel = [](Traveller& who) { return who.SignIn("administrator"); },
         .session = "signed in, 2",
         .prepare = [](Traveller& who) { who.Become<test::AdministratorClient>(); }},
    };
}

// Half an answer without a body is none at all.
constexpr Outcome kNoAnswer = {0x80000006};
// The status alone says less than the answer.
constexpr Outcome kNotFound = {0x8200000E};

// A code that the first try has used up opens nothing more: the account is there, and takes another.
ResultCode SignUpByCodeAgain(Traveller& who) {
    const auto code = who.ByCode("gp-code-newcomer-6", 1);
    return code == ResultCode::kAuthorizationDenied ? who.ByFreshCode("newcomer", 0) : code;
}

std::vector<Road> SocialRoads() {
    return {
        {.name = "SocialToken",
         .steps = {{kGlowpassPath}, {kTrustsPath}, {kOwnContextPath, kNoContext}},
         .travel = [](Traveller& who) { return who.ByToken("linked"); },
         .session = "signed in, 0"},
        {.name = "SignUpByToken",
         .steps = {{.request = kGlowpassPath, .half = kNotFound},
                   {.request = kFinalizeTokenPath, .half = kNoAnswer},
                   {kGlowpassPath},
                   {kTrustsPath},
                   {kOwnContextPath, kNoContext}},
         .travel = [](Traveller& who) { return who.ByToken("newcomer"); },
         .session = "signed in, 0",
         .accountsMade = 1},
        {.name = "SocialCode",
         .steps = {{kCodeSignInPath}, {kTrustsPath}, {kOwnContextPath, kNoContext}},
         .travel = [](Traveller& who) { return who.ByFreshCode("linked", 0); },
         .session = "signed in, 0"},
        {.name = "SignUpByCode",
         .steps = {{.request = kFinalizeCodePath, .half = kNoAnswer},
                   {kCodeSignInPath},
                   {kTrustsPath},
                   {kOwnContextPath, kNoContext}},
         .travel = [](Traveller& who) { return who.ByCode("gp-code-newcomer-6", 1); },
         .session = "signed in, 0",
         .accountsMade = 1,
         .travelAgain = &SignUpByCodeAgain},
        {.name = "BusinessCode",
         .steps = {{kBusinessCodePath}},
         .travel = [](Traveller& who) { return who.ByFreshCode("business-linked", 0); },
         .session = "signed in, 2",
         .prepare = &BecomeBusiness},
        {.name = "BusinessSignUpByCode",
         .steps = {{.request = kDynamicContextPath, .half = kNoAnswer}, {kBusinessCodePath}},
         .travel = [](Traveller& who) { return who.ByFreshCode("business-newcomer", 1); },
         .session = "signed in, 2",
         .accountsMade = 1,
         .prepare = &BecomeBusiness},
    };
}

constexpr char kOwn[] = "signed in, 0";
constexpr char kPending[] = "signed in, 2";
constexpr char kLong[] = "signed in, with a secret, 0";
constexpr char kLongBusiness[] = "signed in, with a secret, 2";

ResultCode GetContexts(Traveller& who) {
    portable_stl::vector<registry::ContextEntry> contexts;
    const auto code = who.client->GetContexts(contexts, nullptr, who.context);
    EXPECT_EQ(contexts.size(), IsSuccess(code) ? 3u : 0u);
    return code;
}

ResultCode GetSocialProviders(Traveller& who) {
    portable_stl::string text;
    const auto code = who.client->GetSocialProviders(text, ',', nullptr, who.context);
    EXPECT_EQ(text, IsSuccess(code) ? "glowpass,maple-id," : "");
    return code;
}

// A fault leaves these sessions what they were.
std::vector<Road> SignedInRoads() {
    return {
        {.name = "SelectContext",
         .steps = {{kTrustPath, kUsual, kPending}},
         .travel =
             [](Traveller& who) { return who.client->SelectContext(1, "org-tilden", nullptr, who.context); },
         .session = "signed in, 1 org-tilden",
         .prepare = [](Traveller& who) { who.BeginChoice(); }},
        {.name = "GetContexts",
         .steps = {{kTrustsPath, kUsual, kPending}, {kUserPath, kOfUser, kPending}},
         .travel = &GetContexts,
         .session = kPending,
         .prepare = [](Traveller& who) { who.BeginChoice(); }},
        {.name = "ObtainIdentitySecret",
         .steps = {{kIdentitiesPath, kUsual, kOwn},
                   {kNewIdentityPath, kUsual, kOwn},
                   {kIdentityTokenPath, kUsual, kOwn, 0,
                    Outcome{0, kLong}}},  // half a secret is a text as well
         .travel =
             [](Traveller& who) { return who.client->ObtainIdentitySecret("", "", nullptr, who.context); },
         .session = kLong,
         .prepare = [](Traveller& who) { ASSERT_EQ(who.SignIn("plain"), ResultCode::kSuccess); }},
        {.name = "Renewal",
         .steps = {{kUserPath, kOfUser, kLong, 0, Outcome{0, kLong, 3}},  // a 401 needs no body
                   {kIdentitySignInPath, kUsual, kLong},
                   {kOwnContextPath, kUsual, kLong},
                   {kUserPath, kOfUser, kLong}},
         .travel = [](Traveller& who) { return who.AskForUser(); },
         .session = kLong,
         .prepare = [](Traveller& who) { who.LetSessionExpire("plain"); }},
        {.name = "RenewalOfABusiness",
         .steps = {{kUserPath, kOfUser, kLongBusiness, 0, Outcome{0, kLongBusiness, 2}},
                   {kBusinessIdentityPath, kUsual, kLongBusiness},
                   {kUserPath, kOfUser, kLongBusiness}},
         .travel = [](Traveller& who) { return who.AskForUser(); },
         .session = kLongBusiness,
         .prepare =
             [](Traveller& who) {
                 BecomeBusiness(who);
                 who.LetSessionExpire("business");
             }},
        {.name = "SocialProviders",
         .steps = {{kProvidersPath}},
         .travel = &GetSocialProviders,
         .session = kNobody},
    };
}

class InterruptedRoad : public Traveller, public testing::WithParamInterface<Road> {
protected:
    const Road& road = GetParam();

    // The service and the host as they are ahead of the road.
    void BeginAnew() {
        service.service().reset();
        std::filesystem::remove(folder.PathOf("LIC2"));
        Become<test::CustomerClient>();
        if (road.prepare != nullptr)
            road.prepare(*this);
        service.forgetExchanges();
    }

    // Nothing is wrong with the first `count` requests, and everything with the one behind them.
    void InterruptBehind(std::size_t count, std::size_t interruption) {
        sandbox::Fault none;
        none.count = static_cast<std::uint32_t>(count);
        service.faults().add(none);
        sandbox::Fault fault;
        fault.kind = kInterruptions[interruption].kind;
        fault.status = kInterruptions[interruption].status;
        service.faults().add(fault);
    }

    // The requests of the first `count` steps.
    [[nodiscard]] Lines Requests(std::size_t count) const {
        Lines requests;
        for (std::size_t i = 0; i < count; ++i)
            requests.emplace_back(road.steps[i].request);
        return requests;
    }
    Lines SeenRequests() {
        Lines requests;
        for (const auto& exchange : Seen())
            requests.push_back(exchange.request);
        return requests;
    }

    void ExpectWhole(ResultCode code) {
        EXPECT_EQ(code, test::Code(road.expected));
        EXPECT_EQ(test::SessionOf(*client), road.session);
        std::int64_t made = 0;
        for (const auto& report : service.service().signUps())
            made += report.made;
        EXPECT_EQ(made, road.accountsMade);
    }
};

TEST_P(InterruptedRoad, IsWholeWithoutAFault) {
    BeginAnew();
    ExpectWhole(road.travel(*this));
    EXPECT_EQ(SeenRequests(), Requests(road.steps.size()));
}

TEST_P(InterruptedRoad, EndsInItsCodeAndTheNextTrySucceeds) {
    for (std::size_t interruption = 0; interruption < kInterruptionCount; ++interruption) {
        for (std::size_t i = 0; i < road.steps.size(); ++i) {
            const Step& step = road.steps[i];
            SCOPED_TRACE(std::string(kInterruptions[interruption].name) + " at " + std::to_string(i) + ", " +
                         step.request);
            BeginAnew();
            InterruptBehind(i, interruption);
            const Outcome outcome = step.OutcomeOf(interruption);
            EXPECT_EQ(road.travel(*this), test::Code(outcome.code));
            EXPECT_EQ(service.faults().waiting(), 0u);
            EXPECT_EQ(SeenRequests(), Requests(i + 1 + outcome.stepsBehind));
            EXPECT_EQ(test::SessionOf(*client), outcome.session);

            const auto travelAgain = road.travelAgain != nullptr ? road.travelAgain : road.travel;
            ExpectWhole(travelAgain(*this));
        }
    }
}

constexpr auto kRoadName = [](const testing::TestParamInfo<Road>& info) { return info.param.name; };
INSTANTIATE_TEST_SUITE_P(SignIn, InterruptedRoad, testing::ValuesIn(SignInRoads()), kRoadName);
INSTANTIATE_TEST_SUITE_P(Social, InterruptedRoad, testing::ValuesIn(SocialRoads()), kRoadName);
INSTANTIATE_TEST_SUITE_P(SignedIn, InterruptedRoad, testing::ValuesIn(SignedInRoads()), kRoadName);

// A host that begins with the secret alone. A network that fails leaves it the secret for later; what the
// service refuses, and a context that can't be had, leave nothing.
class InterruptedRestore : public Traveller {};

TEST_F(InterruptedRestore, KeepsTheSecretWhenOnlyTheNetworkFailed) {
    static const struct {
        const char* request;
        const char* path;
        const char* sessions[kInterruptionCount];
    } rows[] = {
        {kIdentitySignInPath,
         "/api/customer/registry/v2/tokens/identity",
         {"half signed in, with a secret, 2", "half signed in, with a secret, 2", kNobody, kNobody, kNobody}},
        {kOwnContextPath,
         "/api/customer/registry/v2/tokens/context",
         {kNobody, kNobody, kNobody, kNobody, kNobody}},
    };
    Become<test::CustomerClient>();
    ASSERT_NO_FATAL_FAILURE(SignInForLong("plain"));
    const portable_stl::string secret = client->identitySecret;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < kInterruptionCount; ++i) {
            SCOPED_TRACE(std::string(kInterruptions[i].name) + " at " + row.request);
            Become<test::CustomerClient>();
            sandbox::Fault fault;
            fault.kind = kInterruptions[i].kind;
            fault.status = kInterruptions[i].status;
            fault.path = row.path;
            service.faults().add(fault);
            Seen();
            EXPECT_EQ(client->ReauthorizeViaIdentity(secret, 0, "", &errorInfo, context),
                      test::Code(CodeAt(kUsual, i)));
            EXPECT_EQ(Seen().back().request, row.request);
            EXPECT_EQ(test::SessionOf(*client), row.sessions[i]);
            EXPECT_EQ(client->ReauthorizeViaIdentity(secret, 0, "", &errorInfo, context),
                      ResultCode::kSuccess);
            EXPECT_EQ(client->token.present, 1);
            EXPECT_EQ(client->identitySecret, secret);
            EXPECT_EQ(client->token.customerNumber, "100001");
        }
    }
}

}  // namespace
