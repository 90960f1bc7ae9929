// The end that all sign-ins of a customer share: which trusts there are, whether the own context is granted,
// and what comes of both.
#pragma once

#include "tests/core/registry/RegistryFixture.h"

namespace test {

struct SignInEnding {
    const char* name;
    std::vector<ServiceAnswer> answers;  // behind the one that brings the token "first.e30.sig"
    std::uint32_t expected;
    Lines requests;
    std::string state;
    bool hasOwnContext;  // afterwards; true before
    Recorded recorded;   // kOldRefusal: what the requests ahead of these left
};

inline constexpr char kOnePerson[] =
    R"([{"id":"t","trustorId":"p-1","trustorDetails":{"type":"Person","name":"Somebody"}}])";
inline constexpr char kTwoPersons[] = R"([{"id":"t","trustorId":"p-1","trustorDetails":{"type":"Person"}},)"
                                      R"({"id":"u","trustorId":"p-2","trustorDetails":{"type":"Person"}}])";

// The list of trusts did not come, so that nothing else was asked.
inline std::vector<SignInEnding> EndingsWithoutTrusts() {
    const Lines asked = {kTrustsPath};
    const std::string reset = ResetSession("first.e30.sig");
    const Recorded kept = kOldRefusal;
    return {
        {"trusts: 400", {{400}}, 0x82000004, asked, reset, true, {0x82000004, 400}},
        {"trusts: 401 has no secret to renew with", {{401}}, 0x82000002, asked, reset, true, kept},
        {"trusts: 403", {{403}}, 0x82000007, asked, reset, true, {0x82000007, 403}},
        {"trusts: 404", {{404}}, 0x82000005, asked, reset, true, {0x82000005, 404}},
        {"trusts: 429", {{429}}, 0x8200000D, asked, reset, true, {0x8200000D, 429}},
        {"trusts: 500", {{500}}, 0x82000003, asked, reset, true, {0x82000003, 500}},
        {"trusts: 204 is no success", {{204}}, 0x82000004, asked, reset, true, {0x82000004, 204}},
        {"trusts: network", {{0x81000006}}, 0x80000006, asked, reset, true, kept},
        {"trusts: time-out", {{0x81000014}}, 0x81000014, asked, reset, true, kept},
        {"trusts: no JSON", {{200, "<html>"}}, 0x82000004, asked, reset, true, kept},
        {"trusts: one without an id",
         {{200, R"([{"trustorId":"x"}])"}},
         0x82000004,
         asked,
         reset,
         true,
         kept},
        {"trusts: one without a trustor", {{200, R"([{"id":"x"}])"}}, 0x82000004, asked, reset, true, kept},
    };
}

inline std::vector<SignInEnding> EndingsWithTheOwnContext() {
    const ServiceAnswer own = {200, TokenBody("own.e30.sig")};
    const Lines asked = {kTrustsPath, kOwnContextPath};
    const std::string chosen = "own.e30.sig, 1, , 0, ";
    const std::string open = "own.e30.sig, 1, , 2, ";
    const Recorded kept = kOldRefusal;
    return {
        {"own context, no trusts", {{200, "[]"}, own}, 0, asked, chosen, true, kept},
        {"own context, one trust", {{200, kOneTrust}, own}, 0x8200000B, asked, open, true, kept},
        {"own context, a person's trust counts",
         {{200, kOnePerson}, own},
         0x8200000B,
         asked,
         open,
         true,
         kept},
        {"own context, two trusts", {{200, kTwoTrusts}, own}, 0x8200000B, asked, open, true, kept},
    };
}

inline std::vector<SignInEnding> EndingsWithoutAnyContext() {
    const Lines asked = {kTrustsPath, kOwnContextPath};
    const ServiceAnswer none = {200, "[]"};
    const std::string nothing = ", 0, , 2, ";
    const Recorded own401 = {0x82000002, 401};
    const Recorded own404 = {0x82000005, 404};
    const Recorded kept = kOldRefusal;
    return {
        {"own refused, no trusts", {none, {404}}, 0x8200000C, asked, nothing, false, own404},
        {"own: 401 starts no renewal, no trusts", {none, {401}}, 0x8200000C, asked, nothing, false, own401},
        {"own unreachable, no trusts", {none, {0x81000006}}, 0x8200000C, asked, nothing, false, kept},
        {"own timed out, no trusts", {none, {0x81000014}}, 0x8200000C, asked, nothing, false, kept},
        {"own without a token, no trusts", {none, {200, "{}"}}, 0x8200000C, asked, nothing, false, kept},
    };
}

inline std::vector<SignInEnding> EndingsWithTrustsAlone() {
    const ServiceAnswer trust = {200, TokenBody("trust.e30.sig")};
    const ServiceAnswer one = {200, kOneTrust};
    const ServiceAnswer two = {200, kTwoTrusts};
    const Lines own = {kTrustsPath, kOwnContextPath};
    const Lines both = {kTrustsPath, kOwnContextPath, kTrustPath};
    const std::string chosen = "trust.e30.sig, 1, , 1, org-1";
    const std::string open = "first.e30.sig, 1, , 2, ";
    const std::string reset = ResetSession("first.e30.sig");
    const Recorded own401 = {0x82000002, 401};
    const Recorded own404 = {0x82000005, 404};
    const Recorded kept = kOldRefusal;
    return {
        {"own refused, one trust", {one, {404}, trust}, 0, both, chosen, false, own404},
        {"own: 401 starts no renewal, one trust", {one, {401}, trust}, 0, both, chosen, false, own401},
        {"own unreachable, one trust", {one, {0x81000006}, trust}, 0, both, chosen, false, kept},
        {"own timed out, one trust", {one, {0x81000014}, trust}, 0, both, chosen, false, kept},
        {"own without a token, one trust", {one, {200, "{}"}, trust}, 0, both, chosen, false, kept},
        {"own refused, a person's trust",
         {{200, kOnePerson}, {403}, trust},
         0,
         both,
         "trust.e30.sig, 1, , 1, p-1",
         false,
         {0x82000007, 403}},
        {"own refused, the one trust refused",
         {one, {404}, {403}},
         0x82000002,
         both,
         reset,
         false,
         {0x82000002, 403}},
        {"own refused, the one trust: 401",
         {one, {404}, {401}},
         0x82000002,
         both,
         reset,
         false,
         {0x82000002, 401}},
        {"own refused, the one trust unknown",
         {one, {404}, {404}},
         0x8200000E,
         both,
         reset,
         false,
         {0x8200000E, 404}},
        {"own refused, the one trust unreachable",
         {one, {404}, {0x81000006}},
         0x80000006,
         both,
         reset,
         false,
         own404},
        {"own refused, the one trust timed out",
         {one, {404}, {0x81000014}},
         0x81000014,
         both,
         reset,
         false,
         own404},
        {"own refused, the one trust without a token",
         {one, {404}, {200, "x"}},
         0x82000004,
         both,
         reset,
         false,
         own404},
        {"own refused, two trusts", {two, {404}}, 0x8200000B, own, open, false, own404},
        {"own unreachable, two trusts", {two, {0x81000006}}, 0x8200000B, own, open, false, kept},
        {"own timed out, two trusts", {two, {0x81000014}}, 0x8200000B, own, open, false, kept},
        {"own refused, two persons", {{200, kTwoPersons}, {404}}, 0x8200000B, own, open, false, own404},
    };
}

inline std::vector<SignInEnding> AllSignInEndings() {
    std::vector<SignInEnding> all;
    for (const auto& endings : {EndingsWithTheOwnContext(), EndingsWithTrustsAlone(),
                                EndingsWithoutAnyContext(), EndingsWithoutTrusts()})
        all.insert(all.end(), endings.begin(), endings.end());
    return all;
}

class CustomerSignInFixture : public RegistryTest {
protected:
    CustomerSignInFixture() { RememberOldSession(); }

