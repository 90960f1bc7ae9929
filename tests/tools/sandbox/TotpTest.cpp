#include "tools/sandbox/Totp.h"

#include <gtest/gtest.h>

#include "tests/support/Command.h"

namespace {

using sandbox::acceptedTotpStep;
using sandbox::decodeBase32;
using sandbox::totpCode;
using sandbox::totpStep;

constexpr const char* kRfcKey = "12345678901234567890";
constexpr const char* kRfcKeyBase32 = "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ";

// RFC 6238, appendix B, the rows of SHA-1.
TEST(Totp, GivesTheCodesOfTheStandard) {
    static const struct {
        const char* name;
        std::int64_t time;
        const char* code;
    } rows[] = {
        {"1970-01-01 00:00:59", 59, "94287082"},         {"2005-03-18 01:58:29", 1111111109, "07081804"},
        {"2005-03-18 01:58:31", 1111111111, "14050471"}, {"2009-02-13 23:31:30", 1234567890, "89005924"},
        {"2033-05-18 03:33:20", 2000000000, "69279037"}, {"2603-10-11 11:33:20", 20000000000, "65353130"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(totpCode(kRfcKey, totpStep(row.time), 8), row.code) << row.name;
}

TEST(Totp, AgreesWithOathtool) {
    static const struct {
        const char* name;
        const char* secret;
        std::int64_t time;
    } rows[] = {
        {"the key of the standard", kRfcKeyBase32, 59},
        {"the key of the seed", "JBSWY3DPEHPK3PXPJBSWY3DPEHPK3PXP", 1700000000},
        {"the last second of a step", "JBSWY3DPEHPK3PXPJBSWY3DPEHPK3PXP", 1700000009},
        {"the first second of the next", "JBSWY3DPEHPK3PXPJBSWY3DPEHPK3PXP", 1700000010},
        {"a short key", "MFRGGZDF", 1234567890},
    };
    for (const auto& row : rows) {
        const auto said = test::RunCommand("oathtool --totp --base32 --now '@" + std::to_string(row.time) +
                                           "' " + row.secret);
        ASSERT_EQ(said.exitCode, 0) << row.name << ": " << said.output;
        EXPECT_EQ(totpCode(decodeBase32(row.secret).value_or(""), totpStep(row.time)) + "\n", said.output)
            << row.name;
    }
}

TEST(Totp, ReadsBase32) {
    static const struct {
        const char* name;
        const char* text;
        const char* bytes;  // null: refused
    } rows[] = {
        {"empty", "", ""},
        {"one byte", "MY", "f"},
        {"one byte, padded", "MY======", "f"},
        {"six bytes", "MZXW6YTBOI", "foobar"},
        {"lower case", "mzxw6ytboi", "foobar"},
        {"in groups", "MZXW 6YTB OI", "foobar"},
        {"the key of the standard", kRfcKeyBase32, kRfcKey},
        {"a digit outside the alphabet", "MZXW1", nullptr},
        {"a byte outside the alphabet", "MZ-W", nullptr},
    };
    for (const auto& row : rows) {
        const auto bytes = decodeBase32(row.text);
        ASSERT_EQ(bytes.has_value(), row.bytes != nullptr) << row.name;
        if (bytes) {
            EXPECT_EQ(*bytes, row.bytes) << row.name;
        }
    }
}

TEST(Totp, AcceptsTheStepAndItsNeighboursOnce) {
    constexpr std::int64_t time = 1700000000;
    const std::int64_t step = totpStep(time);
    const struct {
        const char* name;
        std::int64_t codeOf;
        std::int64_t lastUsed;
        bool accepted;
    } rows[] = {
        {"the step itself", step, 0, true},
        {"the step before", step - 1, 0, true},
        {"the step behind", step + 1, 0, true},
        {"two steps before", step - 2, 0, false},
        {"two steps behind", step + 2, 0, false},
        {"used already", step, step, false},
        {"older than the used one", step - 1, step, false},
        {"newer than the used one", step + 1, step, true},
    };
    for (const auto& row : rows) {
        const auto accepted = acceptedTotpStep(kRfcKey, totpCode(kRfcKey, row.codeOf), time, row.lastUsed);
        ASSERT_EQ(accepted.has_value(), row.accepted) << row.name;
        if (accepted) {
            EXPECT_EQ(*accepted, row.codeOf) << row.name;
        }
    }
}

TEST(Totp, RefusesWhatIsNoCode) {
    const std::string code = totpCode(kRfcKey, totpStep(59));
    for (const std::string& text :
         {std::string(), std::string("abcdef"), code + "0", code.substr(1), " " + code})
        EXPECT_FALSE(acceptedTotpStep(kRfcKey, text, 59, 0)) << "code \"" << text << "\"";
}

}  // namespace
