#include "portable_stl/exception.h"

#include <gtest/gtest.h>

#include <exception>
#include <type_traits>

#include "tests/support/VirtualSlot.h"

namespace {

using namespace portable_stl;
using PlainAccess = bad_expected_access<void, true_type>;
using ErrorAccess = bad_expected_access<portable_stl_error, false_type>;

TEST(Exception, WhatGivesTheFixedText) {
    const bad_alloc noMemory;
    const logic_error logic;
    const length_error length;
    const out_of_range range;
    const PlainAccess plainAccess;
    const ErrorAccess errorAccess(portable_stl_error::out_of_memory);
    const struct {
        const char* name;
        const exception& thrown;
        const char* text;
    } rows[] = {
        {"bad_alloc", noMemory, "bad_alloc error from portable_stl."},
        {"logic_error", logic, "logical error from portable_stl."},
        {"length_error", length, "length error from portable_stl."},
        {"out_of_range", range, "out of range error from portable_stl."},
        {"access without error", plainAccess, "bad access to portable_stl::expected without expected value"},
        {"access with error", errorAccess, "bad access to portable_stl::expected without expected value"},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(row.thrown.what(), row.text) << row.name;
}

// The base of each, and no shorter way up.
template <class Derived, class Base>
constexpr bool kIsBelow = std::is_base_of_v<Base, Derived> && !std::is_same_v<Base, Derived>;

TEST(Exception, ClassesStandInTheirTree) {
    static const struct {
        const char* name;
        bool holds;
    } rows[] = {
        {"bad_alloc below exception", kIsBelow<bad_alloc, exception>},
        {"bad_alloc not below logic_error", !kIsBelow<bad_alloc, logic_error>},
        {"logic_error below exception", kIsBelow<logic_error, exception>},
        {"length_error below logic_error", kIsBelow<length_error, logic_error>},
        {"out_of_range below logic_error", kIsBelow<out_of_range, logic_error>},
        {"out_of_range not below length_error", !kIsBelow<out_of_range, length_error>},
        {"access below exception", kIsBelow<PlainAccess, exception>},
        {"access not below logic_error", !kIsBelow<PlainAccess, logic_error>},
        {"access with error below access", kIsBelow<ErrorAccess, PlainAccess>},
        {"exception not below std::exception", !std::is_base_of_v<std::exception, exception>},
        {"exception has no text of its own", std::is_abstract_v<exception>},
    };
    for (const auto& row : rows)
        EXPECT_TRUE(row.holds) << row.name;
}

TEST(Exception, IsNotCaughtAsStandardException) {
    const auto thrower = [] {
        try {
            throw out_of_range();
        } catch (const std::exception&) {
            return "std::exception";
        } catch (const exception&) {
            return "portable_stl::exception";
        }
    };
    EXPECT_STREQ(thrower(), "portable_stl::exception");
}

TEST(Exception, AccessHoldsTheError) {
    EXPECT_EQ(ErrorAccess(portable_stl_error::size_too_large).error(), portable_stl_error::size_too_large);
    EXPECT_EQ(static_cast<unsigned>(portable_stl_error::size_too_large), 2u);
    EXPECT_EQ(static_cast<unsigned>(portable_stl_error::out_of_memory), 3u);
}

// The destructor takes the two slots in front.
TEST(Exception, WhatStandsBehindTheDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<exception>);
    EXPECT_EQ(test::SlotOf(&exception::what), 2u);
    EXPECT_EQ(test::SlotOf(&bad_alloc::what), 2u);
    EXPECT_EQ(test::SlotOf(&ErrorAccess::what), 2u);
}

}  // namespace
