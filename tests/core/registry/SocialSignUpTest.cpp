// The finished sign-up of a person who came by a social provider: the one request of all sign-ins that is
// repeated, under a key that outlives the client.
#include <functional>
#include <memory>

#include "tests/core/registry/SocialSignInFixture.h"

namespace {

using test::Code;
using test::kSignUpRequired;
using test::Lines;
using test::ServiceAnswer;
using test::Text;

using Client = registry::CustomerRegistryClient<test::SystemApi>;

constexpr std::uint32_t kTimeOut = 0x81000014;

// A sign-up of one of the two forms.
struct Form {
    const char* name;
    std::vector<ServiceAnswer> before;  // what leads to the sign-up
    const char* path;                   // of the sign-up
    const char* pathBehind;             // of the request for a token
    const char* failureLine;
    test::Recorded recorded;  // what `before` leaves in the error record
    std::function<ResultCode(Client&)> run;
};

class SocialSignUp : public test::SocialSignInFixture {
protected:
    std::vector<Form> Forms() {
        return {
            {"by token",
             {{404, kSignUpRequired}},
             test::kSignUpByTokenPath,
             test::kSocialTokenPath,
             "SocialSignUpTokenFinalize: failed to make signup finalization",
             {0x82000011, 404},
             [this](Client& c) {
                 return c.AuthorizeSocialToken("acme", "pt-1", "trial", &errorInfo, context);
             }},
            {"by code",
             {},
             test::kSignUpByCodePath,
             test::kSocialCodePath,
             "SocialSignUpCodeFinalize: failed to make signup finalization",
             test::kOldRefusal,
             [this](Client& c) { return c.AuthorizeSocialCode("c-1", 1, "trial", &errorInfo, context); }},
        };
    }

    void ScriptSignUp(const Form& form, const std::vector<ServiceAnswer>& answers) {
        std::vector<ServiceAnswer> all = form.before;
        all.insert(all.end(), answers.begin(), answers.end());
        Script(all);
        platform.sleepsMs.clear();
        platform.traceLines.clear();
    }
    // The keys of the sign-ups among the requests so far.
    Lines Keys() const {
        Lines keys;
        for (const auto& request : platform.requests) {
            if (request.url.find("/CUSTOMER_REGISTRATION_FINALIZE_") != std::string::npos)
                keys.push_back(request.Header("Idempotency-Key"));
        }
        return keys;
    }
};

using Sleeps = std::vector<std::uint32_t>;

const ServiceAnswer kBusy = {409, "still at it", "Retry-After: 2\r\n"};

TEST_F(SocialSignUp, ARefusalEndsTheSignIn) {
    const struct {
        const char* name;
        ServiceAnswer answer;
        std::uint32_t expected;
    } rows[] = {
        {"201 is no success", {201, "made"}, 0x82000004},
        {"400", {400, "no"}, 0x82000004},
        {"401", {401, "no"}, 0x82000006},
        {"403", {403, "no"}, 0x82000007},
        {"404", {404, "no"}, 0x8200000E},
        {"404 does not ask for itself", {404, kSignUpRequired}, 0x8200000E},
        {"409 without a time", {409, "no"}, 0x82000004},
        {"409 with an empty time", {409, "no", "Retry-After: \r\n"}, 0x82000004},
        {"423", {423, "no"}, 0x82000010},
        {"429", {429, "no"}, 0x8200000D},
        {"500", {500, "no"}, 0x82000003},
        {"503", {503, "no"}, 0x8000000C},
        {"a sign-up that wants one", {418, kSignUpRequired}, 0x82000011},
        {"network", {0x81000006}, 0x80000006},
    };
    for (const Form& form : Forms()) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(form.name) + ", " + row.name);
            RememberOldSession();
            RememberOldRefusal();
            ScriptSignUp(form, {row.answer});
            EXPECT_EQ(form.run(client), Code(row.expected));
            const test::Recorded recorded = test::RecordedBy(row.answer, row.expected);
            EXPECT_EQ(Record(), recorded == test::kOldRefusal ? form.recorded : recorded);
            ASSERT_EQ(platform.requests.size(), form.before.size() + 1);
            EXPECT_EQ(Requested().back(), form.path) << "no token is asked for";
            EXPECT_EQ(State(), test::ResetSession("old.e30.sig"));
            EXPECT_TRUE(platform.sleepsMs.empty());
            ASSERT_GE(platform.traceLines.size(), 2u);
            EXPECT_EQ(platform.traceLines.end()[-2], form.failureLine);
            EXPECT_EQ(platform.traceLines.back(), row.answer.body);
        }
    }
}

