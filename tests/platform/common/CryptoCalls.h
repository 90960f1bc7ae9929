// Short ways to call the crypto operations.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "platform/common/Crypto.h"

namespace test {

inline std::uint32_t Size(const std::string& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

/// What VerifySignature says with success; 4711 when it says nothing.
inline std::uint32_t Verdict(const std::string& keyText, const std::string& message,
                             const std::string& signature) {
    std::uint32_t verdict = 4711;
    EXPECT_EQ(quillmarkclient_common::VerifySignature(keyText.c_str(), message.c_str(), signature.c_str(),
                                                      Size(signature), &verdict, nullptr),
              0u);
    return verdict;
}

}  // namespace test
