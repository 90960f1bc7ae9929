// What libcrypto keeps for a thread goes with the thread: a host's pool makes new ones all its life.
#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "platform/common/Crypto.h"

namespace {

using namespace quillmarkclient_common;

std::atomic<long> liveBlocks = 0;

void* CountedMalloc(std::size_t size, const char*, int) {
    void* const block = std::malloc(size);
    liveBlocks += block != nullptr ? 1 : 0;
    return block;
}
void* CountedRealloc(void* block, std::size_t size, const char*, int) {
    void* const grown = std::realloc(block, size);
    liveBlocks += block == nullptr && grown != nullptr ? 1 : 0;
    return grown;
}
void CountedFree(void* block, const char*, int) {
    liveBlocks -= block != nullptr ? 1 : 0;
    std::free(block);
}
// libcrypto takes them only as long as it has no block.
const bool kIsCounted = CRYPTO_set_mem_functions(&CountedMalloc, &CountedRealloc, &CountedFree) == 1;

void UseEachKindOfOperation() {
    std::uint8_t* digest = nullptr;
    std::uint32_t size = 0;
    EXPECT_EQ(Md5("text", 4, &digest, &size, nullptr), 0u);
    FreeCryptoBuffer(digest, nullptr);
    char text[] = "8 bytes.";
    EXPECT_EQ(Encrypt("key", text, 8, nullptr), 0u);
    std::uint32_t verdict = 1;
    EXPECT_EQ(VerifySignature("no key", "m", "AAAA", 4, &verdict, nullptr), 0u);
    EXPECT_EQ(RsaPublicDecrypt("no key", "12345678", 8, &digest, &size, nullptr), 0x81000010u);
}

void OnThreadsOneAfterAnother(int count) {
    for (int thread = 0; thread < count; ++thread)
        std::thread(&UseEachKindOfOperation).join();
}

TEST(CommonCryptoThreads, LeaveNothingBehind) {
    ASSERT_TRUE(kIsCounted);
    OnThreadsOneAfterAnother(5);
    const long before = liveBlocks;
    EXPECT_GT(before, 0) << "what libcrypto keeps for the process";
    OnThreadsOneAfterAnother(50);
    EXPECT_EQ(liveBlocks, before);
}

TEST(CommonCryptoThreads, AThreadThatGoesOnGathersNothing) {
    UseEachKindOfOperation();
    const long before = liveBlocks;
    for (int round = 0; round < 50; ++round)
        UseEachKindOfOperation();
    EXPECT_EQ(liveBlocks, before);
}

}  // namespace
