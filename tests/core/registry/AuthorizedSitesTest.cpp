// Every place of a customer's session that sends with the bearer token and renews it after a 401.
#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Code;
using test::Lines;
using test::ServiceAnswer;
using test::Text;

using Client = registry::CustomerRegistryClient<test::SystemApi>;

constexpr std::uint32_t kDenied = 0x82000002;

struct Site {
    const char* name;
    const char* path;
    const char* goodBody;
    // What is asked before and answered well.
    Lines pathsBefore;
    std::vector<ServiceAnswer> before;
    ResultCode (*run)(Client& client, registry::ServiceErrorInfo* errorInfo);
};

ResultCode ListContexts(Client& client, registry::ServiceErrorInfo* errorInfo) {
    portable_stl::vector<registry::ContextEntry> contexts;
    return client.GetContexts(contexts, errorInfo, nullptr);
}

std::vector<Site> Sites() {
    return {
        {"trusts",
         test::kTrustsPath,
         "[]",
         {},
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             portable_stl::vector<registry::TrustRecord> records;
             return client.GetTrustRecords(records, errorInfo, nullptr);
         }},
        {"the user's details",
         test::kUserPath,
         "{}",
         {},
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             registry::CustomerInfo info;
             return client.GetCustomerInfo(info, errorInfo, nullptr);
         }},
        {"providers",
         test::kProvidersPath,
         "[]",
         {},
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             portable_stl::string text;
             return client.GetSocialProviders(text, ',', errorInfo, nullptr);
         }},
        {"user among the contexts", test::kUserPath, "{}", {test::kTrustsPath}, {{200, "[]"}}, &ListContexts},
    };
}

// What a session starts with; token and context id are the old ones.
struct Start {
    std::uint32_t contextMode;
    std::uint8_t mark;
    const char* secret;
};

// One course of events at a site.
struct Course {
    const char* name;
    Start start;
    // To the site's own request, to those of the renewal, and a fourth to the request sent again. A body
    // "good" is the site's.
    std::vector<ServiceAnswer> answers;
    std::uint32_t expected;
    Lines renewal;
    std::string state;
    const char* title = "former";  // in the error record
};

constexpr Start kTrustor = {1, 1, "old secret"};
constexpr Start kOwn = {0, 1, "old secret"};
constexpr Start kOpen = {2, 1, "old secret"};
constexpr Start kUnmarked = {1, 0, "old secret"};
constexpr Start kNoSecret = {1, 1, ""};
constexpr Start kNothing = {2, 0, ""};

const ServiceAnswer kGood = {200, "good"};
const ServiceAnswer kExpired = {401, R"({"title":"expired"})"};

std::vector<Course> CoursesWithoutARenewal() {
    return {
        {"a good answer", kTrustor, {kGood}, 0, {}, test::kOldSession},
        {"good without a token", kUnmarked, {kGood}, 0, {}, "old.e30.sig, 0, old secret, 1, old org"},
        {"401 without a secret", kNoSecret, {kExpired}, kDenied, {}, "old.e30.sig, 1, , 1, old org"},
        {"401 without anything", kNothing, {kExpired}, kDenied, {}, "old.e30.sig, 0, , 2, old org"},
        {"time-out", kTrustor, {{0x81000014}}, 0x81000014, {}, test::kOldSession},
        {"network", kTrustor, {{0x81000006}}, 0x80000006, {}, test::kOldSession},
    };
}

std::vector<Course> CoursesWithAFailedRenewal() {
    const ServiceAnswer identity = {200, test::TokenBody("identity.e30.sig")};
    const ServiceAnswer noSecret = {404, R"({"title":"no secret"})"};
    const ServiceAnswer noContext = {404, R"({"title":"no context"})"};
    const ServiceAnswer network = {0x81000006};
    const ServiceAnswer timeOut = {0x81000014};
    const Lines one = {test::kIdentitySignInPath};
    const Lines trust = {test::kIdentitySignInPath, test::kTrustPath};
    const Lines own = {test::kIdentitySignInPath, test::kOwnContextPath};
    const std::string old = test::kOldSession;
    const std::string oldOwn = "old.e30.sig, 1, old secret, 0, old org";
    return {
        {"the secret is refused", kTrustor, {kExpired, noSecret}, 0x8200000E, one, old, "no secret"},
        {"the secret's 401 renews nothing", kTrustor, {kExpired, {401}}, kDenied, one, old, ""},
        {"the renewal is not sent", kTrustor, {kExpired, network}, 0x80000006, one, old},
        {"the renewal times out", kTrustor, {kExpired, timeOut}, 0x81000014, one, old},
        {"the renewal brings no token", kTrustor, {kExpired, {200, "{}"}}, 0x82000004, one, old},
        {"the context is refused",
         kTrustor,
         {kExpired, identity, noContext},
         0x8200000E,
         trust,
         old,
         "no context"},
        {"the context's 401 renews nothing", kOwn, {kExpired, identity, {401}}, kDenied, own, oldOwn, ""},
        {"the context is not sent for", kOwn, {kExpired, identity, network}, 0x80000006, own, oldOwn},
        {"the context times out", kTrustor, {kExpired, identity, timeOut}, 0x81000014, trust, old},
        {"the context is no token", kOwn, {kExpired, identity, {200, "[]"}}, 0x82000004, own, oldOwn},
    };
}

