#include "portable_stl/string.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"

namespace {

using portable_stl::string;
using test::AllocationCount;
using test::FailingAllocation;

std::string Digits(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i)
        text += static_cast<char>('0' + i % 10);
    return text;
}

string Make(const std::string& text) {
    return {text.data(), text.size()};
}

// What the string holds, once it is seen to be terminated.
std::string Held(const string& text) {
    EXPECT_EQ(text.data()[text.size()], '\0');
    return {text.data(), text.size()};
}

// The long form is seen from outside by the place of its bytes.
bool IsLong(const string& text) {
    const auto* const object = reinterpret_cast<const char*>(&text);
    return text.data() < object || text.data() >= object + sizeof text;
}

TEST(String, ConstructsFromTexts) {
    const std::string zeros("a\0b\0", 4);
    const struct {
        const char* name;
        string made;
        std::string expected;
    } rows[] = {
        {"nothing", string(), ""},
        {"null pointer", string(static_cast<const char*>(nullptr)), ""},
        {"null pointer and no length", string(nullptr, 0), ""},
        {"empty text", string(""), ""},
        {"short text", string("abc"), "abc"},
        {"long text", string(Digits(100).c_str()), Digits(100)},
        {"part of a text", string("abcdef", 3), "abc"},
        {"embedded zeros", string(zeros.data(), zeros.size()), zeros},
        {"non-ASCII", string("\xc3\xa9\xff"), "\xc3\xa9\xff"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Held(row.made), row.expected) << row.name;
        EXPECT_EQ(row.made.size(), row.expected.size()) << row.name;
        EXPECT_EQ(row.made.empty(), row.expected.empty()) << row.name;
    }
}

TEST(String, GoesToTheLongFormBehind22Bytes) {
    static const struct {
        const char* name;
        std::size_t length;
        bool isLong;
        std::size_t capacity;
        std::size_t blocks;
    } rows[] = {
        {"empty", 0, false, 23, 0},       {"one byte", 1, false, 23, 0},   {"22 bytes", 22, false, 23, 0},
        {"23 bytes", 23, true, 24, 1},    {"24 bytes", 24, true, 25, 1},   {"127 bytes", 127, true, 128, 1},
        {"128 bytes", 128, true, 129, 1}, {"a page", 4096, true, 4097, 1},
    };
    for (const auto& row : rows) {
        const std::string source = Digits(row.length);
        const AllocationCount count;
        const string text(source.data(), source.size());
        EXPECT_EQ(count.Blocks(), row.blocks) << row.name;
        EXPECT_EQ(IsLong(text), row.isLong) << row.name;
        EXPECT_EQ(text.capacity(), row.capacity) << row.name;
        EXPECT_EQ(Held(text), source) << row.name;
    }
}

TEST(String, LayoutIsTold) {
    const string shortText("abc");
    unsigned char bytes[24];
    std::memcpy(bytes, static_cast<const void*>(&shortText), sizeof bytes);
    EXPECT_EQ(std::memcmp(bytes, "abc", 4), 0) << "short: the text stands in front";
    EXPECT_EQ(bytes[23], 3) << "short: the last byte is the length";

    const string longText(Digits(40).c_str());
    std::size_t words[3];
    std::memcpy(words, static_cast<const void*>(&longText), sizeof words);
    EXPECT_EQ(words[0], reinterpret_cast<std::uintptr_t>(longText.data())) << "long: first the block";
    EXPECT_EQ(words[1], 40u) << "long: then the length";
    EXPECT_EQ(words[2], std::size_t{41} | std::size_t{1} << 63) << "long: then the capacity with its top bit";
}

