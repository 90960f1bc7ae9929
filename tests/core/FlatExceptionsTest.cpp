// What a session is after an exception of the memory or of the platform has ended an operation.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/FlatFixture.h"
#include "tests/support/HookedTable.h"

namespace {

using quillmarkclient::ClientContext;
using test::Operation;

// The fakes' own allocations do not fail.
struct Pause {
    test::AllocationPause pause;
};

struct Thrown {};

enum class Ending { kReturned, kThrew };

// Too long for the short form of a text, so that each copy can fail.
constexpr char kLongId[] = "organisation-with-a-name-that-is-long";
constexpr char kLongSecret[] = "identity-secret-that-is-longer-than-short";
constexpr char kOtherId[] = "another-organisation-with-a-long-name";
constexpr char kOtherSecret[] = "another-identity-secret-that-is-long";

// Tokens with claims, so that a record of each takes several steps to make.
constexpr char kOwnBody[] = R"({"accessToken":"own.eyJ1c2VyaWQiOiJ1In0.signature"})";
constexpr char kTrustBody[] = R"({"accessToken":"trust.eyJ1c2VyaWQiOiJ1In0.signature"})";

constexpr std::size_t kMostSteps = 5000;  // of one call; more means that a loop does not end

constexpr struct SignInRow {
    const char* name;
    bool signedIn;  // whether the call starts from a sign-in
    bool oneTrust;  // the own context is refused and one organisation stands in for it
    ResultCode (*run)(ClientContext*);
    std::size_t exchanges;
    std::uint32_t kind = 0;
    // Of a call that leaves the former session alone until its first answer: the session of its success.
    const char* successor = nullptr;
    // Exchanges up to the last that a call can lose with the former session's file still there.
    std::size_t keeping = 0;
} kSignIns[] = {
    {"SignIn", false, false, [](ClientContext* c) { return SignIn(c, "anna", "pw", nullptr); }, 6},
    {"SignIn, one trust", false, true, [](ClientContext* c) { return SignIn(c, "anna", "pw", nullptr); }, 7},
    {"SignIn again", true, false, [](ClientContext* c) { return SignIn(c, "anna", "pw", nullptr); }, 6},
    {"ConfirmSecondFactor", false, false,
     [](ClientContext* c) { return ConfirmSecondFactor(c, "challenge-1", "1", nullptr); }, 6},
    {"ConfirmSecondFactor, one trust", false, true,
     [](ClientContext* c) { return ConfirmSecondFactor(c, "challenge-1", "1", nullptr); }, 7},
    {"SignInWithSocialToken", false, false,
     [](ClientContext* c) { return SignInWithSocialToken(c, "acme", "st-1", nullptr); }, 6},
    {"SignInWithSocialToken, one trust", true, true,
     [](ClientContext* c) { return SignInWithSocialToken(c, "acme", "st-1", nullptr); }, 7},
    {"SignInWithSocialCode with a sign-up", true, false,
     [](ClientContext* c) { return SignInWithSocialCode(c, "c-1", 1, nullptr); }, 7},
    {"SignInWithSocialCode of a business", false, false,
     [](ClientContext* c) { return SignInWithSocialCode(c, "c-1", 0, nullptr); }, 4, 1},
    {"SignInWithSocialCode of a business with a sign-up", true, false,
     [](ClientContext* c) { return SignInWithSocialCode(c, "c-1", 1, nullptr); }, 5, 1},
    {"ConfirmSecondFactor, signed in before", true, false,
     [](ClientContext* c) { return ConfirmSecondFactor(c, "challenge-1", "1", nullptr); }, 6, 0,
     "own.eyJ1c2VyaWQiOiJ1In0.signature, 1, identity-secret-that-is-longer-than-short, 0, ", 3},
    {"SignInToContext", true, false,
     [](ClientContext* c) {
         const quillmarkclient::ContextChoice choice{1, kOtherId};
         return SignInToContext(c, &choice, nullptr);
     },
     4, 0,
     "trust.eyJ1c2VyaWQiOiJ1In0.signature, 1, identity-secret-that-is-longer-than-short, 1, "
     "another-organisation-with-a-long-name",
     1},
};

class FlatExceptions : public test::FlatFixture {
protected:
    FlatExceptions() {
        init.table = test::Hooked<Pause>(platform.table);
        quillmarkclient::SetLogCallbacks(nullptr, nullptr);
        service.Answer(test::kIdentitySecret, 200, kLongSecret);
    }

