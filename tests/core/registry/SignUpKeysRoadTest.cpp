// The keys of a sign-up from one host to the next: over restarts, days, a lost file and a second client.
#include <gmock/gmock.h>

#include "tests/core/registry/RoadFixture.h"

namespace {

using sandbox::FaultKind;
using test::Exchanges;
using test::kCodeSignInPath;
using test::kFinalizeCodePath;
using test::kFinalizeTokenPath;
using test::kMapleIdPath;
using test::kNobody;
using test::SessionOf;
using testing::Each;

constexpr char kFinalizeByToken[] = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";
constexpr char kFinalizeByCode[] = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";
constexpr char kCode[] = "gp-code-newcomer-6";
constexpr std::int64_t kDay = 86400;

class SignUpKeysRoad : public test::SocialRoadFixture {
protected:
    // The key of a sign-up by token that the service never gets to see.
    std::string KeyOfACutRequest() {
        keys.clear();
        Disturb(FaultKind::cut, kFinalizeByToken);
        EXPECT_EQ(ByToken("newcomer"), ResultCode::kRequestNotSent);
        EXPECT_EQ(keys.size(), 1u);
        return keys.empty() ? "" : keys.back();
    }

    void LoseKeyFile() {
        EXPECT_TRUE(std::filesystem::remove(folder.PathOf("LIC2")));
        Restart();
    }

    // The whole file with one entry.
    [[nodiscard]] std::string FileOf(const std::string& hash, const std::string& key) const {
        return R"({"entries":[{"hash":")" + hash + R"(","key":")" + key + R"(","createdAt":")" +
               std::to_string(service.now()) + R"("}]})";
    }
};

// md5sum of "SIGNUP_FINALIZE|" and what makes the operation: provider, token and cause.
constexpr char kNewcomerHash[] = "9304512f6d1c97e47e2608500e157241";     // glowpass|gp-newcomer-6|trial|
constexpr char kNewcomerTooHash[] = "740900ca7c6c44e7e67a6324813d7a8a";  // maple-id|mi-newcomer-7|trial|

TEST_F(SignUpKeysRoad, TheFileHoldsTheKeyThatWasSent) {
    ASSERT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(test::ReadWhole(folder.PathOf("LIC2")), FileOf(kNewcomerHash, keys[0]));
}

TEST_F(SignUpKeysRoad, AKeyLivesForADay) {
    const std::string key = KeyOfACutRequest();
    service.advance(kDay - 1);
    EXPECT_EQ(KeyOfACutRequest(), key);
    Restart();
    EXPECT_EQ(KeyOfACutRequest(), key);
    service.advance(1);
    const std::string nextKey = KeyOfACutRequest();
    EXPECT_NE(nextKey, key);
    Restart();
    EXPECT_EQ(KeyOfACutRequest(), nextKey);
    service.advance(-1);
    EXPECT_NE(KeyOfACutRequest(), nextKey) << "made in the future";

    EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
    EXPECT_EQ(SignUpOf("newcomer"), "1, 1, 1");
}

TEST_F(SignUpKeysRoad, WhoWaitsForMoreThanADayStillGetsOneAccount) {
    WorkFor(0, 2 * kDay);
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kRequestNotSent);
    service.advance(kDay);
    Restart();
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kRequestNotSent);
    EXPECT_EQ(SignUpOf("newcomer"), "0, 10, 2");
    service.advance(kDay - 1);
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kRequestNotSent) << "the second work began a day later";
    EXPECT_EQ(SignUpOf("newcomer"), "0, 15, 2");
    WorkFor(0);
    service.advance(1);
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
    EXPECT_EQ(SignUpOf("newcomer"), "1, 16, 3");
}

// The code has expired long since, so that the service refuses the new key and keeps the account.
TEST_F(SignUpKeysRoad, AnAnswerThatWasLostADayAgoIsNotAskedForAgain) {
    Disturb(FaultKind::lost, kFinalizeByCode);
    EXPECT_EQ(ByCode(kCode, 1), ResultCode::kRequestNotSent);
    service.advance(kDay);
    Restart();
    Seen();
    EXPECT_EQ(ByCode(kCode, 1), ResultCode::kInvalidLoginOrPassword);
    EXPECT_EQ(Seen(), (Exchanges{{kFinalizeCodePath, 401}}));
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_NE(keys[1], keys[0]);
    EXPECT_EQ(ByCode(service.socialCode("newcomer"), 0), ResultCode::kSuccess);
    EXPECT_EQ(service.signUpOf("newcomer").made, 1);
}

TEST_F(SignUpKeysRoad, AServiceThatForgotTheKeyMakesNoSecondAccount) {
    Disturb(FaultKind::lost, kFinalizeByCode);
    EXPECT_EQ(ByCode(kCode, 1), ResultCode::kRequestNotSent);
    service.service().expire(sandbox::Perishable::idempotencyKeys);
    Seen();
    EXPECT_EQ(ByCode(kCode, 1), ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(Seen(), (Exchanges{{kFinalizeCodePath, 403}}));
    EXPECT_THAT(keys, Each(keys[0]));
    EXPECT_EQ(ByCode(kCode, 0), ResultCode::kSuccess);
    EXPECT_EQ(SignUpOf("newcomer"), "1, 2, 1");
}

TEST_F(SignUpKeysRoad, ALostFileCostsTheKeyOfADoneSignUp) {
    Disturb(FaultKind::lost, kFinalizeByCode);
    EXPECT_EQ(ByCode(kCode, 1), ResultCode::kRequestNotSent);
    LoseKeyFile();
    Seen();
    EXPECT_EQ(ByCode(kCode, 1), ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(Seen(), (Exchanges{{kFinalizeCodePath, 403}}));
    EXPECT_EQ(SessionOf(*client), kNobody);
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_NE(keys[1], keys[0]);
    EXPECT_EQ(ByCode(kCode, 0), ResultCode::kSuccess) << "the account is there";
    EXPECT_EQ(SignUpOf("newcomer"), "1, 2, 2");
}

TEST_F(SignUpKeysRoad, ALostFileCostsTheKeyOfAWorkedOnSignUp) {
    WorkFor(0, 60);
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kRequestNotSent);
    LoseKeyFile();
    service.advance(30);
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kRequestNotSent);
    EXPECT_EQ(SignUpOf("newcomer"), "0, 10, 2");
    service.advance(60);
    Restart();
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
    EXPECT_EQ(SignUpOf("newcomer"), "1, 11, 2");
    EXPECT_EQ(keys.back(), keys[5]);
}