TEST_F(SocialSignUp, IsRepeatedUnderItsKeyWithinTheFlow) {
    const ServiceAnswer made = {204};
    const ServiceAnswer token = {401};  // what the request for a token gets
    const struct {
        const char* name;
        std::vector<ServiceAnswer> answers;
        std::uint32_t expected;
        std::size_t tries;
        Sleeps sleeps;
    } rows[] = {
        {"at once", {made, token}, 0x82000002, 1, {}},
        {"200 will do", {{200, "{}"}, token}, 0x82000002, 1, {}},
        {"worked on", {kBusy, made, token}, 0x82000002, 2, {2000}},
        {"worked on, then refused", {kBusy, {403}}, 0x82000007, 2, {2000}},
        {"worked on, then a conflict", {kBusy, {409}}, 0x82000004, 2, {2000}},
        {"timed out", {{kTimeOut}, made, token}, 0x82000002, 2, {1500}},
        {"both", {{kTimeOut}, kBusy, {kTimeOut}, made, token}, 0x82000002, 4, {1500, 2000, 1500}},
        {"worked on to the end",
         {kBusy, kBusy, kBusy, kBusy, kBusy},
         0x80000006,
         5,
         {2000, 2000, 2000, 2000}},
        {"timed out to the end",
         {{kTimeOut}, {kTimeOut}, {kTimeOut}, {kTimeOut}, {kTimeOut}},
         0x81000014,
         5,
         {1500, 1500, 1500, 1500}},
        {"network, on the third try", {kBusy, {kTimeOut}, {0x81000006}}, 0x80000006, 3, {2000, 1500}},
    };
    for (const Form& form : Forms()) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(form.name) + ", " + row.name);
            RememberOldSession();
            ScriptSignUp(form, row.answers);
            EXPECT_EQ(form.run(client), Code(row.expected));
            Lines requests(form.before.size(), test::kSocialTokenPath);
            requests.insert(requests.end(), row.tries, form.path);
            if (row.answers.size() > row.tries)
                requests.emplace_back(form.pathBehind);
            ASSERT_EQ(Requested(), requests);
            EXPECT_EQ(platform.sleepsMs, row.sleeps);
            EXPECT_EQ(State(), test::ResetSession("old.e30.sig"));
            for (std::size_t i = 1; i < row.tries; ++i) {
                EXPECT_EQ(platform.requests[form.before.size() + i].headers,
                          platform.requests[form.before.size()].headers);
                EXPECT_EQ(platform.requests[form.before.size() + i].body,
                          platform.requests[form.before.size()].body);
            }
            EXPECT_EQ(Keys()[0].size(), 36u);
        }
    }
}

TEST_F(SocialSignUp, AFailureLogsItsLineAndTheBodyAsData) {
    const struct {
        const char* name;
        std::vector<ServiceAnswer> answers;
        const char* bodyLine;
    } rows[] = {
        {"plain text", {{500, "out of order"}}, "out of order"},
        {"percent signs", {{400, "100%s %n %d %%"}}, "100%s %n %d %%"},
        {"a body of several lines is one line", {{400, "a\r\nb\nc"}}, "a\r\nb\nc"},
        {"no body", {{400}}, ""},
        {"no answer", {{0x81000006}}, ""},
        {"worked on to the end", {kBusy, kBusy, kBusy, kBusy, {409, "last", "Retry-After: 9\r\n"}}, "last"},
        {"the answer before the network failed", {kBusy, {0x81000006}}, "still at it"},
    };
    for (const Form& form : Forms()) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(form.name) + ", " + row.name);
            ScriptSignUp(form, row.answers);
            EXPECT_FALSE(IsSuccess(form.run(client)));
            ASSERT_GE(platform.traceLines.size(), 3u);
            EXPECT_EQ(platform.traceLines.end()[-3].rfind("SendRequest: ", 0), 0u);
            EXPECT_EQ(platform.traceLines.end()[-2], form.failureLine);
            EXPECT_EQ(platform.traceLines.back(), row.bodyLine);
        }
    }
}

TEST_F(SocialSignUp, ASuccessLogsNeitherLine) {
    for (const Form& form : Forms()) {
        ScriptSignUp(form, {{200, "unread"}, {401, "unread"}});
        EXPECT_EQ(form.run(client), ResultCode::kAuthorizationDenied) << form.name;
        for (const std::string& line : platform.traceLines) {
            EXPECT_EQ(line.find("failed to make signup finalization"), std::string::npos) << form.name;
            EXPECT_EQ(line.find("unread"), std::string::npos) << form.name;
        }
    }
}

// --- the key

