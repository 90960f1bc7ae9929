#include "portable_stl/expected.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "portable_stl/string.h"

namespace {

using namespace portable_stl;
using Text = expected<string, portable_stl_error>;
using Done = expected<void, portable_stl_error>;
using ErrorAccess = bad_expected_access<portable_stl_error, false_type>;

const char* const kLongText = "a text that is too long for the short form";

Text Failed() {
    return unexpected(portable_stl_error::out_of_memory);
}

TEST(Expected, HoldsAValueOrAnError) {
    const Text good(string("value"));
    EXPECT_TRUE(good.has_value());
    EXPECT_TRUE(static_cast<bool>(good));
    EXPECT_STREQ(good.value().c_str(), "value");

    const Text bad = Failed();
    EXPECT_FALSE(bad.has_value());
    EXPECT_FALSE(static_cast<bool>(bad));
    EXPECT_EQ(bad.error(), portable_stl_error::out_of_memory);
}

TEST(Expected, VoidHoldsSuccessOrAnError) {
    EXPECT_TRUE(Done().has_value());
    EXPECT_NO_THROW(Done().value());

    const Done bad = unexpected(portable_stl_error::size_too_large);
    EXPECT_FALSE(bad);
    EXPECT_EQ(bad.error(), portable_stl_error::size_too_large);
}

// Runs `access` and tells what it threw, as "error number: text".
template <class Access>
std::string ThrownBy(Access access) {
    try {
        access();
    } catch (const ErrorAccess& thrown) {
        return std::to_string(static_cast<unsigned>(thrown.error())) + ": " + thrown.what();
    }
    return "nothing";
}

TEST(Expected, ValueOfAnErrorThrows) {
    const std::string text = ": bad access to portable_stl::expected without expected value";
    Text text1 = Failed();
    const Text text2 = Failed();
    const Done done = unexpected(portable_stl_error::size_too_large);
    EXPECT_EQ(ThrownBy([&] { text1.value(); }), "3" + text) << "mutable";
    EXPECT_EQ(ThrownBy([&] { text2.value(); }), "3" + text) << "const";
    EXPECT_EQ(ThrownBy([&] { std::move(text1).value(); }), "3" + text) << "moved";
    EXPECT_EQ(ThrownBy([&] { done.value(); }), "2" + text) << "void";
}

TEST(Expected, CopiesAndMovesWhatItHolds) {
    Text source{string(kLongText)};
    Text copy(source);
    EXPECT_STREQ(copy.value().c_str(), kLongText);
    EXPECT_STREQ(source.value().c_str(), kLongText);

    const char* const block = source.value().data();
    Text moved(std::move(source));
    EXPECT_EQ(moved.value().data(), block) << "a move takes the block over";

    copy = Failed();
    EXPECT_EQ(copy.error(), portable_stl_error::out_of_memory) << "value replaced by error";
    copy = moved;
    EXPECT_STREQ(copy.value().c_str(), kLongText) << "error replaced by value";
    copy = std::move(moved);
    EXPECT_EQ(copy.value().data(), block) << "value replaced by value";

    const Text badCopy(Failed());
    EXPECT_EQ(Text(badCopy).error(), portable_stl_error::out_of_memory) << "error copied";
}

TEST(Expected, MovedOutValueBelongsToTheTaker) {
    Text source{string(kLongText)};
    const char* const block = source.value().data();
    const string taken = std::move(source).value();
    EXPECT_EQ(taken.data(), block);
}

TEST(Expected, MovesDoNotThrow) {
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<Text>);
    EXPECT_TRUE(std::is_nothrow_destructible_v<Text>);
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<Done>);
}

}  // namespace