TEST_F(SignUpKeysRoad, AFileThatIsLostUnderARunningHostIsWrittenWithTheNextKey) {
    const std::string key = KeyOfACutRequest();
    EXPECT_TRUE(std::filesystem::remove(folder.PathOf("LIC2")));
    EXPECT_EQ(KeyOfACutRequest(), key) << "the host remembers";
    EXPECT_FALSE(IsKeyFileThere());
    EXPECT_EQ(ByToken("newcomer-too"), ResultCode::kSuccess);
    Restart();
    EXPECT_EQ(KeyOfACutRequest(), key);
}

TEST_F(SignUpKeysRoad, WithoutAFolderToWriteAKeyLivesAsLongAsItsHost) {
    client = Started<test::CustomerClient>(folder.PathOf("missing/"));
    const std::string key = KeyOfACutRequest();
    EXPECT_EQ(KeyOfACutRequest(), key);
    client = Started<test::CustomerClient>(folder.PathOf("missing/"));
    EXPECT_NE(KeyOfACutRequest(), key);
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
    EXPECT_EQ(SignUpOf("newcomer"), "1, 1, 1");
}

TEST_F(SignUpKeysRoad, ASignUpOfAnotherCauseIsAnotherOperation) {
    WorkFor(0, 60);
    EXPECT_EQ(ByToken("newcomer", "trial"), ResultCode::kRequestNotSent);
    EXPECT_EQ(ByToken("newcomer", "gift"), ResultCode::kRequestNotSent);
    EXPECT_EQ(SignUpOf("newcomer"), "0, 10, 2");
    service.advance(60);
    EXPECT_EQ(ByToken("newcomer", "gift"), ResultCode::kSuccess);
    EXPECT_EQ(SignUpOf("newcomer"), "1, 11, 2");
    EXPECT_EQ(service.signUpOf("newcomer").cause, "gift");
}

TEST_F(SignUpKeysRoad, AKeyOfAnotherOperationIsRefusedAtOnce) {
    ASSERT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
    test::WriteWhole(folder.PathOf("LIC2"), FileOf(kNewcomerTooHash, keys.at(0)));
    Restart();
    Seen();
    EXPECT_EQ(ByToken("newcomer-too"), ResultCode::kCompatibilityBroken);
    EXPECT_EQ(Seen(), (Exchanges{{kMapleIdPath, 404}, {kFinalizeTokenPath, 409}}));
    EXPECT_EQ(errorInfo.errorCode, "IDEMPOTENCY_KEY_REUSED");
    EXPECT_EQ(waits.size(), 0u);
    EXPECT_EQ(service.signUpOf("newcomer-too").made, 0);
}

TEST_F(SignUpKeysRoad, ASecondClientFindsTheKeyOfTheFirst) {
    WorkFor(0, 60);
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kRequestNotSent);
    const auto first = std::move(client);
    Restart();
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kRequestNotSent);
    service.advance(60);
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
    EXPECT_EQ(SignUpOf("newcomer"), "1, 11, 1");
}

// Neither knows the other's key: the service gets two, and makes one account.
TEST_F(SignUpKeysRoad, TwoClientsThatBeganTogetherHaveTwoKeys) {
    auto first = std::move(client);
    Restart();
    auto second = std::move(client);
    WorkFor(0, 60);
    for (auto* const turn : {&first, &second, &first, &second}) {
        client = std::move(*turn);
        EXPECT_EQ(ByCode(kCode, 1), ResultCode::kRequestNotSent);
        *turn = std::move(client);
    }
    EXPECT_EQ(SignUpOf("newcomer"), "0, 20, 2");

    service.advance(60);
    Seen();
    client = std::move(first);
    EXPECT_EQ(ByCode(kCode, 1), ResultCode::kSuccess);
    client = std::move(second);
    EXPECT_EQ(ByCode(kCode, 1), ResultCode::kEmailUnverifiedOrBlocked) << "there is an account";
    EXPECT_EQ(SessionOf(*client), kNobody);
    const Exchanges seen = Seen();
    ASSERT_EQ(seen.size(), 5u);
    EXPECT_EQ(seen[0], (test::Exchange{kFinalizeCodePath, 204}));
    EXPECT_EQ(seen[1], (test::Exchange{kCodeSignInPath, 200}));
    EXPECT_EQ(seen[4], (test::Exchange{kFinalizeCodePath, 403}));
    EXPECT_EQ(SignUpOf("newcomer"), "1, 22, 2");

    Restart();
    EXPECT_EQ(ByCode(kCode, 1), ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(keys.back(), keys[5]) << "the second wrote the file last";
}

}  // namespace
