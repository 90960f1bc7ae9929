#include "portable_stl/string.h"

#include <cstdint>
#include <new>

#include "portable_stl/exception.h"

namespace portable_stl {

namespace {

char* allocate(std::size_t capacity) noexcept {
    return static_cast<char*>(::operator new(capacity, std::nothrow));
}

string joined(const char* a, std::size_t aLength, const char* b, std::size_t bLength) {
    string result;
    if (bLength > string::max_size() - aLength)
        throw length_error();
    if (!result.reserve(aLength + bLength))
        throw bad_alloc();
    result.append(a, aLength);
    result.append(b, bLength);
    return result;
}

}  // namespace

string& string::assign(const char* text, std::size_t length) {
    if (length >= capacity()) {
        string(text, length).swap(*this);
        return *this;
    }
    if (length != 0)
        std::memmove(data(), text, length);
    set_length(length);
    return *this;
}

bool string::reserve(std::size_t length, bool shrink) {
    if (length > max_size())
        throw length_error();
    if (length < size())
        length = size();
    if (length < capacity() && !shrink)
        return true;
    if (length <= kShortLength) {
        if (is_long()) {
            string text(data(), size());
            swap(text);
        }
        return true;
    }
    if (length + 1 == capacity())
        return true;
    char* const block = allocate(length + 1);
    if (block == nullptr)
        return false;
    const std::size_t textLength = size();
    std::memcpy(block, data(), textLength + 1);
    if (is_long())
        free_block();
    set_block(block, textLength, length + 1);
    return true;
}

void string::resize(std::size_t length, char fill) {
    const std::size_t former = size();
    if (length > former) {
        require(length);
        std::memset(data() + former, static_cast<unsigned char>(fill), length - former);
    }
    set_length(length);
}

string& string::append(char character) {
    const std::size_t former = size();
    require(size_with(1));
    data()[former] = character;
    set_length(former + 1);
    return *this;
}

string& string::append(const char* text, std::size_t length) {
    if (length == 0)
        return *this;
    const std::size_t former = size();
    // Integers, because pointers into different objects have no order. A part of this string, terminator
    // included, moves along when the string grows; as a place in the string it stays right.
    const std::uintptr_t place =
        reinterpret_cast<std::uintptr_t>(text) - reinterpret_cast<std::uintptr_t>(data());
    const bool isOwnPart = place <= former;
    require(size_with(length));
    std::memmove(data() + former, isOwnPart ? data() + place : text, length);
    set_length(former + length);
    return *this;
}

int string::compare(const char* text, std::size_t length) const noexcept {
    const std::size_t shared = size() < length ? size() : length;
    const int order = shared == 0 ? 0 : std::memcmp(data(), text, shared);
    if (order != 0 || size() == length)
        return order;
    return size() < length ? -1 : 1;
}

std::size_t string::find(char character, std::size_t from) const noexcept {
    if (from >= size())
        return npos;
    const void* const hit = std::memchr(data() + from, static_cast<unsigned char>(character), size() - from);
    return hit == nullptr ? npos : static_cast<std::size_t>(static_cast<const char*>(hit) - data());
}

string string::substr(std::size_t start, std::size_t length) const {
    if (start > size())
        throw out_of_range();
    const std::size_t rest = size() - start;
    return string(data() + start, length < rest ? length : rest);
}

void string::set_block(char* block, std::size_t length, std::size_t capacity) noexcept {
    const LongForm form{block, length, capacity | kLongFlag};
    std::memcpy(bytes_, &form, sizeof form);
}

void string::make_long(const char* text, std::size_t length) {
    if (length > max_size())
        throw length_error();
    char* const block = allocate(length + 1);
    if (block == nullptr)
        throw bad_alloc();
    std::memcpy(block, text, length);
    block[length] = '\0';
    set_block(block, length, length + 1);
}

void string::free_block() noexcept {
    ::operator delete(long_form().block);
}

void string::require(std::size_t length) {
    if (!reserve(length))
        throw bad_alloc();
}

// The size after an append, which must not wrap around.
std::size_t string::size_with(std::size_t added) const {
    if (added > max_size() - size())
        throw length_error();
    return size() + added;
}

string operator+(const string& a, const string& b) {
    return joined(a.data(), a.size(), b.data(), b.size());
}

string operator+(const string& a, const char* b) {
    return joined(a.data(), a.size(), b, b == nullptr ? 0 : std::strlen(b));
}

string operator+(const char* a, const string& b) {
    return joined(a, a == nullptr ? 0 : std::strlen(a), b.data(), b.size());
}

string operator+(const string& a, char b) {
    return joined(a.data(), a.size(), &b, 1);
}

}  // namespace portable_stl
