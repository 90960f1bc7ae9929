// The byte string of the core.
//
// Always zero-terminated, so c_str() goes straight to a platform operation. Holds UTF-8 and never looks
// inside; zero bytes in the text count like all others. Up to 22 bytes live in the object, a longer text
// owns one block. Growth is exact, not geometric, because the texts here are small: whoever builds a long
// text piece by piece computes its size and calls reserve first.
//
//              byte 0              byte 8              byte 16                    byte 23
//     short    text, zero-terminated ...................................................| length 0..22
//     long     pointer to block  | length            | capacity with the terminator     | top bit set
//
// The top bit of the last byte tells the forms apart. A long text that is cut stays long until reserve is
// asked to shrink.
//
// One thread at a time. Throws bad_alloc, length_error and, from substr, out_of_range; moves, swap and the
// destructor throw nothing.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace portable_stl {

class string {
public:
    using value_type = char;
    using iterator = char*;
    using const_iterator = const char*;

    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    string() noexcept { set_empty(); }
    // A null pointer reads as the empty text.
    string(const char* text) : string(text, length_of(text)) {}
    string(const char* text, std::size_t length) {
        if (length <= kShortLength)
            make_short(text, length);
        else
            make_long(text, length);
    }
    string(const string& other) : string(other.data(), other.size()) {}
    string(string&& other) noexcept {
        std::memcpy(bytes_, other.bytes_, sizeof bytes_);
        other.set_empty();
    }

    ~string() {
        if (is_long())
            free_block();
    }

    string& operator=(const string& other) {
        if (this != &other)
            assign(other.data(), other.size());
        return *this;
    }
    string& operator=(const char* text) {
        assign(text, length_of(text));
        return *this;
    }
    // The former text ends with the call; assigning a string to itself changes nothing.
    string& operator=(string&& other) noexcept {
        string(std::move(other)).swap(*this);
        return *this;
    }

    // `text` may be a part of this string, here and in append.
    string& assign(const char* text, std::size_t length);

    [[nodiscard]] const char* c_str() const noexcept { return data(); }
    [[nodiscard]] const char* data() const noexcept { return is_long() ? long_form().block : bytes_; }
    [[nodiscard]] char* data() noexcept { return is_long() ? long_form().block : bytes_; }
    [[nodiscard]] std::size_t size() const noexcept {
        return is_long() ? long_form().length : static_cast<unsigned char>(bytes_[kFlagByte]);
    }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    // In bytes, the terminator included: 23 in the short form.
    [[nodiscard]] std::size_t capacity() const noexcept {
        return is_long() ? long_form().flaggedCapacity & ~kLongFlag : kShortLength + 1;
    }

    // The longest text: its capacity, one more, has to leave the top bit free.
    [[nodiscard]] static constexpr std::size_t max_size() noexcept { return kLongFlag - 2; }

    // Makes room for a text of `length` bytes; a length below size() means size(). Nothing happens when
    // there is room and `shrink` is false. Otherwise the text goes to the short form, if it fits there, or
    // to a block of exactly length + 1 bytes. False when that block could not be had: nothing changed then.
    [[nodiscard]] bool reserve(std::size_t length, bool shrink = false);

    // Cuts the text, or lengthens it by `fill`.
    void resize(std::size_t length, char fill = '\0');
    void clear() noexcept { set_length(0); }

    string& append(char character);
    string& append(const char* text) { return append(text, length_of(text)); }
    string& append(const char* text, std::size_t length);
    string& append(const string& text) { return append(text.data(), text.size()); }
    string& operator+=(char character) { return append(character); }
    string& operator+=(const char* text) { return append(text); }
    string& operator+=(const string& text) { return append(text); }

    // Below, equal to or above zero, by unsigned bytes; of two texts that agree the shorter is less.
    [[nodiscard]] int compare(const string& other) const noexcept {
        return compare(other.data(), other.size());
    }
    [[nodiscard]] int compare(const char* text) const noexcept { return compare(text, length_of(text)); }
    [[nodiscard]] int compare(const char* text, std::size_t length) const noexcept;

