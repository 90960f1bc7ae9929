// The four key texts against a second opinion, the openssl command.
#include <gtest/gtest.h>

#include <string>

#include "tests/core/core/KeyTexts.h"
#include "tests/support/Command.h"

namespace {

using test::KeyText;
using test::kKeyTextRows;

TEST(KeyPiecesCommand, TextsAreRsaPublicKeysOfTheirSize) {
    for (const auto& row : kKeyTextRows) {
        const std::string description = test::Output("openssl pkey -pubin -noout -text", KeyText(row));
        EXPECT_NE(description.find(row.bits), std::string::npos) << row.name << "\n" << description;
        EXPECT_NE(description.find("Exponent: 65537 (0x10001)"), std::string::npos) << row.name << "\n"
                                                                                    << description;
        EXPECT_NE(description.find("Modulus:"), std::string::npos) << row.name;
    }
}

}  // namespace
