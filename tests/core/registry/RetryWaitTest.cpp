#include "core/src/registry/RetryWait.h"

#include <algorithm>
#include <random>
#include <regex>
#include <string>

#include "tests/core/registry/RegistryFixture.h"

namespace {

using registry::ComputeRetryWait;
using registry::RetryPolicy;
using test::Text;

constexpr RetryPolicy kDefaults = {5, 1500, 1000, 30000};

RetryPolicy Policy(std::uint32_t floorMs, std::uint32_t capMs) {
    return {5, 1500, floorMs, capMs};
}

TEST(RetryWait, WaitsBetweenFloorAndCap) {
    const struct {
        const char* name;
        std::string retryAfter;
        std::uint32_t waitMs;
    } rows[] = {
        {"empty", "", 1000},
        {"a lone minus", "-", 1000},
        {"nought", "0", 1000},
        {"many noughts", "0000", 1000},
        {"minus nought", "-0", 1000},
        {"one second is the floor", "1", 1000},
        {"two", "2", 2000},
        {"below the cap", "29", 29000},
        {"the cap", "30", 30000},
        {"above the cap", "31", 30000},
        {"far above the cap", "600", 30000},
        {"a day", "86400", 30000},
        {"leading noughts", "0002", 2000},
        {"a number behind 10000 noughts", std::string(10000, '0') + "3", 3000},

        {"the last that does not wrap", "4294967", 30000},
        {"the first that wraps: 704 ms", "4294968", 1000},
        {"1704 ms", "4294969", 1704},
        {"2704 ms", "4294970", 2704},
        {"29704 ms", "4294997", 29704},
        {"30704 ms", "4294998", 30000},
        {"twice round: 408 ms", "8589935", 1000},
        {"twice round: 1408 ms", "8589936", 1408},
        {"a whole number of rounds: 0 ms", "536870912", 1000},
        {"half a range: 2^31 ms", "1610612736", 1000},
        {"the largest number", "2147483647", 30000},
        {"one more is no number", "2147483648", 1000},
        {"the last in front of the multiplication's limit", "214748364", 30000},
        {"the limit and a digit", "2147483640", 30000},
        {"one above the limit is a number yet: 200 ms", "214748365", 1000},
        {"one above the limit and a digit", "2147483650", 1000},
        {"2^32 is not nought but no number", "4294967296", 1000},
        {"2^32 + 2 is not two", "4294967298", 1000},
        {"2^64 + 2 is not two", "18446744073709551618", 1000},
        {"10000 nines", std::string(10000, '9'), 1000},
        {"10000 digits that begin small", "1" + std::string(9999, '0'), 1000},

        {"below nought", "-5", 1000},
        {"the least number", "-2147483648", 1000},
        {"below the least", "-2147483649", 1000},
        {"two minuses", "--5", 1000},
        {"a minus behind", "5-", 1000},
        {"a plus", "+5", 1000},

        {"a blank in front", " 5", 1000},
        {"a blank behind", "5 ", 1000},
        {"a blank within", "1 0", 1000},
        {"a tabulator", "\t5", 1000},
        {"a line's end", "5\r", 1000},
        {"a word", "soon", 1000},
        {"a word behind", "5s", 1000},
        {"a letter in front", "s5", 1000},
        {"an HTTP date", "Wed, 21 Oct 2015 07:28:00 GMT", 1000},
        {"a fraction", "2.5", 1000},
        {"a comma", "2,5", 1000},
        {"an exponent", "2e3", 1000},
        {"hexadecimal", "0x10", 1000},
        {"the byte in front of the digits", "5/", 1000},
        {"the byte behind the digits", "5:", 1000},
        {"a zero byte behind", std::string("5\0", 2), 1000},
        {"Arabic-Indic digits", "\xD9\xA2\xD9\xA0", 1000},
        {"full-width digits", "\xEF\xBC\x95", 1000},
        {"superscript two", "\xC2\xB2", 1000},
        {"a byte above 127", "5\xFF", 1000},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ComputeRetryWait(Text(row.retryAfter), kDefaults), row.waitMs) << row.name;
}

TEST(RetryWait, FollowsThePolicy) {
    const struct {
        const char* name;
        const char* retryAfter;
        RetryPolicy policy;
        std::uint32_t waitMs;
    } rows[] = {
        {"raised to the floor", "2", Policy(5000, 30000), 5000},
        {"at the floor", "5", Policy(5000, 30000), 5000},
        {"above the floor", "6", Policy(5000, 30000), 6000},
        {"cut to the cap", "6", Policy(1000, 2500), 2500},
        {"a cap between two seconds", "3", Policy(1000, 2999), 2999},
        {"floor and cap alike", "7", Policy(4000, 4000), 4000},
        {"empty waits the floor", "", Policy(5000, 30000), 5000},
        {"empty is cut to a lower cap", "", Policy(5000, 3000), 3000},
        {"a minus too", "-", Policy(5000, 3000), 3000},
        {"a word too", "soon", Policy(5000, 3000), 3000},
        {"nought too", "0", Policy(5000, 3000), 3000},
        {"below nought too", "-5", Policy(5000, 3000), 3000},
        {"no number too", "2147483648", Policy(5000, 3000), 3000},
        {"a number below the floor is not cut", "2", Policy(5000, 3000), 5000},
        {"one between cap and floor neither", "4", Policy(5000, 3000), 5000},
        {"one at the floor is cut", "5", Policy(5000, 3000), 3000},
        {"one above both is cut", "9", Policy(5000, 3000), 3000},
        {"a wrapped one below the floor is not cut", "4294968", Policy(5000, 3000), 5000},
        {"a floor of one", "4294968", Policy(1, 30000), 704},
        {"the limit's neighbour", "214748365", Policy(1, 30000), 200},
        {"a wrap to nought", "536870912", Policy(1, 30000), 1},
        {"no floor at all", "536870912", Policy(0, 30000), 0},
        {"a cap of the full width", "4294967", Policy(1000, 4294967295), 4294967000},
        {"the upper half is not below nought", "2147484", Policy(1000, 4294967295), 2147484000},
        {"a floor of the full width", "4294967", Policy(4294967295, 30000), 4294967295},
        {"a floor of the upper half", "2", Policy(3000000000, 30000), 3000000000},
        {"the largest number", "2147483647", Policy(1000, 4294967295), 4294966296},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ComputeRetryWait(row.retryAfter, row.policy), row.waitMs) << row.name;
}

// The same rule from its description: by a pattern and in wide numbers, cut to 32 bits at the end.
std::uint32_t Expected(const std::string& text, const RetryPolicy& policy) {
    const std::uint32_t other = std::min(policy.idempotencyWaitMs, policy.idempotencyWaitCapMs);
    static const std::regex number("0*([1-9][0-9]{0,9})");
    std::smatch match;
    if (!std::regex_match(text, match, number))
        return other;
    const unsigned long long seconds = std::stoull(match[1]);
    if (seconds >= 2147483648ULL)
        return other;
    const auto ms = static_cast<std::uint32_t>(seconds * 1000ULL % 4294967296ULL);
    if (ms < policy.idempotencyWaitMs)
        return policy.idempotencyWaitMs;
    return std::min(ms, policy.idempotencyWaitCapMs);
}

class RetryWaitProperty : public ::testing::Test {
protected:
    // From nothing to the full width, with small numbers as likely as large ones.
    std::uint32_t AnyNumber() { return static_cast<std::uint32_t>(random()) >> (random() % 32); }