    [[nodiscard]] char& operator[](std::size_t index) noexcept { return data()[index]; }
    [[nodiscard]] const char& operator[](std::size_t index) const noexcept { return data()[index]; }
    // Needs a text that is not empty.
    [[nodiscard]] char& back() noexcept { return data()[size() - 1]; }
    [[nodiscard]] const char& back() const noexcept { return data()[size() - 1]; }

    [[nodiscard]] iterator begin() noexcept { return data(); }
    [[nodiscard]] const_iterator begin() const noexcept { return data(); }
    [[nodiscard]] iterator end() noexcept { return data() + size(); }
    [[nodiscard]] const_iterator end() const noexcept { return data() + size(); }

    // The first place of `character` at or behind `from`, or npos.
    [[nodiscard]] std::size_t find(char character, std::size_t from = 0) const noexcept;

    // At most `length` bytes from `start`. A start at the end gives the empty text, one behind it throws
    // out_of_range.
    [[nodiscard]] string substr(std::size_t start, std::size_t length = npos) const;

    void swap(string& other) noexcept {
        char bytes[sizeof bytes_];
        std::memcpy(bytes, bytes_, sizeof bytes_);
        std::memcpy(bytes_, other.bytes_, sizeof bytes_);
        std::memcpy(other.bytes_, bytes, sizeof bytes_);
    }

private:
    struct LongForm {
        char* block;
        std::size_t length;
        std::size_t flaggedCapacity;
    };

    static constexpr std::size_t kFlagByte = sizeof(LongForm) - 1;
    static constexpr std::size_t kShortLength = sizeof(LongForm) - 2;
    static constexpr std::size_t kLongFlag = ~(static_cast<std::size_t>(-1) >> 1);

    static std::size_t length_of(const char* text) noexcept {
        return text == nullptr ? 0 : std::strlen(text);
    }

    [[nodiscard]] bool is_long() const noexcept {
        return (static_cast<unsigned char>(bytes_[kFlagByte]) & 0x80u) != 0;
    }
    [[nodiscard]] LongForm long_form() const noexcept {
        LongForm form;
        std::memcpy(&form, bytes_, sizeof form);
        return form;
    }
    void set_empty() noexcept { bytes_[0] = bytes_[kFlagByte] = '\0'; }
    void set_length(std::size_t length) noexcept;
    void set_block(char* block, std::size_t length, std::size_t capacity) noexcept;
    void free_block() noexcept;
    void require(std::size_t length);
    std::size_t size_with(std::size_t added) const;

    // These two start an object that holds nothing yet.
    void make_short(const char* text, std::size_t length) noexcept {
        if (length != 0)
            std::memcpy(bytes_, text, length);
        bytes_[length] = '\0';
        bytes_[kFlagByte] = static_cast<char>(length);
    }
    void make_long(const char* text, std::size_t length);

    alignas(LongForm) char bytes_[sizeof(LongForm)];
};

static_assert(sizeof(void*) == 8 && sizeof(std::size_t) == 8, "the short form holds 22 bytes");
static_assert(sizeof(string) == 3 * sizeof(void*));
static_assert(std::endian::native == std::endian::little, "the flag is the top bit of the third word");

inline void string::set_length(std::size_t length) noexcept {
    if (is_long()) {
        std::memcpy(bytes_ + offsetof(LongForm, length), &length, sizeof length);
        long_form().block[length] = '\0';
    } else {
        bytes_[length] = '\0';
        bytes_[kFlagByte] = static_cast<char>(length);
    }
}

inline bool operator==(const string& a, const string& b) noexcept {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size()) == 0;
}
inline bool operator==(const string& a, const char* b) noexcept {
    return a.compare(b) == 0;
}
inline bool operator<(const string& a, const string& b) noexcept {
    return a.compare(b) < 0;
}
inline bool operator<(const string& a, const char* b) noexcept {
    return a.compare(b) < 0;
}
inline bool operator<(const char* a, const string& b) noexcept {
    return b.compare(a) > 0;
}

// Each makes its room once.
[[nodiscard]] string operator+(const string& a, const string& b);
[[nodiscard]] string operator+(const string& a, const char* b);
[[nodiscard]] string operator+(const char* a, const string& b);
[[nodiscard]] string operator+(const string& a, char b);

}  // namespace portable_stl