    /// Every ending behind a sign-in that makes these requests and gets these answers, of which the last
    /// brings "first.e30.sig". `prepare` sets the session that the sign-in meets; `ownRecorded` is what the
    /// answers leave in the error record.
    template <class Prepare, class SignIn>
    void ExpectEveryEnding(const Lines& ownRequests, const std::vector<ServiceAnswer>& ownAnswers,
                           const Recorded& ownRecorded, Prepare&& prepare, SignIn&& signIn) {
        for (const SignInEnding& row : AllSignInEndings()) {
            SCOPED_TRACE(row.name);
            prepare();
            RememberOldRefusal();
            client.dynamicContextAvailable = true;
            std::vector<ServiceAnswer> answers = ownAnswers;
            answers.insert(answers.end(), row.answers.begin(), row.answers.end());
            Script(answers);
            EXPECT_EQ(signIn(), Code(row.expected));
            Lines requests = ownRequests;
            requests.insert(requests.end(), row.requests.begin(), row.requests.end());
            EXPECT_EQ(Requested(), requests);
            for (std::size_t i = ownRequests.size(); i < platform.requests.size(); ++i)
                EXPECT_EQ(platform.requests[i].Header("Authorization"), "Bearer first.e30.sig");
            EXPECT_EQ(State(), row.state);
            EXPECT_EQ(client.dynamicContextAvailable, row.hasOwnContext);
            EXPECT_EQ(Record(), row.recorded == kOldRefusal ? ownRecorded : row.recorded);
        }
    }
};

}  // namespace test
