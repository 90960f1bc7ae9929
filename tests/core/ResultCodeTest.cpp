#include "core/src/ResultCode.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string_view>

namespace {

constexpr ResultCode Code(std::uint32_t number) {
    return static_cast<ResultCode>(number);
}

// The hosts' view of the table: numbers, texts, and the enumerator that bears each number.
const struct {
    std::uint32_t number;
    ResultCode enumerator;
    const char* text;
} kRows[] = {
    {0x00000000, ResultCode::kSuccess, ""},
    {0x80000001, ResultCode::kInternalError, "Internal program error"},
    {0x80000002, ResultCode::kInvalidParameters, "Invalid parameters."},
    {0x80000003, ResultCode::kInsufficientResources, "Insufficiednt system resources"},
    {0x80000004, ResultCode::kNotImplemented, "Not implemented"},
    {0x80000005, ResultCode::kBufferTooSmall, "Buffer too small"},
    {0x80000006, ResultCode::kRequestNotSent, "Problems sending network requests"},
    {0x80000007, ResultCode::kVersionMismatch, "Given VQM version is not match library version"},
    {0x80000009, ResultCode::kCannotDeserialize, "Can not deserialized data"},
    {0x8000000A, ResultCode::kCannotSerialize, "Can not serialized data"},
    {0x8000000B, ResultCode::kNotInitialized,
     "ABClient Manager is not initialized. First call init() method"},
    {0x8000000C, ResultCode::kServiceMaintenance, "Tessaly service is under maintenance, please, try later"},
    {0x81000001, ResultCode::kFileOpen, "Can not open a file"},
    {0x81000002, ResultCode::kFileRead, "Can not read a file"},
    {0x81000003, ResultCode::kFileWrite, "Can not write a file"},
    {0x81000004, ResultCode::kFileSeek, "Can not seek a file"},
    {0x81000005, ResultCode::kMachineId, "Can not get an unique machine id"},
    {0x81000006, ResultCode::kNetwork, "Problem with network connection"},
    {0x81000007, ResultCode::kSend, "Can not send a request"},
    {0x81000008, ResultCode::kFileGetSize, "Can not get a file size"},
    {0x81000009, ResultCode::kFileSetSize, "Can not set a file size"},
    {0x8100000A, ResultCode::kGetTime, "Can not get a current time"},
    {0x8100000B, ResultCode::kFileDelete, "Can not delete a file"},
    {0x8100000C, ResultCode::kCryptInit, "Problem with crypt initialization"},
    {0x8100000D, ResultCode::kVerifySignature, "Can not verify a signature"},
    {0x8100000E, ResultCode::kEncrypt, "Can not encrypt data"},
    {0x8100000F, ResultCode::kDecrypt, "Can not decrypt data"},
    {0x81000010, ResultCode::kRsaDecrypt, "Can not decrypt data using RSA"},
    {0x81000011, ResultCode::kHash, "Can not hash data"},
    {0x81000012, ResultCode::kXmlParse, "Can not parse XML file"},
    {0x81000013, ResultCode::kJsonParse, "Can not parse JSON file"},
    {0x81000014, ResultCode::kTimedOut, "The HTTP request timed out"},
    {0x82000001, ResultCode::kRegistryNotInitialized, "Registry client is not initialized"},
    {0x82000002, ResultCode::kAuthorizationDenied, "Authorization is denied"},
    {0x82000003, ResultCode::kInternalServiceError, "Internal registry service error"},
    {0x82000004, ResultCode::kCompatibilityBroken, "Registry back compatibility is broken"},
    {0x82000005, ResultCode::kCustomerNotFound, "Customer does not exist"},
    {0x82000006, ResultCode::kInvalidLoginOrPassword, "Invalid login or password"},
    {0x82000007, ResultCode::kEmailUnverifiedOrBlocked, "Email is not verified or account is blocked"},
    {0x82000008, ResultCode::kAccountExists, "UC account already exists"},
    {0x82000009, ResultCode::kSocialAccountLinked,
     "Social account has been already linked to another UC account"},
    {0x8200000A, ResultCode::kAccessDenied, "Access is denied"},
    {0x8200000B, ResultCode::kTooManyContexts, "Too many customer contexts"},
    {0x8200000C, ResultCode::kContextNotFound, "Customer context is not found"},
    {0x8200000D, ResultCode::kTooManyRequests, "Too many requests from your address"},
    {0x8200000E, ResultCode::kNotFound, "Not found"},
    {0x8200000F, ResultCode::kTemporarilyLocked,
     "Account was temporary locked, please try again later in several minutes"},
    {0x82000010, ResultCode::kLocked,
     "Account was locked due security reasons, please contact support team to unlock your account"},
    {0x82000011, ResultCode::kSignUpNotFinalized, "Sign up must be finalized before signin"},
    {0x82000012, ResultCode::kSecondFactorRequired, "Second factor required"},
    {0x82000013, ResultCode::kInvalidVerificationCode, "Invalid verification code"},
    {0x85000001, ResultCode::kSecretsFormat, "Invalid secrets JSON format"},
    {0x85000002, ResultCode::kSecretsFileNotFound, "Secrets file not found"},
};

TEST(ResultCode, TextsAreToTheLetter) {
    for (const auto& row : kRows)
        EXPECT_STREQ(GetErrorText(Code(row.number)), row.text) << std::hex << row.number;
}

TEST(ResultCode, EnumeratorsBearTheirNumbers) {
    for (const auto& row : kRows)
        EXPECT_EQ(static_cast<std::uint32_t>(row.enumerator), row.number) << row.text;
}

TEST(ResultCode, OtherNumbersAreUnknown) {
    static const struct {
        const char* name;
        std::uint32_t number;
    } rows[] = {
        {"a success other than 0", 0x00000001},
        {"the largest success", 0x7FFFFFFF},
        {"below the general family", 0x80000000},
        {"general: never had a text", 0x80000008},
        {"general: behind the last", 0x8000000D},
        {"platform: before the first", 0x81000000},
        {"platform: behind the last", 0x81000015},
        {"service: before the first", 0x82000000},
        {"service: behind the last", 0x82000014},
        {"service: two behind the last", 0x82000015},
        {"backup metadata", 0x83000001},
        {"update feed, first", 0x84000001},
        {"update feed, in normal use", 0x84000004},
        {"update feed, last in use", 0x84000006},
        {"secrets: behind the last", 0x85000003},
        {"the largest number", 0xFFFFFFFF},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(GetErrorText(Code(row.number)), "Unknown error code") << row.name;
}

TEST(ResultCode, EveryNumberNearTheTableAnswersWithItsOwnTextOrUnknown) {
    std::set<std::uint32_t> known;
    for (const auto& row : kRows)
        known.insert(row.number);
    for (const std::uint32_t family :
         {0x80000000u, 0x81000000u, 0x82000000u, 0x83000000u, 0x84000000u, 0x85000000u}) {
        for (std::uint32_t i = 0; i < 0x40; ++i) {
            const bool unknown = GetErrorText(Code(family + i)) == std::string_view("Unknown error code");
            EXPECT_EQ(unknown, known.count(family + i) == 0) << std::hex << family + i;
        }
    }
}

TEST(ResultCode, SuccessIsBit31Clear) {
    static const struct {
        const char* name;
        std::uint32_t number;
        bool success;
    } rows[] = {
        {"plain success", 0, true},           {"one", 1, true},
        {"the largest", 0x7FFFFFFF, true},    {"family bits without bit 31", 0x05000000, true},
        {"bit 31 alone", 0x80000000, false},  {"general", 0x80000001, false},
        {"platform", 0x81000014, false},      {"a choice of contexts", 0x8200000B, false},
        {"second factor", 0x82000012, false}, {"backup metadata", 0x83000001, false},
        {"update feed", 0x84000001, false},   {"secrets", 0x85000001, false},
        {"all bits", 0xFFFFFFFF, false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(IsSuccess(Code(row.number)), row.success) << row.name;
}

}  // namespace
