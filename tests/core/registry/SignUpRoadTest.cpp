// A sign-up that must make one account, whatever happens on the way: the keys that the service got, the
// waits, and the accounts that it made.
#include <gmock/gmock.h>

#include <chrono>

#include "tests/core/registry/RoadFixture.h"

namespace {

using sandbox::FaultKind;
using test::Exchanges;
using test::kCodeSignInPath;
using test::kFinalizeCodePath;
using test::kFinalizeTokenPath;
using test::kGlowpassPath;
using test::kNobody;
using test::kOwnContextPath;
using test::kTrustsPath;
using test::SessionOf;
using testing::Each;

constexpr char kFinalizeByToken[] = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";
constexpr char kFinalizeByCode[] = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";
constexpr char kCode[] = "gp-code-newcomer-6";

// The two forms of a sign-up. They differ in the exchanges in front of it.
struct Form {
    const char* name;
    bool isByToken;
    Exchanges before;
    const char* finalize;
    const char* signIn;
};

const Form kForms[] = {
    {"by token", true, {{kGlowpassPath, 404}}, kFinalizeTokenPath, kGlowpassPath},
    {"by code", false, {}, kFinalizeCodePath, kCodeSignInPath},
};

class SignUpRoad : public test::SocialRoadFixture {
protected:
    ResultCode SignUpBy(const Form& form) { return form.isByToken ? ByToken("newcomer") : ByCode(kCode, 1); }
};

// All exchanges of a form whose finalisation was answered with these statuses, the last one a success.
Exchanges WholeRoad(const Form& form, const std::vector<int>& finalizations) {
    Exchanges road = form.before;
    for (const int status : finalizations)
        road.push_back({form.finalize, status});
    road.insert(road.end(), {{form.signIn, 200}, {kTrustsPath, 200}, {kOwnContextPath, 200}});
    return road;
}

// The same, when the last one was none.
Exchanges BrokenRoad(const Form& form, const std::vector<int>& finalizations) {
    Exchanges road = form.before;
    for (const int status : finalizations)
        road.push_back({form.finalize, status});
    return road;
}

TEST_F(SignUpRoad, IsRepeatedUnderItsKeyWhileTheServiceWorks) {
    for (const Form& form : kForms) {
        for (int busy = 0; busy < 5; ++busy) {
            SCOPED_TRACE(std::string(form.name) + ", told to wait so often: " + std::to_string(busy));
            BeginAnew();
            WorkFor(busy);
            EXPECT_EQ(SignUpBy(form), ResultCode::kSuccess);
            std::vector<int> statuses(static_cast<std::size_t>(busy), 409);
            statuses.push_back(204);
            EXPECT_EQ(Seen(), WholeRoad(form, statuses));
            EXPECT_EQ(waits, std::vector<std::uint32_t>(static_cast<std::size_t>(busy), 1));
            EXPECT_EQ(keys.size(), static_cast<std::size_t>(busy) + 1);
            EXPECT_THAT(keys, Each(keys[0]));
            EXPECT_EQ(keys[0].size(), 36u);
            EXPECT_EQ(SignUpOf("newcomer"), "1, " + std::to_string(busy + 1) + ", 1");
            EXPECT_EQ(SessionOf(*client), "signed in, 0");
        }
    }
}

TEST_F(SignUpRoad, GoesOnAfterARestartWhenTheTriesWereUsedUp) {
    for (const Form& form : kForms) {
        for (const std::uint32_t attempts : {1u, 2u, 5u}) {
            SCOPED_TRACE(std::string(form.name) + ", tries: " + std::to_string(attempts));
            policy.maxAttempts = attempts;
            BeginAnew();
            WorkFor(0, 90);
            EXPECT_EQ(SignUpBy(form), ResultCode::kRequestNotSent);
            EXPECT_EQ(Seen(), BrokenRoad(form, std::vector<int>(attempts, 409)));
            EXPECT_EQ(waits, std::vector<std::uint32_t>(attempts - 1, 1));
            EXPECT_EQ(SessionOf(*client), kNobody);
            EXPECT_EQ(service.signUpOf("newcomer").made, 0);

            service.advance(89);
            Restart();
            EXPECT_EQ(SignUpBy(form), ResultCode::kRequestNotSent);
            service.advance(1);
            Restart();
            Seen();
            EXPECT_EQ(SignUpBy(form), ResultCode::kSuccess);
            EXPECT_EQ(Seen(), WholeRoad(form, {204}));
            EXPECT_EQ(keys.size(), 2 * attempts + 1);
            EXPECT_THAT(keys, Each(keys[0]));
            EXPECT_EQ(SignUpOf("newcomer"), "1, " + std::to_string(2 * attempts + 1) + ", 1");
        }
    }
}

TEST_F(SignUpRoad, ALostAnswerMakesNoSecondAccount) {
    for (const bool isRestarted : {false, true}) {
        SCOPED_TRACE(isRestarted ? "restarted" : "the same session");

        BeginAnew();
        Disturb(FaultKind::lost, kFinalizeByToken);
        EXPECT_EQ(ByToken("newcomer"), ResultCode::kRequestNotSent);
        EXPECT_EQ(SessionOf(*client), kNobody);
        EXPECT_EQ(SignUpOf("newcomer"), "1, 1, 1") << "all is done, but who knows";
        EXPECT_EQ(waits.size(), 0u) << "a broken connection is not repeated";
        if (isRestarted)
            Restart();
        Seen();
        EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
        EXPECT_EQ(Seen(), (Exchanges{{kGlowpassPath, 200}, {kTrustsPath, 200}, {kOwnContextPath, 200}}));
        EXPECT_EQ(SignUpOf("newcomer"), "1, 1, 1");

        BeginAnew();
        Disturb(FaultKind::lost, kFinalizeByCode);
        EXPECT_EQ(ByCode(kCode, 1), ResultCode::kRequestNotSent);
        EXPECT_EQ(SessionOf(*client), kNobody);
        if (isRestarted)
            Restart();
        Seen();
        EXPECT_EQ(ByCode(kCode, 1), ResultCode::kSuccess);
        EXPECT_EQ(Seen(), WholeRoad(kForms[1], {204})) << "the kept answer of the key";
        EXPECT_EQ(SignUpOf("newcomer"), "1, 2, 1");
        EXPECT_THAT(keys, Each(keys[0]));
    }
}

// The service has done the work each time: only its answers come too late.
TEST_F(SignUpRoad, IsRepeatedAfterATimeOut) {
    static const struct {
        const char* name;
        std::uint32_t timeOuts;
        std::int64_t busyAnswers;
        std::uint32_t expected;
        std::vector<int> statuses;
        const char* signUp;
    } rows[] = {
        {"one time-out", 1, 0, 0, {204, 204}, "1, 2, 1"},
        {"four", 4, 0, 0, {204, 204, 204, 204, 204}, "1, 5, 1"},
        {"all five tries", 5, 0, 0x81000014, {204, 204, 204, 204, 204}, "1, 5, 1"},
        {"time-outs, then told to wait", 2, 4, 0, {409, 409, 409, 409, 204}, "1, 5, 1"},
        {"both share the tries", 2, 5, 0x80000006, {409, 409, 409, 409, 409}, "0, 5, 1"},
    };
    for (const Form& form : kForms) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(form.name) + ", " + row.name);
            BeginAnew();
            WorkFor(row.busyAnswers);
            keyedTimeOuts = row.timeOuts;
            EXPECT_EQ(SignUpBy(form), test::Code(row.expected));
            EXPECT_EQ(keyedTimeOuts, 0u);
            const bool isGood = row.expected == 0;
            EXPECT_EQ(Seen(), isGood ? WholeRoad(form, row.statuses) : BrokenRoad(form, row.statuses));
            EXPECT_EQ(SessionOf(*client), isGood ? "signed in, 0" : kNobody);
            EXPECT_EQ(waits.size(), row.statuses.size() - 1);
            EXPECT_EQ(keys.size(), row.statuses.size());
            EXPECT_THAT(keys, Each(keys[0]));
            EXPECT_EQ(SignUpOf("newcomer"), row.signUp);
            if (!isGood) {
                EXPECT_EQ(SignUpBy(form), ResultCode::kSuccess) << "the next try";
            }
            EXPECT_EQ(service.signUpOf("newcomer").made, 1);
        }
    }
}

