// The growing array of the core.
//
// Three machine words: begin, end, end of capacity. The elements lie in one block.
//
// Operations that grow return expected<void, portable_stl_error> and leave the vector as it was when they
// fail: size_too_large for more than the largest signed machine word holds, out_of_memory for a failed
// allocation. The new capacity is the larger of twice the old one and the size needed. Growth moves the
// elements, never copies them, so their moves must not throw; pointers to elements end there.
//
// One thread at a time. Throws only what an element's own constructor throws, and bad_expected_access
// from the copy operations, which have no result to return.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "portable_stl/expected.h"

namespace portable_stl {

template <class T>
class vector {
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;
    using result = expected<void, portable_stl_error>;

    constexpr vector() noexcept : begin_(nullptr), end_(nullptr), endOfCapacity_(nullptr) {}

    vector(const vector& other) : vector() {
        reserve(other.size()).value();
        for (const T& element : other)
            construct_at_end(element);
    }

    vector(vector&& other) noexcept : vector() { swap(other); }

    vector& operator=(const vector& other) {
        if (this != &other)
            vector(other).swap(*this);
        return *this;
    }

    // By way of a third vector, so that `other` may be an element of an element of this one.
    vector& operator=(vector&& other) noexcept {
        vector(std::move(other)).swap(*this);
        return *this;
    }

    ~vector() {
        clear();
        ::operator delete(begin_);
    }

    [[nodiscard]] std::size_t size() const noexcept { return static_cast<std::size_t>(end_ - begin_); }
    [[nodiscard]] std::size_t capacity() const noexcept {
        return static_cast<std::size_t>(endOfCapacity_ - begin_);
    }
    [[nodiscard]] bool empty() const noexcept { return begin_ == end_; }

    // The most elements a vector of this type can hold.
    [[nodiscard]] static constexpr std::size_t max_size() noexcept {
        return static_cast<std::size_t>(PTRDIFF_MAX) / sizeof(T);
    }

    // Null as long as nothing was ever stored or reserved.
    [[nodiscard]] T* data() noexcept { return begin_; }
    [[nodiscard]] const T* data() const noexcept { return begin_; }
    [[nodiscard]] iterator begin() noexcept { return begin_; }
    [[nodiscard]] const_iterator begin() const noexcept { return begin_; }
    [[nodiscard]] iterator end() noexcept { return end_; }
    [[nodiscard]] const_iterator end() const noexcept { return end_; }

    // These four need an element at that place.
    [[nodiscard]] T& operator[](std::size_t index) noexcept { return begin_[index]; }
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return begin_[index]; }
    [[nodiscard]] T& front() noexcept { return *begin_; }
    [[nodiscard]] const T& front() const noexcept { return *begin_; }
    [[nodiscard]] T& back() noexcept { return end_[-1]; }
    [[nodiscard]] const T& back() const noexcept { return end_[-1]; }

    // Room for `count` elements in all.
    [[nodiscard]] result reserve(std::size_t count) {
        if (count <= capacity())
            return {};
        vector grown;
        if (const auto done = grown.allocate_for(count, capacity()); !done)
            return done;
        grown.move_from(*this);
        swap(grown);
        return {};
    }

    // Cuts off the end, or adds zero elements: T().
    [[nodiscard]] result resize(std::size_t count) {
        if (const auto done = reserve(count); !done)
            return done;
        while (size() > count)
            pop_back();
        while (size() < count)
            construct_at_end();
        return {};
    }

    // `element` may be one of this vector's own.
    [[nodiscard]] result push_back(const T& element) { return emplace_back(element); }
    [[nodiscard]] result push_back(T&& element) { return emplace_back(std::move(element)); }

    // Builds the new last element from `arguments`.
    template <class... Arguments>
    [[nodiscard]] result emplace_back(Arguments&&... arguments) {
        if (end_ == endOfCapacity_)
            return emplace_back_grown(std::forward<Arguments>(arguments)...);
        construct_at_end(std::forward<Arguments>(arguments)...);
        return {};
    }

    // Needs an element.
    void pop_back() noexcept {
        --end_;
        end_->~T();
    }

    // Removes the element at `position` and returns the place of the one behind it.
    iterator erase(iterator position) noexcept {
        static_assert(std::is_nothrow_move_assignable_v<T>, "a half-done removal can't be undone");
        for (iterator next = position + 1; next != end_; ++next)
            next[-1] = std::move(*next);
        pop_back();
        return position;
    }

    // Ends the elements, from the last to the first, and keeps the block.
    void clear() noexcept {
        while (end_ != begin_)
            pop_back();
    }

    void swap(vector& other) noexcept {
        std::swap(begin_, other.begin_);
        std::swap(end_, other.end_);
        std::swap(endOfCapacity_, other.endOfCapacity_);
    }

private:
    // Gives an empty vector its first block, by the rule of growth for an old capacity.
    result allocate_for(std::size_t count, std::size_t oldCapacity) {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__, "the block is aligned for plain types");
        if (count > max_size())
            return unexpected(portable_stl_error::size_too_large);
        const std::size_t doubled = oldCapacity > max_size() / 2 ? max_size() : oldCapacity * 2;
        const std::size_t newCapacity = doubled > count ? doubled : count;
        void* block = ::operator new(newCapacity * sizeof(T), std::nothrow);
        if (block == nullptr)
            return unexpected(portable_stl_error::out_of_memory);
        begin_ = end_ = static_cast<T*>(block);
        endOfCapacity_ = begin_ + newCapacity;
        return {};
    }

    // Fills an empty block with the elements of `other`, which stay there as moved-from ones.
    void move_from(vector& other) noexcept {
        static_assert(std::is_nothrow_move_constructible_v<T>, "growth must not lose elements");
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (!other.empty())
                std::memcpy(static_cast<void*>(begin_), other.begin_, other.size() * sizeof(T));
            end_ = begin_ + other.size();
        } else {
            for (T& element : other)
                construct_at_end(std::move(element));
        }
    }

    template <class... Arguments>
    void construct_at_end(Arguments&&... arguments) {
        ::new (static_cast<void*>(end_)) T(std::forward<Arguments>(arguments)...);
        ++end_;
    }

    // The new element is built before the old ones move: the arguments may refer to one of them.
    template <class... Arguments>
    result emplace_back_grown(Arguments&&... arguments) {
        vector grown;
        if (const auto done = grown.allocate_for(size() + 1, capacity()); !done)
            return done;
        T* const place = grown.begin_ + size();
        ::new (static_cast<void*>(place)) T(std::forward<Arguments>(arguments)...);
        grown.move_from(*this);
        grown.end_ = place + 1;
        swap(grown);
        return {};
    }

    T* begin_;
    T* end_;
    T* endOfCapacity_;
};

template <class T>
bool operator==(const vector<T>& a, const vector<T>& b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!(a[i] == b[i]))
            return false;
    return true;
}

static_assert(sizeof(vector<char>) == 3 * sizeof(void*));

}  // namespace portable_stl
