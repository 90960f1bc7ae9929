#include "portable_stl/unique_ptr.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

#include "tests/support/AllocationFailure.h"

namespace {

using portable_stl::make_unique;
using portable_stl::unique_ptr;

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

TEST(UniquePtr, StartsEmpty) {
    const unique_ptr<Base> none;
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_FALSE(none);
    EXPECT_TRUE(none == nullptr);
    EXPECT_EQ(unique_ptr<Base>(nullptr).get(), nullptr);
}

TEST(UniquePtr, EndsItsObjectOnce) {
    int ended = 0;
    {
        const unique_ptr<Base> owner(new Base(ended));
        EXPECT_TRUE(owner);
        EXPECT_EQ(&owner->ended, &ended);
        EXPECT_EQ(&(*owner).ended, &ended);
    }
    EXPECT_EQ(ended, 1);
}

TEST(UniquePtr, MovesHandTheObjectOver) {
    EXPECT_FALSE(std::is_copy_constructible_v<unique_ptr<Base>>);
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<unique_ptr<Base>>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<unique_ptr<Base>>);
    int first = 0;
    int second = 0;
    unique_ptr<Base> owner(new Base(first));
    Base* const object = owner.get();
    unique_ptr<Base> taker(std::move(owner));
    EXPECT_EQ(taker.get(), object);
    EXPECT_EQ(owner.get(), nullptr);  // NOLINT(bugprone-use-after-move): empty by promise
    unique_ptr<Base> other(new Base(second));
    other = std::move(taker);
    EXPECT_EQ(second, 1) << "the former object ends";
    EXPECT_EQ(other.get(), object);
    unique_ptr<Base>& self = other;
    other = std::move(self);
    EXPECT_EQ(other.get(), object) << "moved to itself";
    EXPECT_EQ(first, 0);
}

TEST(UniquePtr, BecomesAPointerToTheBase) {
    int ended = 0;
    unique_ptr<Base> owner = unique_ptr<Derived>(new Derived(ended));
    owner = make_unique<Derived>(ended);
    EXPECT_EQ(ended, 11);
    owner.reset();
    EXPECT_EQ(ended, 22) << "through the virtual destructor";
}

TEST(UniquePtr, ReleasesAndResets) {
    int ended = 0;
    unique_ptr<Base> owner(new Base(ended));
    Base* const object = owner.release();
    EXPECT_FALSE(owner);
    EXPECT_EQ(ended, 0);
    owner.reset(object);
    EXPECT_EQ(owner.get(), object);
    owner.reset(new Base(ended));
    EXPECT_EQ(ended, 1);
    owner.reset();
    owner.reset();
    EXPECT_EQ(ended, 2);
}

struct CountingDeleter {
    int* count;
    void operator()(int*) const { ++*count; }
};

TEST(UniquePtr, UsesItsDeleter) {
    int count = 0;
    int object = 0;
    {
        unique_ptr<int, CountingDeleter> owner(&object);
        owner.get_deleter().count = &count;
        const unique_ptr<int, CountingDeleter> taker(std::move(owner));
    }
    EXPECT_EQ(count, 1);
}

TEST(UniquePtr, MakeUniqueIsEmptyWithoutMemory) {
    int ended = 0;
    {
        const test::FailingAllocation failing(1);
        EXPECT_EQ(make_unique<Base>(ended), nullptr);
    }
    EXPECT_EQ(ended, 0);
    EXPECT_NE(make_unique<Base>(ended), nullptr);
}

}  // namespace