TEST_F(SignUpRoad, NothingElseIsRepeated) {
    static const struct {
        const char* name;
        int status;
        sandbox::NamedValues headers;
        std::uint32_t expected;
    } rows[] = {
        {"503 that says when", 503, {{"Retry-After", "1"}}, 0x8000000C},
        {"429 that says when", 429, {{"Retry-After", "1"}}, 0x8200000D},
        {"500", 500, {}, 0x82000003},
        {"202 that says when", 202, {{"Retry-After", "1"}}, 0x82000004},
        {"409 that doesn't say when", 409, {}, 0x82000004},
        {"409 that says nothing", 409, {{"Retry-After", ""}}, 0x82000004},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        BeginAnew();
        sandbox::Fault fault;
        fault.kind = FaultKind::status;
        fault.path = kFinalizeByToken;
        fault.status = row.status;
        fault.headers = row.headers;
        service.faults().add(fault);
        EXPECT_EQ(ByToken("newcomer"), test::Code(row.expected));
        EXPECT_EQ(Seen(), BrokenRoad(kForms[0], {row.status}));
        EXPECT_EQ(waits.size(), 0u);
        EXPECT_EQ(SessionOf(*client), kNobody);
        EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess) << "the next try";
        EXPECT_THAT(keys, Each(keys[0]));
    }
}

