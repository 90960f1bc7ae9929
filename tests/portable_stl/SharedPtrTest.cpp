#include "portable_stl/shared_ptr.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/AllocationFailure.h"
#include "tests/support/VirtualSlot.h"

namespace {

using portable_stl::counter_block;
using portable_stl::counter_block_with_allocator_deleter;
using portable_stl::default_delete;
using portable_stl::make_shared;
using portable_stl::shared_ptr;
using Block = counter_block<portable_stl::atomic<long long>>;

struct Base {
    explicit Base(int& counter) : ended(counter) {}
    virtual ~Base() { ++ended; }
    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;
    int& ended;
};

struct Derived : Base {
    explicit Derived(int& counter) : Base(counter) {}
    ~Derived() override { ended += 10; }
};

TEST(SharedPtr, StartsEmpty) {
    const shared_ptr<Base> none;
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_FALSE(none);
    EXPECT_TRUE(none == nullptr);
    EXPECT_EQ(none.use_count(), 0);
    EXPECT_EQ(shared_ptr<Base>(nullptr).use_count(), 0);
    EXPECT_EQ(shared_ptr<Base>(none).use_count(), 0) << "copy of an empty one";
    EXPECT_EQ(shared_ptr<Base>(static_cast<Base*>(nullptr)).use_count(), 0);
}

TEST(SharedPtr, LastOwnerEndsTheObject) {
    int ended = 0;
    {
        shared_ptr<Base> first(new Base(ended));
        EXPECT_EQ(first.use_count(), 1);
        {
            const shared_ptr<Base> second(first);
            shared_ptr<Base> third;
            third = second;
            EXPECT_EQ(first.use_count(), 3);
            EXPECT_EQ(third.get(), first.get());
            EXPECT_TRUE(third == first);
            EXPECT_EQ(&third->ended, &ended);
            EXPECT_EQ(&(*third).ended, &ended);
        }
        EXPECT_EQ(first.use_count(), 1);
        EXPECT_EQ(ended, 0);
    }
    EXPECT_EQ(ended, 1);
}

TEST(SharedPtr, MovesHandTheShareOver) {
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<shared_ptr<Base>>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<shared_ptr<Base>>);
    int ended = 0;
    shared_ptr<Base> first(new Base(ended));
    Base* const object = first.get();
    shared_ptr<Base> second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): empty by promise
    EXPECT_EQ(second.use_count(), 1);
    first = std::move(second);
    EXPECT_EQ(first.get(), object);
    shared_ptr<Base>& self = first;
    first = self;
    first = std::move(self);
    EXPECT_EQ(first.get(), object) << "assigned and moved to itself";
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(ended, 0);
}

TEST(SharedPtr, BecomesAPointerToTheBase) {
    int ended = 0;
    shared_ptr<Derived> derived(new Derived(ended));
    shared_ptr<Base> base = derived;
    EXPECT_EQ(base.use_count(), 2);
    EXPECT_TRUE(base == derived);
    base = std::move(derived);
    EXPECT_EQ(base.use_count(), 1);
    base.reset();
    EXPECT_EQ(ended, 11);
}

TEST(SharedPtr, Resets) {
    int ended = 0;
    shared_ptr<Base> owner(new Base(ended));
    owner.reset(new Base(ended));
    EXPECT_EQ(ended, 1);
    owner.reset();
    owner.reset();
    EXPECT_EQ(ended, 2);
    EXPECT_FALSE(owner);
}

TEST(SharedPtr, BlockHasItsSlotsInOrder) {
    EXPECT_EQ(test::SlotOf(&Block::destroy_object), 0u);
    EXPECT_EQ(test::SlotOf(&Block::delete_block), 1u);
    EXPECT_EQ(test::SlotOf(&Block::get_deleter), 2u);
    EXPECT_FALSE(std::has_virtual_destructor_v<Block>);
}

struct CountingDeleter {
    static inline int count;
    void operator()(int*) const noexcept { ++count; }
};

// Driven by its counts alone, as a pointer drives it.
TEST(SharedPtr, BlockEndsTheObjectThenItself) {
    using IntBlock = counter_block_with_allocator_deleter<int*, CountingDeleter>;
    CountingDeleter::count = 0;
    int object = 0;
    Block* const block = new IntBlock(&object);
    EXPECT_NE(block->get_deleter(), nullptr);
    EXPECT_EQ(block->use_count(), 1);
    block->add_shared();
    block->release_shared();
    EXPECT_EQ(CountingDeleter::count, 0);
    block->release_shared();  // a leak checker tells if the block stays
    EXPECT_EQ(CountingDeleter::count, 1);
}

TEST(SharedPtr, NoMemoryLeavesNothingBehind) {
    for (std::size_t nth = 1; nth <= 2; ++nth) {  // the object, then its block
        int ended = 0;
        {
            const test::FailingAllocation failing(nth);
            EXPECT_EQ(make_shared<Base>(ended), nullptr) << nth;
            EXPECT_TRUE(failing.HasFailed()) << nth;
        }
        EXPECT_EQ(ended, nth == 1 ? 0 : 1) << nth;
    }
    int ended = 0;
    EXPECT_EQ(make_shared<Base>(ended).use_count(), 1);
}

TEST(SharedPtr, TakingOverThrowsWithoutMemoryAndEndsTheObject) {
    int ended = 0;
    auto* const object = new Base(ended);
    const test::FailingAllocation failing(1);
    EXPECT_THROW(shared_ptr<Base>{object}, portable_stl::bad_alloc);
    EXPECT_EQ(ended, 1);
}

TEST(SharedPtr, OwnersComeAndGoInManyThreads) {
    static constexpr int kThreads = 4;
    static constexpr int kRounds = 10000;
    int ended = 0;
    shared_ptr<Base> owner(new Base(ended));
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back([copy = owner] {
                for (int round = 0; round < kRounds; ++round) {
                    shared_ptr<Base> mine(copy);
                    const shared_ptr<Base> other(std::move(mine));
                }
            });
        owner.reset();
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_EQ(ended, 1) << "once, by whichever thread was last";
}

}  // namespace