TEST(String, ReserveFollowsItsRule) {
    static const struct {
        const char* name;
        std::size_t length;   // of the text
        std::size_t room;     // reserved before, 0 for nothing
        std::size_t request;  // asked of reserve
        bool shrink;
        std::size_t capacity;
        bool isLong;
    } rows[] = {
        {"short, small request: nothing", 5, 0, 10, false, 23, false},
        {"short, 22: nothing", 5, 0, 22, false, 23, false},
        {"short, 23: a block of exactly 24", 5, 0, 23, false, 24, true},
        {"short, shrunk: stays short", 5, 0, 0, true, 23, false},
        {"long, below capacity: nothing", 50, 0, 30, false, 51, true},
        {"long, its own length: nothing", 50, 0, 50, false, 51, true},
        {"long, one more: exact", 50, 0, 51, false, 52, true},
        {"roomy, not shrunk: nothing", 50, 200, 60, false, 201, true},
        {"roomy, shrunk: exact", 50, 200, 60, true, 61, true},
        {"roomy, shrunk below the size: the size", 50, 200, 10, true, 51, true},
        {"roomy and short text, not shrunk: stays long", 5, 200, 10, false, 201, true},
        {"roomy and short text, shrunk: short form", 5, 200, 10, true, 23, false},
        {"roomy and 22 bytes, shrunk: short form", 22, 200, 0, true, 23, false},
        {"roomy and 23 bytes, shrunk: stays long", 23, 200, 0, true, 24, true},
    };
    for (const auto& row : rows) {
        const std::string source = Digits(row.length);
        string text = Make(source);
        EXPECT_TRUE(row.room == 0 || text.reserve(row.room, false)) << row.name;
        EXPECT_TRUE(text.reserve(row.request, row.shrink)) << row.name;
        EXPECT_EQ(text.capacity(), row.capacity) << row.name;
        EXPECT_EQ(IsLong(text), row.isLong) << row.name;
        EXPECT_EQ(Held(text), source) << row.name;
    }
}

TEST(String, ShorteningKeepsTheForm) {
    string text = Make(Digits(40));
    text.resize(3);
    EXPECT_EQ(Held(text), "012");
    EXPECT_EQ(text.capacity(), 41u);
    text.clear();
    EXPECT_EQ(Held(text), "");
    EXPECT_TRUE(IsLong(text));
    text = "ab";
    EXPECT_TRUE(IsLong(text)) << "an assignment that fits stays there too";
    EXPECT_TRUE(text.reserve(0, true));
    EXPECT_FALSE(IsLong(text));
    EXPECT_EQ(Held(text), "ab");
}

TEST(String, GrowsExactly) {
    string text = Make(Digits(22));
    for (std::size_t length = 23; length < 60; ++length) {
        const AllocationCount count;
        text.append('x');
        EXPECT_EQ(count.Blocks(), 1u) << length;
        EXPECT_EQ(count.Bytes(), length + 1) << length;
        EXPECT_EQ(text.capacity(), length + 1) << length;
    }
    const AllocationCount count;
    text.append(Digits(100).c_str(), 41);
    EXPECT_EQ(text.size(), 100u);
    EXPECT_EQ(text.capacity(), 101u);
}

TEST(String, AppendsWithinReservedRoomWithoutAllocation) {
    string text;
    ASSERT_TRUE(text.reserve(1000));
    const AllocationCount count;
    for (int i = 0; i < 250; ++i)
        text.append("ab").append('c') += 'd';
    EXPECT_EQ(count.Blocks(), 0u);
    EXPECT_EQ(text.size(), 1000u);
}

TEST(String, AppendsTexts) {
    const std::string zeros("\0x", 2);
    static const std::size_t lengths[] = {0, 1, 20, 22, 23, 50};
    for (const std::size_t length : lengths) {
        const std::string source = Digits(length);
        string text = Make(source);
        text.append('a').append("bc").append("defg", 2).append(string("hi")).append(nullptr, 0).append("");
        text.append(zeros.data(), zeros.size());
        text += 'j';
        text += "k";
        text += string("l");
        EXPECT_EQ(Held(text), source + "abcdehi" + zeros + "jkl") << length;
    }
}