    void Prepare(const SignInRow& row) {
        platform.files.clear();
        OfferOneTrust(false);
        service.Answer(test::kTrustToken, 200, kTrustBody);
        init.clientKind = row.kind;
        Start();
        if (row.signedIn) {
            ASSERT_EQ(SignIn(context, "anna", "pw", nullptr), ResultCode::kSuccess);
            // Unlike any that the service gives.
            context->registryClient->token = quillmarkclient_core::Token("former.e30.signature", true);
            context->registryClient->identitySecret = kOtherSecret;
        }
        OfferOneTrust(row.oneTrust);
        before_ = State();
        filesBefore_ = platform.files;
    }

    void OfferOneTrust(bool isOffered) {
        if (isOffered) {
            service.Answer(test::kTrusts, 200,
                           std::string(R"([{"id":"1","trustorId":")") + kLongId +
                               R"(","trustorDetails":{"type":"Organization","name":"First"}}])");
            service.Answer(test::kOwnContextToken, 403, "");
        } else {
            service.Answer(test::kTrusts, 200, "[]");
            service.Answer(test::kOwnContextToken, 200, kOwnBody);
        }
    }

    // Runs `call` with the nth call of `operation` throwing.
    template <class Call>
    Ending RunThrowing(Operation operation, std::size_t nth, Call call) {
        platform.before = [operation, nth, count = std::size_t{0}](Operation called) mutable {
            if (called == operation && ++count == nth)
                throw Thrown();
        };
        auto ending = Ending::kReturned;
        try {
            code_ = call(context);
        } catch (const Thrown&) {
            ending = Ending::kThrew;
        }
        platform.before = nullptr;
        return ending;
    }

    // Runs `call` with the nth allocation failing.
    template <class Call>
    Ending RunStarved(std::size_t nth, bool* hasFailed, Call call) {
        const test::FailingAllocation failing(nth);
        auto ending = Ending::kReturned;
        try {
            code_ = call(context);
        } catch (const portable_stl::exception&) {
            ending = Ending::kThrew;
        }
        *hasFailed = failing.HasFailed();
        return ending;
    }

    void ExpectNobody(std::size_t nth) {
        const auto& session = *context->registryClient;
        EXPECT_FALSE(IsSignedIn()) << nth;
        EXPECT_EQ(session.contextMode, 2u) << nth;
        EXPECT_STREQ(session.contextId.c_str(), "") << nth;
        EXPECT_STREQ(session.identitySecret.c_str(), "") << nth;
    }

    // Starts the count of what ExpectNotHalf finds.
    void Begin() {
        former_ = 0;
        nobody_ = 0;
        kept_ = 0;
        dropped_ = 0;
    }

    // The call has failed: the former session while no answer has come, where the row says so, and from then
    // on nobody's.
    void ExpectNotHalf(const SignInRow& row, std::size_t nth) {
        ExpectNoHalfFile(nth);
        if (row.successor != nullptr && nobody_ == 0 && State() == before_) {
            ++former_;
            return;
        }
        ++nobody_;
        ExpectNobody(nth);
    }

    // The call has failed: the next start finds the former session while nothing of the new one was stored,
    // and from then on nobody's.
    void ExpectNoHalfFile(std::size_t nth) {
        if (dropped_ == 0 && platform.files.count("store/LIC0") == 1) {
            ++kept_;
            EXPECT_EQ(platform.files, filesBefore_) << nth;
            return;
        }
        ++dropped_;
        EXPECT_EQ(platform.files.count("store/LIC0"), 0u) << nth;
    }

    // The call has succeeded. Its identity alone may be missing.
    void ExpectSuccessor(const SignInRow& row, bool isWhole) {
        EXPECT_TRUE(IsSignedIn());
        if (row.successor == nullptr)
            return;
        std::string withoutSecret = row.successor;
        withoutSecret.erase(withoutSecret.find(kLongSecret), sizeof kLongSecret - 1);
        EXPECT_TRUE(State() == row.successor || (!isWhole && State() == withoutSecret)) << State();
    }

    // "token text, mark, secret, mode, id"
    std::string State() const {
        const auto& session = *context->registryClient;
        return std::string(session.token.text.c_str()) + ", " + std::to_string(session.token.present) + ", " +
               session.identitySecret.c_str() + ", " + std::to_string(session.contextMode) + ", " +
               session.contextId.c_str();
    }

    ResultCode code_ = ResultCode::kSuccess;
    std::string before_;      // State ahead of the call
    std::size_t former_ = 0;  // failed calls that left it
    std::size_t nobody_ = 0;  // that left nobody signed in
    std::map<std::string, std::string> filesBefore_;
    std::size_t kept_ = 0;     // failed calls that left the former session's file
    std::size_t dropped_ = 0;  // that left none
};

