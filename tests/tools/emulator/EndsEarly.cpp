// A GoogleTest program that ends with success in the middle of a test, or not, as its filter says.
#include <gtest/gtest.h>

#include <cstdlib>

TEST(EndsEarly, InTheMiddle) {
    std::_Exit(0);
}

TEST(EndsEarly, Fails) {
    FAIL();
}

TEST(EndsEarly, Passes) {}