    std::string AnyText() {
        static const std::string alphabet = "0123456789012345678901234567890123456789- +.a\xD9";
        std::string text;
        for (std::size_t left = random() % 13; left != 0; --left)
            text += alphabet[random() % alphabet.size()];
        return text;
    }

    void ExpectAgreement(const std::string& text) {
        const RetryPolicy policy = Policy(AnyNumber(), AnyNumber());
        ASSERT_EQ(ComputeRetryWait(Text(text), policy), Expected(text, policy))
            << "\"" << text << "\" floor " << policy.idempotencyWaitMs << " cap "
            << policy.idempotencyWaitCapMs;
        ASSERT_EQ(ComputeRetryWait(Text(text), kDefaults), Expected(text, kDefaults)) << text;
    }

    std::mt19937 random{4294968};
};

TEST_F(RetryWaitProperty, AgreesForAnyNumber) {
    for (int round = 0; round < 20000 && !HasFatalFailure(); ++round)
        ExpectAgreement(std::to_string(AnyNumber()));
}

TEST_F(RetryWaitProperty, AgreesRoundEveryWrap) {
    for (std::uint64_t multiple = 1; multiple <= 500 && !HasFatalFailure(); ++multiple) {
        const std::uint64_t wrap = multiple * 4294967296ULL / 1000;
        for (std::uint64_t seconds = wrap - 2; seconds <= wrap + 33; seconds += 5)
            ExpectAgreement(std::to_string(seconds));
    }
}

TEST_F(RetryWaitProperty, AgreesForAnyText) {
    for (int round = 0; round < 20000 && !HasFatalFailure(); ++round)
        ExpectAgreement(AnyText());
}

}  // namespace