TEST_F(FlatExceptions, ASignInEndedByThePlatformIsNeverHalf) {
    static const struct {
        const char* name;
        Operation operation;
    } operations[] = {
        {"HttpRequest", Operation::HttpRequest},     {"FileSetSize", Operation::FileSetSize},
        {"FileWrite", Operation::FileWrite},         {"Encrypt", Operation::Encrypt},
        {"GetMachineIds", Operation::GetMachineIds},
    };
    for (const SignInRow& row : kSignIns) {
        for (const auto& operation : operations) {
            SCOPED_TRACE(std::string(row.name) + ", " + operation.name);
            Begin();
            std::size_t nth = 1;
            for (;; ++nth) {
                ASSERT_LT(nth, kMostSteps);
                Prepare(row);
                if (RunThrowing(operation.operation, nth, row.run) == Ending::kReturned)
                    break;
                ExpectNotHalf(row, nth);
            }
            EXPECT_EQ(code_, ResultCode::kSuccess);
            ExpectSuccessor(row, true);
            const bool isExchange = operation.operation == Operation::HttpRequest;
            EXPECT_EQ(former_, isExchange && row.successor != nullptr ? 1u : 0u);
            EXPECT_EQ(kept_, isExchange ? row.keeping : 0u);
            if (isExchange) {
                EXPECT_EQ(nth - 1, row.exchanges);
            } else if (operation.operation != Operation::GetMachineIds) {
                EXPECT_GE(nth - 1, 2u) << "one for each file";
            }
        }
    }
}

TEST_F(FlatExceptions, ASignInEndedByTheMemoryIsNeverHalf) {
    for (const SignInRow& row : kSignIns) {
        SCOPED_TRACE(row.name);
        Begin();
        std::size_t thrown = 0;
        for (std::size_t nth = 1;; ++nth) {
            ASSERT_LT(nth, kMostSteps);
            Prepare(row);
            bool hasFailed = false;
            const auto ending = RunStarved(nth, &hasFailed, row.run);
            if (!hasFailed)
                break;
            thrown += ending == Ending::kThrew ? 1 : 0;
            if (ending == Ending::kReturned && IsSuccess(code_))
                ExpectSuccessor(row, false);
            else
                ExpectNotHalf(row, nth);
        }
        EXPECT_EQ(code_, ResultCode::kSuccess);
        ExpectSuccessor(row, true);
        EXPECT_EQ(former_ > 5, row.successor != nullptr);
        EXPECT_GT(nobody_, 5u);
        EXPECT_EQ(kept_ > 5, row.keeping != 0);
        EXPECT_GT(dropped_, 5u);
        EXPECT_GT(thrown, 50u);
    }
}

constexpr struct RenewalRow {
    const char* name;
    ResultCode (*run)(ClientContext*);
    std::size_t exchanges;  // up to the end of the renewal
    const char* renewedState;
} kRenewals[] = {
    {"by another secret for another organisation",
     [](ClientContext* c) {
         return c->registryClient->ReauthorizeViaIdentity(kOtherSecret, 1, kOtherId, nullptr, nullptr);
     },
     2, "trust-token, 1, another-identity-secret-that-is-long, 1, another-organisation-with-a-long-name"},
    {"by another secret for the own context",
     [](ClientContext* c) {
         return c->registryClient->ReauthorizeViaIdentity(kOtherSecret, 0, "", nullptr, nullptr);
     },
     2, "own-token, 1, another-identity-secret-that-is-long, 1, organisation-with-a-name-that-is-long"},
};