TEST_F(SocialSignUp, TheFileNamesTheOperationByItsDigest) {
    client.dataFolder = "store/";
    const struct {
        const char* name;
        std::vector<ServiceAnswer> answers;
        std::function<ResultCode()> run;
        const char* hash;  // MD5 of the text behind it
    } rows[] = {
        {"SIGNUP_FINALIZE|acme|pt-1|trial|",
         {{404, kSignUpRequired}, {500}},
         [this] { return ByToken("trial"); },
         "e5d8da7fc41c6b009ae17c6e855ea85e"},
        {"SIGNUP_FINALIZE|acme|pt-1||",
         {{404, kSignUpRequired}, {500}},
         [this] { return ByToken(""); },
         "b01cb4a81ca5b67c5ae22ad3f7ed3eb9"},
        {"SIGNUP_FINALIZE|c-1|trial|",
         {{500}},
         [this] { return ByCode(1, "trial"); },
         "14dca571de6f02728fd3fdcbbc8ba3eb"},
        {"SIGNUP_FINALIZE|c-1||",
         {{500}},
         [this] { return ByCode(1, ""); },
         "d0cfc8ba20b849a6ac14866be29c5ab9"},
    };
    std::string entries;
    for (const auto& row : rows) {
        Script(row.answers);
        EXPECT_EQ(row.run(), ResultCode::kInternalServiceError) << row.name;
        const std::string key = LastRequest().Header("Idempotency-Key");
        EXPECT_EQ(key.size(), 36u) << row.name;
        EXPECT_EQ(entries.find(key), std::string::npos) << row.name << ": another operation, another key";
        entries += (entries.empty() ? "" : ",") + (R"({"hash":")" + std::string(row.hash) + R"(","key":")") +
                   key + R"(","createdAt":"1700000000"})";
        EXPECT_EQ(platform.files["store/LIC2"], R"({"entries":[)" + entries + "]}") << row.name;
    }
}

TEST_F(SocialSignUp, TheKeyIsTheSameForADayAndOverARestart) {
    for (const Form& form : Forms()) {
        SCOPED_TRACE(form.name);
        platform.files.clear();
        platform.nowSeconds = 1'700'000'000;
        client.idempotencyEntries.clear();
        client.dataFolder = "store/";
        ScriptSignUp(form, {{0x81000006}});
        EXPECT_EQ(form.run(client), ResultCode::kRequestNotSent);
        const std::string key = Keys().at(0);

        ScriptSignUp(form, {{500}});
        EXPECT_EQ(form.run(client), ResultCode::kInternalServiceError);
        EXPECT_EQ(Keys(), Lines{key}) << "the same operation again";

        platform.nowSeconds += 86399;
        Client restarted(test::kBaseUrl, "store/", {}, context);
        ScriptSignUp(form, {{500}});
        EXPECT_EQ(form.run(restarted), ResultCode::kInternalServiceError);
        EXPECT_EQ(Keys(), Lines{key}) << "the last second of a restarted host";

        platform.nowSeconds += 1;
        ScriptSignUp(form, {{500}});
        EXPECT_EQ(form.run(restarted), ResultCode::kInternalServiceError);
        EXPECT_NE(Keys(), Lines{key}) << "a day later it is another sign-up";
    }
}

TEST_F(SocialSignUp, AGoodSignUpKeepsItsKey) {
    ScriptSignUp(Forms()[1], {{204}, {401}, {204}, {401}});
    EXPECT_EQ(ByCode(1), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(ByCode(1), ResultCode::kAuthorizationDenied);
    ASSERT_EQ(Keys().size(), 2u);
    EXPECT_EQ(Keys()[0], Keys()[1]);
}

TEST_F(SocialSignUp, WithoutADigestThereIsNoKeyAndNoRepeat) {
    const struct {
        const char* name;
        ServiceAnswer answer;
        std::uint32_t expected;
    } rows[] = {
        {"a time-out is final", {kTimeOut}, 0x81000014},
        {"a conflict is an answer", kBusy, 0x82000004},
        {"a refusal", {403}, 0x82000007},
    };
    client.dataFolder = "store/";
    for (const Form& form : Forms()) {
        for (const auto& row : rows) {
            for (const std::uint32_t nthDigest : {1u, 2u}) {
                SCOPED_TRACE(std::string(form.name) + ", " + row.name + ", digest " +
                             std::to_string(nthDigest));
                RememberOldSession();
                platform.FailCall(test::Operation::Md5, 0x81000003, nthDigest);
                ScriptSignUp(form, {row.answer});
                EXPECT_EQ(form.run(client), Code(row.expected));
                EXPECT_EQ(Keys(), Lines{"(none)"});
                EXPECT_TRUE(platform.sleepsMs.empty());
                EXPECT_TRUE(platform.files.empty());
                EXPECT_TRUE(client.idempotencyEntries.empty());
                EXPECT_EQ(State(), test::ResetSession("old.e30.sig"));
            }
        }
    }
}

TEST_F(SocialSignUp, AKeyThatCannotBeStoredStillGoesOut) {
    client.dataFolder = "store/";
    for (const Form& form : Forms()) {
        client.idempotencyEntries.clear();
        platform.FailCall(test::Operation::FileWrite, 0x81000003);
        ScriptSignUp(form, {{kTimeOut}, {500}});
        EXPECT_EQ(form.run(client), ResultCode::kInternalServiceError) << form.name;
        ASSERT_EQ(Keys().size(), 2u) << form.name;
        EXPECT_EQ(Keys()[0].size(), 36u) << form.name;
        EXPECT_EQ(Keys()[0], Keys()[1]) << form.name;
    }
}

}  // namespace