TEST(String, AppendsItself) {
    static const struct {
        const char* name;
        std::size_t length;
        std::size_t start;
        std::size_t count;
    } rows[] = {
        {"short, stays short", 5, 0, 5},     {"short, a part", 5, 2, 2},
        {"short, becomes long", 20, 0, 20},  {"short, a part, becomes long", 22, 21, 1},
        {"long, the whole", 40, 0, 40},      {"long, the last byte", 40, 39, 1},
        {"long, a part in front", 40, 0, 7},
    };
    for (const auto& row : rows) {
        const std::string source = Digits(row.length);
        string text = Make(source);
        text.append(text.data() + row.start, row.count);
        EXPECT_EQ(Held(text), source + source.substr(row.start, row.count)) << row.name;
    }
    string text = Make(Digits(30));
    text += text;
    text.append(text);
    EXPECT_EQ(Held(text), Digits(30) + Digits(30) + Digits(30) + Digits(30));
}

TEST(String, AssignsItsOwnPart) {
    string text = Make(Digits(40));
    text.assign(text.data() + 10, 15);
    EXPECT_EQ(Held(text), Digits(40).substr(10, 15));
    text = text.c_str();
    EXPECT_EQ(Held(text), Digits(40).substr(10, 15));
}

TEST(String, CopiesAreTheirOwn) {
    static const std::size_t lengths[] = {0, 22, 23, 100};
    for (const std::size_t length : lengths) {
        const std::string source = Digits(length);
        string text = Make(source);
        const string copy(text);
        string assigned("former text that is long enough");
        assigned = text;
        text.append('!');
        EXPECT_EQ(Held(copy), source) << length;
        EXPECT_EQ(Held(assigned), source) << length;
        assigned = *&assigned;
        EXPECT_EQ(Held(assigned), source) << "self-assignment, " << length;
    }
    string text = Make(Digits(10));
    text.resize(3);
    EXPECT_EQ(string(text).capacity(), 23u) << "a copy takes the form of its size";
}

TEST(String, MovesTakeTheBlockOver) {
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<string>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<string>);
    EXPECT_TRUE(std::is_nothrow_destructible_v<string>);
    static const std::size_t lengths[] = {0, 22, 23, 100};
    for (const std::size_t length : lengths) {
        const std::string source = Digits(length);
        string text = Make(source);
        const AllocationCount count;
        string moved(std::move(text));
        string assigned("former");
        assigned = std::move(moved);
        EXPECT_EQ(count.Blocks(), 0u) << length;
        EXPECT_EQ(Held(assigned), source) << length;
        EXPECT_EQ(Held(text), "") << length;   // NOLINT(bugprone-use-after-move): empty by promise
        EXPECT_EQ(Held(moved), "") << length;  // NOLINT(bugprone-use-after-move): empty by promise
        string& self = assigned;
        assigned = std::move(self);
        EXPECT_EQ(Held(assigned), source) << "moved to itself, " << length;
    }
}

TEST(String, Resizes) {
    string text("abc");
    text.resize(5, 'x');
    EXPECT_EQ(Held(text), "abcxx");
    text.resize(30);
    EXPECT_EQ(Held(text), "abcxx" + std::string(25, '\0'));
    text.resize(2);
    EXPECT_EQ(Held(text), "ab");
    text.resize(0);
    EXPECT_TRUE(text.empty());
}

TEST(String, Compares) {
    const string zeroA("a\0a", 3);
    const string zeroB("a\0b", 3);
    const struct {
        const char* name;
        string a;
        string b;
        int order;
    } rows[] = {
        {"both empty", "", "", 0},
        {"empty first", "", "a", -1},
        {"equal", "abc", "abc", 0},
        {"a prefix is less", "ab", "abc", -1},
        {"by byte", "abd", "abc", 1},
        {"case counts", "A", "a", -1},
        {"unsigned bytes", "\x7f", "\x80", -1},
        {"behind a zero", zeroA, zeroB, -1},
        {"a zero is longer than none", zeroA, "a", 1},
        {"long texts", Digits(50).c_str(), Digits(50).c_str(), 0},
    };
    const auto sign = [](int order) { return order < 0 ? -1 : order > 0 ? 1 : 0; };
    for (const auto& row : rows) {
        EXPECT_EQ(sign(row.a.compare(row.b)), row.order) << row.name;
        EXPECT_EQ(sign(row.b.compare(row.a)), -row.order) << row.name;
        EXPECT_EQ(row.a == row.b, row.order == 0) << row.name;
        EXPECT_EQ(row.a != row.b, row.order != 0) << row.name;
        EXPECT_EQ(row.a < row.b, row.order < 0) << row.name;
        EXPECT_EQ(row.b<row.a, row.order> 0) << row.name;
    }
}