class FlatRenewalExceptions : public FlatExceptions {
protected:
    void PrepareRenewal() {
        Start();
        auto& session = *context->registryClient;
        session.token = quillmarkclient_core::Token("former.e30.signature-of-some-length", true);
        session.identitySecret = kLongSecret;
        session.contextMode = 1;
        session.contextId = kLongId;
    }
    static constexpr char kFormer[] =
        "former.e30.signature-of-some-length, 1, identity-secret-that-is-longer-than-short, 1, "
        "organisation-with-a-name-that-is-long";
};

TEST_F(FlatRenewalExceptions, EndedByThePlatformPutsTheFormerSessionBack) {
    for (const RenewalRow& row : kRenewals) {
        SCOPED_TRACE(row.name);
        std::size_t nth = 1;
        for (;; ++nth) {
            ASSERT_LT(nth, kMostSteps);
            PrepareRenewal();
            if (RunThrowing(Operation::HttpRequest, nth, row.run) == Ending::kReturned)
                break;
            EXPECT_EQ(State(), kFormer) << nth;
        }
        EXPECT_EQ(nth - 1, row.exchanges);
        EXPECT_EQ(State(), row.renewedState);
    }
}

TEST_F(FlatRenewalExceptions, EndedByTheMemoryPutsTheFormerSessionBack) {
    for (const RenewalRow& row : kRenewals) {
        SCOPED_TRACE(row.name);
        std::size_t thrown = 0;
        for (std::size_t nth = 1;; ++nth) {
            ASSERT_LT(nth, kMostSteps);
            PrepareRenewal();
            bool hasFailed = false;
            const auto ending = RunStarved(nth, &hasFailed, row.run);
            if (!hasFailed)
                break;
            if (ending == Ending::kThrew)
                ++thrown;
            const bool isRenewed = ending == Ending::kReturned && IsSuccess(code_);
            EXPECT_EQ(State(), isRenewed ? row.renewedState : kFormer) << nth;
        }
        EXPECT_GT(thrown, 20u);
        EXPECT_EQ(State(), row.renewedState);
    }
}

TEST_F(FlatRenewalExceptions, OnTheWayOfARequestPutsTheFormerSessionBack) {
    static const struct {
        const char* name;
        std::size_t nth;
        const char* state;
    } rows[] = {
        {"the request itself", 1, kFormer},
        {"the renewal", 2, kFormer},
        {"its context", 3, kFormer},
        {"the request again", 4,
         "trust-token, 1, identity-secret-that-is-longer-than-short, 1, "
         "organisation-with-a-name-that-is-long"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        PrepareRenewal();
        service.Answer(test::kUser, 401, "");
        quillmarkclient::CustomerData* data = nullptr;
        EXPECT_EQ(RunThrowing(Operation::HttpRequest, row.nth,
                              [&](ClientContext* c) { return GetCustomerData(c, &data, nullptr); }),
                  Ending::kThrew);
        EXPECT_EQ(State(), row.state);
    }
}

TEST_F(FlatRenewalExceptions, AChoiceEndedByTheMemoryChangesAllOrNothing) {
    std::size_t thrown = 0;
    for (std::size_t nth = 1;; ++nth) {
        ASSERT_LT(nth, kMostSteps);
        PrepareRenewal();
        context->registryClient->contextMode = 0;
        const std::string before = State();
        bool hasFailed = false;
        const auto ending = RunStarved(nth, &hasFailed, [](ClientContext* c) {
            return c->registryClient->SelectContext(1, kOtherId, nullptr, nullptr);
        });
        if (!hasFailed)
            break;
        thrown += ending == Ending::kThrew ? 1 : 0;
        EXPECT_EQ(State(), before) << nth;
    }
    EXPECT_GT(thrown, 10u);
    EXPECT_EQ(State(),
              "trust-token, 1, identity-secret-that-is-longer-than-short, 1, "
              "another-organisation-with-a-long-name");
}

}  // namespace
