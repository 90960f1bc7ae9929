// The shared owner of an object.
//
// A pair: the object, and the control block that counts the owners.
//
//     shared_ptr            control block
//     +---------+           +-------------------------------------------+
//     | object  |--> T <----| table | shared | weak | pointer | deleter |
//     | block   |---------->+-------------------------------------------+
//     +---------+            ^ counter_block         ^ counter_block_with_allocator_deleter
//
// The last owner ends the object. All owners together hold one weak count; when that goes too, the block
// ends. The counts are atomic, so owners in several threads may come and go at the same time; a single
// shared_ptr, like the object, is used by one thread at a time.
#pragma once

#include <atomic>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "portable_stl/exception.h"
#include "portable_stl/unique_ptr.h"

namespace portable_stl {

using std::atomic;

// The counts. Virtual slots, in order: destroy_object, delete_block, get_deleter.
template <class Counter>
class counter_block {
public:
    counter_block() noexcept : shared_(1), weak_(1) {}
    counter_block(const counter_block&) = delete;
    counter_block& operator=(const counter_block&) = delete;

    virtual void destroy_object() noexcept = 0;
    virtual void delete_block() noexcept = 0;
    // The address of the deleter that the block keeps.
    [[nodiscard]] virtual void* get_deleter() noexcept = 0;

    // The caller is an owner already, so the count can't be at zero: no order is needed.
    void add_shared() noexcept { shared_.fetch_add(1, std::memory_order_relaxed); }

    // Acquire and release: what any owner did to the object happens before its end.
    void release_shared() noexcept {
        if (shared_.fetch_sub(1, std::memory_order_acq_rel) != 1)
            return;
        destroy_object();
        release_weak();
    }

    void release_weak() noexcept {
        if (weak_.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete_block();
    }

    // A snapshot; other threads may change it at once.
    [[nodiscard]] long long use_count() const noexcept { return shared_.load(std::memory_order_relaxed); }

protected:
    // Not virtual: a block ends through delete_block alone.
    ~counter_block() = default;

private:
    Counter shared_;
    Counter weak_;
};

static_assert(sizeof(counter_block<atomic<long long>>) == sizeof(void*) + 2 * sizeof(long long));

// A block for an object that was allocated by itself.
template <class Pointer, class Deleter>
class counter_block_with_allocator_deleter final : public counter_block<atomic<long long>> {
public:
    explicit counter_block_with_allocator_deleter(Pointer pointer) noexcept : pointer_(pointer) {}

    void destroy_object() noexcept override { deleter_(pointer_); }
    void delete_block() noexcept override { delete this; }
    [[nodiscard]] void* get_deleter() noexcept override { return &deleter_; }

private:
    ~counter_block_with_allocator_deleter() = default;

    Pointer pointer_;
    Deleter deleter_;
};

template <class T>
class shared_ptr {
public:
    constexpr shared_ptr() noexcept : object_(nullptr), block_(nullptr) {}
    constexpr shared_ptr(std::nullptr_t) noexcept : shared_ptr() {}

    // Takes the object over. Without memory for the block the object is deleted and bad_alloc thrown.
    explicit shared_ptr(T* object) : shared_ptr(unique_ptr<T>(object)) {
        if (object != nullptr && block_ == nullptr)
            throw bad_alloc();
    }

    // Takes the object over, or deletes it and stays empty when there is no memory for the block.
    explicit shared_ptr(unique_ptr<T> object) noexcept : shared_ptr() {
        if (!object)
            return;
        using Block = counter_block_with_allocator_deleter<T*, default_delete<T>>;
        block_ = new (std::nothrow) Block(object.get());
        if (block_ != nullptr)
            object_ = object.release();
    }

    shared_ptr(const shared_ptr& other) noexcept : shared_ptr(other.object_, other.block_) { add_owner(); }
    shared_ptr(shared_ptr&& other) noexcept : shared_ptr() { swap(other); }

    template <class Derived>
    requires std::is_convertible_v<Derived*, T*> shared_ptr(const shared_ptr<Derived>& other)
    noexcept : shared_ptr(other.object_, other.block_) { add_owner(); }

    template <class Derived>
    requires std::is_convertible_v<Derived*, T*> shared_ptr(shared_ptr<Derived>&& other)
    noexcept : shared_ptr(std::exchange(other.object_, nullptr), std::exchange(other.block_, nullptr)) {}

    // Copies or moves into the argument, then swaps: right for an assignment to itself too.
    shared_ptr& operator=(shared_ptr other) noexcept {
        swap(other);
        return *this;
    }

    ~shared_ptr() {
        if (block_ != nullptr)
            block_->release_shared();
    }

    [[nodiscard]] T* get() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // How many owners there are, 0 for an empty pointer; a snapshot.
    [[nodiscard]] long long use_count() const noexcept { return block_ == nullptr ? 0 : block_->use_count(); }

    void reset() noexcept { shared_ptr().swap(*this); }
    void reset(T* object) { shared_ptr(object).swap(*this); }

    void swap(shared_ptr& other) noexcept {
        std::swap(object_, other.object_);
        std::swap(block_, other.block_);
    }

private:
    template <class Other>
    friend class shared_ptr;

    shared_ptr(T* object, counter_block<atomic<long long>>* block) noexcept
        : object_(object), block_(block) {}

    void add_owner() noexcept {
        if (block_ != nullptr)
            block_->add_shared();
    }

    T* object_;
    counter_block<atomic<long long>>* block_;
};

template <class T, class U>
bool operator==(const shared_ptr<T>& a, const shared_ptr<U>& b) noexcept {
    return a.get() == b.get();
}

template <class T>
bool operator==(const shared_ptr<T>& pointer, std::nullptr_t) noexcept {
    return !pointer;
}

static_assert(sizeof(shared_ptr<int>) == 2 * sizeof(void*));

// A new T with its first owner, or an empty pointer when there is no memory for the object or its block.
template <class T, class... Arguments>
[[nodiscard]] shared_ptr<T> make_shared(Arguments&&... arguments) {
    return shared_ptr<T>(make_unique<T>(std::forward<Arguments>(arguments)...));
}

}  // namespace portable_stl