TEST(String, ComparesWithPlainTexts) {
    const string text("abc");
    const char* const null = nullptr;
    EXPECT_TRUE(text == "abc");
    EXPECT_TRUE("abc" == text);
    EXPECT_TRUE(text != "abd");
    EXPECT_TRUE(text < "abd");
    EXPECT_TRUE("abb" < text);
    EXPECT_FALSE(text < "abc");
    EXPECT_FALSE(string("abc\0d", 5) == "abc") << "bytes behind a zero count";
    EXPECT_TRUE(string() == null) << "null reads as empty";
    EXPECT_FALSE(text == null);
    EXPECT_GT(text.compare(null), 0);
    EXPECT_EQ(text.compare("abcd", 3), 0);
}

TEST(String, FindsACharacter) {
    static const struct {
        const char* name;
        char wanted;
        std::size_t from;
        std::size_t place;
    } rows[] = {
        {"first", 'a', 0, 0},
        {"second, behind the first", 'a', 1, 3},
        {"at the start given", 'a', 3, 3},
        {"none left", 'a', 4, string::npos},
        {"none", 'z', 0, string::npos},
        {"a zero byte", '\0', 0, 4},
        {"from the end", 'a', 6, string::npos},
        {"from behind the end", 'a', 99, string::npos},
        {"the terminator is no part", '\0', 5, string::npos},
    };
    const string text("axba\0c", 6);
    for (const auto& row : rows)
        EXPECT_EQ(text.find(row.wanted, row.from), row.place) << row.name;
    EXPECT_EQ(text.find('b'), 2u);
    EXPECT_EQ(string().find('a'), string::npos);
}

TEST(String, CutsSubstrings) {
    static const struct {
        const char* name;
        std::size_t start;
        std::size_t length;
        const char* expected;
    } rows[] = {
        {"the whole", 0, string::npos, "abcdef"},
        {"from the middle", 3, string::npos, "def"},
        {"a part", 1, 2, "bc"},
        {"more than there is", 4, 99, "ef"},
        {"nothing", 2, 0, ""},
        {"from the end", 6, 5, ""},
    };
    const string text("abcdef");
    for (const auto& row : rows)
        EXPECT_EQ(Held(text.substr(row.start, row.length)), row.expected) << row.name;
    EXPECT_EQ(Held(Make(Digits(100)).substr(10, 50)), Digits(100).substr(10, 50)) << "long";
    EXPECT_EQ(Held(text.substr(2)), "cdef");
}

TEST(String, SubstringFromBehindTheEndThrows) {
    static const std::size_t lengths[] = {0, 6, 22, 23, 100};
    for (const std::size_t length : lengths) {
        const string text = Make(Digits(length));
        EXPECT_EQ(Held(text.substr(length)), "") << length;
        try {
            static_cast<void>(text.substr(length + 1));
            ADD_FAILURE() << "nothing thrown, " << length;
        } catch (const portable_stl::out_of_range& thrown) {
            EXPECT_STREQ(thrown.what(), "out of range error from portable_stl.") << length;
        }
    }
}

