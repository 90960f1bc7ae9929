// Base64 against a second opinion, the openssl command.
#include <gtest/gtest.h>

#include <string>

#include "tests/core/system/Base64Texts.h"
#include "tests/support/Command.h"
#include "tests/support/RandomText.h"

namespace {

using test::Decode;
using test::Decoded;
using test::Encoded;
using test::RandomBytes;

TEST(Base64Command, AgreesWithOpenSslBothWays) {
    for (const std::size_t size : {1u, 2u, 3u, 47u, 48u, 49u, 255u, 1000u, 4096u}) {
        const std::string bytes = RandomBytes(size, static_cast<unsigned>(size));
        const std::string text = Encoded(bytes);
        EXPECT_EQ(text, test::Output("openssl base64 -e -A", bytes)) << size;
        EXPECT_EQ(test::Output("openssl base64 -d -A", text), bytes) << size;
        EXPECT_EQ(Decode(test::Output("openssl base64 -e", bytes)), (Decoded{true, bytes}))
            << size << ", with line breaks";
    }
}

}  // namespace
