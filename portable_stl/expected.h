// A value, or the error that stands in its place.
//
// The growing operations of the containers return expected<void, portable_stl_error>. The result must not
// be dropped: an element would be lost in silence. A caller that has no better answer asks for value(),
// which turns the error into bad_expected_access<portable_stl_error, false_type>.
//
//     bytes.resize(size).value();
//
// One thread at a time. Only value() throws.
#pragma once

#include <new>
#include <type_traits>
#include <utility>

#include "portable_stl/exception.h"

namespace portable_stl {

// Marks its content as the error of the expected that it becomes.
template <class Error>
class unexpected {
public:
    explicit constexpr unexpected(Error error) noexcept : error_(error) {}

    [[nodiscard]] constexpr Error error() const noexcept { return error_; }

private:
    Error error_;
};

// Either a T or an Error; the flag says which. Copies may throw what a copy of T throws.
template <class T, class Error>
class [[nodiscard]] expected {
    static_assert(std::is_trivially_copyable_v<Error>, "an error is a plain value");
    static_assert(std::is_nothrow_move_constructible_v<T>, "moves of an expected must not raise");

public:
    expected(T value) noexcept : value_(std::move(value)), hasValue_(true) {}
    expected(unexpected<Error> error) noexcept : error_(error.error()), hasValue_(false) {}

    expected(const expected& other) : hasValue_(other.hasValue_) {
        if (hasValue_)
            ::new (static_cast<void*>(&value_)) T(other.value_);
        else
            error_ = other.error_;
    }

    expected(expected&& other) noexcept : hasValue_(other.hasValue_) { take(other); }

    // Assignment makes its copy first, so that a copy that throws leaves this one as it was.
    expected& operator=(expected other) noexcept {
        drop();
        hasValue_ = other.hasValue_;
        take(other);
        return *this;
    }

    ~expected() { drop(); }

    [[nodiscard]] bool has_value() const noexcept { return hasValue_; }
    explicit operator bool() const noexcept { return hasValue_; }

    // The value; throws bad_expected_access<Error, false_type> when there is none.
    T& value() & {
        require_value();
        return value_;
    }
    const T& value() const& {
        require_value();
        return value_;
    }
    T&& value() && {
        require_value();
        return std::move(value_);
    }

    // Only for an expected that holds an error.
    [[nodiscard]] Error error() const noexcept { return error_; }

private:
    void require_value() const {
        if (!hasValue_)
            throw bad_expected_access<Error, false_type>(error_);
    }

    void take(expected& other) noexcept {
        if (hasValue_)
            ::new (static_cast<void*>(&value_)) T(std::move(other.value_));
        else
            error_ = other.error_;
    }

    void drop() noexcept {
        if (hasValue_)
            value_.~T();
    }

    union {
        T value_;
        Error error_;
    };
    bool hasValue_;
};

// Success, or an Error.
template <class Error>
class [[nodiscard]] expected<void, Error> {
    static_assert(std::is_trivially_copyable_v<Error>, "an error is a plain value");

public:
    constexpr expected() noexcept : error_(), hasValue_(true) {}
    constexpr expected(unexpected<Error> error) noexcept : error_(error.error()), hasValue_(false) {}

    [[nodiscard]] constexpr bool has_value() const noexcept { return hasValue_; }
    explicit constexpr operator bool() const noexcept { return hasValue_; }

    // Nothing on success; throws bad_expected_access<Error, false_type> otherwise.
    void value() const {
        if (!hasValue_)
            throw bad_expected_access<Error, false_type>(error_);
    }

    // Only for an expected that holds an error.
    [[nodiscard]] constexpr Error error() const noexcept { return error_; }

private:
    Error error_;
    bool hasValue_;
};

}  // namespace portable_stl