std::vector<Course> CoursesWithAGoodRenewal() {
    const ServiceAnswer identity = {200, test::TokenBody("identity.e30.sig")};
    const ServiceAnswer token = {200, test::TokenBody("context.e30.sig")};
    const ServiceAnswer still = {401, R"({"title":"still"})"};
    const ServiceAnswer network = {0x81000006};
    const ServiceAnswer timeOut = {0x81000014};
    const Lines own = {test::kIdentitySignInPath, test::kOwnContextPath};
    const Lines trust = {test::kIdentitySignInPath, test::kTrustPath};
    const std::string renewed = "context.e30.sig, 1, old secret, 1, old org";
    const std::string renewedOwn = "context.e30.sig, 1, old secret, 0, old org";
    const std::string renewedOpen = "context.e30.sig, 1, old secret, 2, old org";
    return {
        {"in a trustor's context", kTrustor, {kExpired, identity, token, kGood}, 0, trust, renewed},
        {"in the own context", kOwn, {kExpired, identity, token, kGood}, 0, own, renewedOwn},
        {"before a choice", kOpen, {kExpired, identity, token, kGood}, 0, own, renewedOpen},
        {"without a token", kUnmarked, {kExpired, identity, token, kGood}, 0, trust, renewed},
        {"a second 401 goes to the table",
         kTrustor,
         {kExpired, identity, token, still},
         kDenied,
         trust,
         renewed,
         "still"},
        {"then network", kTrustor, {kExpired, identity, token, network}, 0x80000006, trust, renewed},
        {"then a time-out", kTrustor, {kExpired, identity, token, timeOut}, 0x81000014, trust, renewed},
        {"then no JSON", kTrustor, {kExpired, identity, token, {200, "<html>"}}, 0x82000004, trust, renewed},
    };
}

class AuthorizedSites : public test::RegistryTest {
protected:
    void Prepare(const Site& site, const Course& course) {
        RememberOldSession();
        client.token.present = course.start.mark;
        client.identitySecret = course.start.secret;
        client.contextMode = course.start.contextMode;
        client.dynamicContextAvailable = true;
        errorInfo = {};
        errorInfo.title = "former";
        std::vector<ServiceAnswer> answers = site.before;
        for (const ServiceAnswer& answer : course.answers)
            answers.push_back(answer.body == "good" ? ServiceAnswer{200, site.goodBody} : answer);
        Script(answers);
    }

    void Expect(const Site& site, const Course& course) {
        Prepare(site, course);
        EXPECT_EQ(site.run(client, &errorInfo), Code(course.expected));

        const bool isSentAgain = course.answers.size() == 4;
        Lines requests = site.pathsBefore;
        requests.emplace_back(site.path);
        requests.insert(requests.end(), course.renewal.begin(), course.renewal.end());
        if (isSentAgain)
            requests.emplace_back(site.path);
        ASSERT_EQ(Requested(), requests);
        EXPECT_EQ(platform.requests[site.before.size()].Header("Authorization"),
                  course.start.mark != 0 ? "Bearer old.e30.sig" : "(none)");
        if (isSentAgain) {
            EXPECT_EQ(LastRequest().Header("Authorization"), "Bearer context.e30.sig");
        }
        EXPECT_EQ(State(), course.state);
        EXPECT_EQ(Text(errorInfo.title), course.title);
        EXPECT_TRUE(client.dynamicContextAvailable);
    }

    void ExpectAtEverySite(const std::vector<Course>& courses) {
        for (const Site& site : Sites()) {
            for (const Course& course : courses) {
                SCOPED_TRACE(std::string(site.name) + ": " + course.name);
                Expect(site, course);
            }
        }
    }
};

TEST_F(AuthorizedSites, WithoutARenewal) {
    ExpectAtEverySite(CoursesWithoutARenewal());
}

TEST_F(AuthorizedSites, AFailedRenewalIsTheResult) {
    ExpectAtEverySite(CoursesWithAFailedRenewal());
}

TEST_F(AuthorizedSites, AGoodRenewalSendsOnceMore) {
    ExpectAtEverySite(CoursesWithAGoodRenewal());
}

// The trusts of a list of contexts, where more is asked behind them.
TEST_F(AuthorizedSites, TheTrustsOfAListOfContextsRenewToo) {
    RememberOldSession();
    client.dynamicContextAvailable = true;
    Script({{401},
            {200, test::TokenBody("identity.e30.sig")},
            {200, test::TokenBody("context.e30.sig")},
            {200, "[]"},
            {401},
            {200, test::TokenBody("identity.e30.sig")},
            {200, test::TokenBody("again.e30.sig")},
            {200, "{}"}});
    EXPECT_EQ(ListContexts(client, &errorInfo), ResultCode::kSuccess);
    EXPECT_EQ(Requested(),
              (Lines{test::kTrustsPath, test::kIdentitySignInPath, test::kTrustPath, test::kTrustsPath,
                     test::kUserPath, test::kIdentitySignInPath, test::kTrustPath, test::kUserPath}))
        << "one renewal a call, and these are two";
    EXPECT_EQ(State(), "again.e30.sig, 1, old secret, 1, old org");
}

}  // namespace