TEST(String, JoinsWithOneAllocation) {
    const string a = Make(Digits(30));
    const string b("tail");
    const struct {
        const char* name;
        string (*join)(const string&, const string&);
        std::string expected;
    } rows[] = {
        {"two strings", [](const string& x, const string& y) { return x + y; }, Digits(30) + "tail"},
        {"text behind", [](const string& x, const string&) { return x + "text"; }, Digits(30) + "text"},
        {"text in front", [](const string& x, const string&) { return "text" + x; }, "text" + Digits(30)},
        {"a character", [](const string& x, const string&) { return x + 'c'; }, Digits(30) + "c"},
    };
    for (const auto& row : rows) {
        const AllocationCount count;
        const string joined = row.join(a, b);
        EXPECT_EQ(count.Blocks(), 1u) << row.name;
        EXPECT_EQ(Held(joined), row.expected) << row.name;
        EXPECT_EQ(joined.capacity(), joined.size() + 1) << row.name;
    }
    const char* const null = nullptr;
    EXPECT_EQ(Held(b + null), "tail");
    EXPECT_EQ(Held(null + b), "tail");
    EXPECT_EQ(Held(string("a\0b", 3) + "c"), std::string("a\0bc", 4));
}

TEST(String, GivesItsBytes) {
    string text("abc");
    text[1] = 'x';
    text.back() = 'y';
    text.data()[0] = 'w';
    EXPECT_EQ(Held(text), "wxy");
    std::string seen;
    for (const char character : std::as_const(text))
        seen += character;
    EXPECT_EQ(seen, "wxy");
    for (char& character : text)
        character = 'z';
    EXPECT_EQ(Held(text), "zzz");
    EXPECT_EQ(std::as_const(text).back(), 'z');
    EXPECT_EQ(std::as_const(text)[0], 'z');
    EXPECT_EQ(text.c_str(), text.data());
}

TEST(String, FailedAllocationLeavesItAsItWas) {
    static const struct {
        const char* name;
        void (*grow)(string&);
    } rows[] = {
        {"append a character", [](string& text) { text.append('x'); }},
        {"append a text", [](string& text) { text.append("xyz"); }},
        {"append itself", [](string& text) { text.append(text); }},
        {"assign", [](string& text) { text = "a text that is longer than the one that stands there"; }},
        {"resize", [](string& text) { text.resize(200); }},
        {"join", [](string& text) { static_cast<void>(text + "x"); }},
        {"copy", [](string& text) { static_cast<void>(string(text)); }},
        {"substring", [](string& text) { static_cast<void>(text.substr(1)); }},
    };
    static const std::string source = Digits(40);
    for (const auto& row : rows) {
        string text = Make(source);
        const FailingAllocation failing(1);
        EXPECT_THROW(row.grow(text), portable_stl::bad_alloc) << row.name;
        EXPECT_TRUE(failing.HasFailed()) << row.name;
        EXPECT_EQ(Held(text), source) << row.name;
        EXPECT_EQ(text.capacity(), source.size() + 1) << row.name;
    }
}

TEST(String, ReserveTellsOfAFailedAllocation) {
    string text = Make(Digits(30));
    const FailingAllocation failing(1);
    EXPECT_FALSE(text.reserve(100));
    EXPECT_EQ(Held(text), Digits(30));
    EXPECT_EQ(text.capacity(), 31u);
}

TEST(String, LengthAboveTheLargestThrows) {
    static const std::size_t tooLong = string::max_size() + 1;
    static const struct {
        const char* name;
        void (*grow)(string&);
    } rows[] = {
        {"construct", [](string&) { static_cast<void>(string("x", tooLong)); }},
        {"construct, all bits", [](string&) { static_cast<void>(string("x", string::npos)); }},
        {"reserve", [](string& text) { static_cast<void>(text.reserve(tooLong)); }},
        {"resize", [](string& text) { text.resize(tooLong); }},
        {"append", [](string& text) { text.append("x", string::max_size()); }},
        {"append, would wrap around", [](string& text) { text.append("x", string::npos); }},
        {"assign", [](string& text) { text.assign("x", tooLong); }},
    };
    for (const auto& row : rows) {
        string text("abc");
        try {
            row.grow(text);
            ADD_FAILURE() << "nothing thrown: " << row.name;
        } catch (const portable_stl::length_error& thrown) {
            EXPECT_STREQ(thrown.what(), "length error from portable_stl.") << row.name;
        }
        EXPECT_EQ(Held(text), "abc") << row.name;
    }
}

}  // namespace
