// The single owner of an object.
//
// One machine word. Moves hand the object over and leave the source empty; there are no copies. A pointer
// to a derived class becomes a pointer to its base, whose destructor must then be virtual.
//
// One thread at a time. Nothing here throws but the constructor of the object that make_unique builds.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace portable_stl {

// Ends an object that came from `new`.
template <class T>
struct default_delete {
    constexpr default_delete() noexcept = default;

    template <class Derived>
    requires std::is_convertible_v<Derived*, T*>
    constexpr default_delete(const default_delete<Derived>&) noexcept {}

    void operator()(T* object) const noexcept {
        static_assert(std::is_destructible_v<T>, "the type must be complete where its object is deleted");
        delete object;
    }
};

template <class T, class Deleter = default_delete<T>>
class unique_ptr {
public:
    constexpr unique_ptr() noexcept : object_(nullptr) {}
    constexpr unique_ptr(std::nullptr_t) noexcept : object_(nullptr) {}
    explicit unique_ptr(T* object) noexcept : object_(object) {}

    unique_ptr(const unique_ptr&) = delete;
    unique_ptr& operator=(const unique_ptr&) = delete;

    unique_ptr(unique_ptr&& other) noexcept : deleter_(std::move(other.deleter_)), object_(other.release()) {}

    template <class Derived, class DerivedDeleter>
    requires std::is_convertible_v<Derived*, T*> && std::is_convertible_v<DerivedDeleter, Deleter> unique_ptr(
        unique_ptr<Derived, DerivedDeleter>&& other)
    noexcept : deleter_(std::move(other.get_deleter())), object_(other.release()) {}

    unique_ptr& operator=(unique_ptr&& other) noexcept {
        unique_ptr(std::move(other)).swap(*this);
        return *this;
    }

    ~unique_ptr() { reset(); }

    [[nodiscard]] T* get() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    [[nodiscard]] Deleter& get_deleter() noexcept { return deleter_; }

    // Gives the object away; the caller deletes it.
    [[nodiscard]] T* release() noexcept { return std::exchange(object_, nullptr); }

    // Takes `object` and then deletes the former one.
    void reset(T* object = nullptr) noexcept {
        T* former = std::exchange(object_, object);
        if (former != nullptr)
            deleter_(former);
    }

    void swap(unique_ptr& other) noexcept {
        std::swap(deleter_, other.deleter_);
        std::swap(object_, other.object_);
    }

private:
    [[no_unique_address]] Deleter deleter_;
    T* object_;
};

template <class T, class Deleter>
bool operator==(const unique_ptr<T, Deleter>& pointer, std::nullptr_t) noexcept {
    return !pointer;
}

static_assert(sizeof(unique_ptr<int>) == sizeof(void*));

// A new T, or an empty pointer when there is no memory for it.
template <class T, class... Arguments>
[[nodiscard]] unique_ptr<T> make_unique(Arguments&&... arguments) {
    return unique_ptr<T>(new (std::nothrow) T(std::forward<Arguments>(arguments)...));
}

}  // namespace portable_stl