TEST_F(SignUpRoad, WaitsAsTheServiceSays) {
    static const struct {
        const char* retryAfter;
        std::uint32_t waitMs;
    } rows[] = {
        {"0", 1000}, {"-5", 1000},   {"soon", 1000}, {"Fri, 31 Dec 1999 23:59:59 GMT", 1000},
        {"2", 2000}, {"600", 30000},
    };
    policy.idempotencyWaitMs = 1000;
    policy.idempotencyWaitCapMs = 30000;
    const auto start = std::chrono::steady_clock::now();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.retryAfter);
        BeginAnew();
        sandbox::Fault fault;
        fault.kind = FaultKind::status;
        fault.path = kFinalizeByToken;
        fault.status = 409;
        fault.headers = {{"retry-after", row.retryAfter}};
        service.faults().add(fault);
        EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
        EXPECT_EQ(waits, std::vector<std::uint32_t>{row.waitMs});
        EXPECT_EQ(Seen(), WholeRoad(kForms[0], {409, 204}));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30))
        << "nobody sleeps meanwhile";
}

// The sign-in has no key, so that the same answer is a refusal there.
TEST_F(SignUpRoad, ARequestWithoutKeyIsNotRepeated) {
    sandbox::Fault fault;
    fault.kind = FaultKind::status;
    fault.status = 409;
    fault.headers = {{"Retry-After", "1"}};
    service.faults().add(fault);
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kSocialAccountLinked);
    EXPECT_EQ(Seen(), (Exchanges{{kGlowpassPath, 409}}));
    EXPECT_EQ(waits.size(), 0u);
    EXPECT_EQ(keys.size(), 0u);
}

TEST_F(SignUpRoad, AServiceThatAnswersWithABodySucceedsToo) {
    sandbox::FinalizationRule rule;
    rule.successStatus = 200;
    for (const Form& form : kForms) {
        SCOPED_TRACE(form.name);
        BeginAnew();
        service.service().setFinalization(rule);
        EXPECT_EQ(SignUpBy(form), ResultCode::kSuccess);
        EXPECT_EQ(Seen(), WholeRoad(form, {200}));
    }
}

}  // namespace
