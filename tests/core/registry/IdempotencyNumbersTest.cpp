// The process's numbers keep keys apart that threads make in the same second.
#include <algorithm>
#include <set>
#include <thread>

#include "tests/core/registry/KeyStoreFixture.h"

namespace {

using test::Text;

constexpr std::size_t kThreads = 8;

// Runs `work(i)` on kThreads threads and waits for them.
template <class Work>
void OnThreads(Work work) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(NextKeyNumber, GivesEachNumberOnce) {
    constexpr std::size_t kEach = 20000;
    const std::uint64_t before = registry::NextKeyNumber();
    std::vector<std::vector<std::uint64_t>> numbers(kThreads);
    OnThreads([&numbers](std::size_t thread) {
        for (std::size_t i = 0; i < kEach; ++i)
            numbers[thread].push_back(registry::NextKeyNumber());
    });
    std::vector<std::uint64_t> all;
    for (const auto& own : numbers) {
        EXPECT_TRUE(std::is_sorted(own.begin(), own.end()));
        all.insert(all.end(), own.begin(), own.end());
    }
    std::sort(all.begin(), all.end());
    ASSERT_EQ(all.size(), kThreads * kEach);
    for (std::size_t i = 0; i < all.size(); ++i)
        ASSERT_EQ(all[i], before + 1 + i);
    EXPECT_EQ(registry::NextKeyNumber(), before + 1 + all.size());
}

class KeysOnThreads : public test::KeyStoreTest {};

// Each thread has its client and its folder; machine, second and operation are the same for all.
TEST_F(KeysOnThreads, AreAllDifferent) {
    constexpr std::size_t kEach = 200;
    std::vector<std::vector<std::string>> keys(kThreads);
    OnThreads([&](std::size_t thread) {
        const std::string folder = std::to_string(thread) + "/";
        for (std::size_t i = 0; i < kEach; ++i) {
            test::EntryList fresh;
            keys[thread].push_back(Text(registry::GetOrCreateKey<test::SystemApi>(
                Text(folder), fresh, test::kScope, "content", context)));
        }
    });
    std::set<std::string> all;
    for (const auto& own : keys)
        all.insert(own.begin(), own.end());
    EXPECT_EQ(all.size(), kThreads * kEach);
}

}  // namespace
