// Texts that nobody writes on purpose, and texts that other libraries write.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "tests/core/json/JsonTestSupport.h"
#include "tests/support/RandomText.h"

namespace {

using json_test::Between;
using json_test::ReferenceShapeOf;
using json_test::ShapeOf;
using json_test::Text;
using json_test::Visible;
using json_test::Written;
using Peer = nlohmann::ordered_json;

const char* const kSamples[] = {
    R"({"accessToken":"eyJh.eyJz.c2ln","expiresIn":3600,"rights":[{"name":"a","role":7}],"refresh":null})",
    R"([{"id":"1","name":"J\u00fcrgen \ud83d\ude00"},{"id":"2","tags":["x\/y","\"z\""],"on":true}])",
    R"({"errors":[{"code":"2FA_TOTP_REQUIRED","args":{"challengeToken":"abc"}}],"deep":[[[[1,2],3],4],5]})",
};

// Texts to which both readers must say the same.
void ExpectAgreement(const std::string& text) {
    const auto ours = ShapeOf(text);
    const auto reference = ReferenceShapeOf(text);
    ASSERT_EQ(ours.value_or("(fails)"), reference.value_or("(fails)")) << Visible(text);
}

TEST(JsonHostile, EveryCutOfADocumentFails) {
    for (const std::string sample : kSamples) {
        ASSERT_TRUE(ShapeOf(sample)) << sample;
        for (std::size_t length = 0; length < sample.size(); ++length) {
            const std::string cut = sample.substr(0, length);
            EXPECT_FALSE(ShapeOf(cut)) << Visible(cut);
        }
    }
}

TEST(JsonHostile, EveryTailOfADocumentAgrees) {
    for (const std::string sample : kSamples)
        for (std::size_t start = 0; start < sample.size(); ++start)
            ExpectAgreement(sample.substr(start));
}

// Each byte in turn removed, doubled and replaced by each of the bytes that mean something.
TEST(JsonHostile, EverySingleChangeAgrees) {
    const std::string meaningful("[]{},:\"\\ 1tu/x\x80\x01\0", 18);
    for (const std::string sample : kSamples)
        for (std::size_t place = 0; place < sample.size(); ++place) {
            std::string text = sample;
            ExpectAgreement(text.erase(place, 1));
            text = sample;
            ExpectAgreement(text.insert(place, 1, sample[place]));
            for (const char replacement : meaningful) {
                text = sample;
                text[place] = replacement;
                ExpectAgreement(text);
            }
        }
}

// All texts of up to six of these bytes: every short way through the states of the reader.
TEST(JsonHostile, EveryShortTextAgrees) {
    const std::string bytes = "[]{,:\"a1";
    constexpr std::size_t longest = 6;
    std::string text;
    for (std::size_t length = 0; length <= longest; ++length) {
        std::size_t count = 1;
        for (std::size_t i = 0; i < length; ++i)
            count *= bytes.size();
        text.resize(length);
        for (std::size_t number = 0; number < count; ++number) {
            std::size_t rest = number;
            for (char& character : text) {
                character = bytes[rest % bytes.size()];
                rest /= bytes.size();
            }
            ExpectAgreement(text);
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(JsonHostile, RandomTextsAgree) {
    const struct {
        const char* name;
        std::string bytes;
        std::size_t longest;
        int count;
    } rows[] = {
        {"any bytes", test::EveryByte(), 200, 2000},
        {"structure", "[]{}[]{},:,:\"\"a1 ", 40, 10000},
        {"mostly opening", "[[[[{{{{1,:\"\"]}", 60, 10000},
        {"escapes", "\"\"\\\\uu00dDcC8[],", 40, 10000},
        {"literals and numbers", "[],truefalsn0.-+E ", 40, 10000},
    };
    for (const auto& row : rows) {
        std::mt19937 random(4711);
        for (int i = 0; i < row.count; ++i) {
            ExpectAgreement(test::RandomText(random, row.bytes, row.longest));
            if (HasFatalFailure())
                FAIL() << row.name << ", text " << i;
        }
    }
}

// Pieces that are documents already, strung together without much sense.
TEST(JsonHostile, RandomPiecesAgree) {
    static const char* const pieces[] = {"[",       "]",           "{",           "}",    ",",       ":",
                                         R"("")",   R"("a")",      R"("b":)",     "1",    "x",       "true",
                                         " ",       R"("\u0041")", R"("\ud83d")", R"(\)", "[]",      "{}",
                                         R"([""])", R"({"a":1})",  R"({"":})",    "[1]",  "\xc3\xa9"};
    std::mt19937 random(815);
    for (int i = 0; i < 60000; ++i) {
        std::string text;
        for (std::size_t count = random() % 12; count > 0; --count)
            text += pieces[random() % std::size(pieces)];
        ExpectAgreement(text);
        if (HasFatalFailure())
            return;
    }
}

TEST(JsonHostile, InvalidUtf8PassesUntouched) {
    static const char* const texts[] = {"\x80",     "\xc3",         "\xc3\x28",
                                        "\xe2\x82", "\xed\xa0\x80", "\xf8\x88\x80\x80\x80",
                                        "\xff\xfe", "\xc0\x80"};
    for (const std::string text : texts) {
        EXPECT_EQ(ShapeOf("[\"a" + text + "b\"]").value_or("(fails)"), "[\"a" + text + "b\"]")
            << Visible(text);
        json::JsonNode root;
        json::AddChild(root, Text(text), Text(text), true);
        EXPECT_EQ(Written(root), "{\"" + text + "\":\"" + text + "\"}") << Visible(text);
    }
}

// The tree of the peer in the notation of Shape.
std::string PeerShape(const Peer& value) {
    if (value.is_string())
        return Between("\"", value.get<std::string>(), "\"");
    if (!value.is_structured())
        return value.dump();
    std::string inner;
    for (const auto& [key, member] : value.items()) {
        inner += inner.empty() ? "" : ",";
        inner += value.is_object() ? key + "=" : "";
        inner += PeerShape(member);
    }
    return value.is_object() ? Between("{", inner, "}") : Between("[", inner, "]");
}

// Not empty, since an empty text alone in a container is dropped, and with no `u` behind a backslash.
std::string RandomPeerText(std::mt19937& random) {
    static const char* const pieces[] = {"a",
                                         "Z",
                                         "0",
                                         " ",
                                         "\"",
                                         "\\-",
                                         "/",
                                         "\b",
                                         "\f",
                                         "\n",
                                         "\r",
                                         "\t",
                                         "\x01",
                                         "\x1f",
                                         "\x7f",
                                         "\xc3\xa9",
                                         "\xe2\x82\xac",
                                         "\xf0\x9f\x98\x80",
                                         "a longer piece of text",
                                         "{",
                                         "]",
                                         ",",
                                         ":"};
    std::string text = "t";
    for (std::size_t count = random() % 6; count > 0; --count)
        text += pieces[random() % std::size(pieces)];
    return text;
}

Peer RandomPeer(std::mt19937& random, int depth) {
    switch (random() % (depth > 0 ? 8 : 5)) {
        case 0:
            return nullptr;
        case 1:
            return random() % 2 == 0;
        case 2:
            return static_cast<std::int64_t>(random()) - 1000000;
        case 3:
            return static_cast<double>(random()) / 7.0;
        case 4:
        case 5:
            return RandomPeerText(random);
        case 6: {
            Peer array = Peer::array();
            for (std::size_t count = random() % 6; count > 0; --count)
                array.push_back(RandomPeer(random, depth - 1));
            return array;
        }
        default: {
            Peer object = Peer::object();
            for (std::size_t count = random() % 6; count > 0; --count)
                object[RandomPeerText(random)] = RandomPeer(random, depth - 1);
            return object;
        }
    }
}

TEST(JsonHostile, ReadsWhatAPeerWrites) {
    std::mt19937 random(20240117);
    for (int i = 0; i < 2000; ++i) {
        const Peer peer = RandomPeer(random, 5);
        const std::string shape = PeerShape(peer);
        EXPECT_EQ(ShapeOf(peer.dump()).value_or("(fails)"), shape) << peer.dump();
        EXPECT_EQ(ShapeOf(peer.dump(2)).value_or("(fails)"), shape) << "indented " << peer.dump();
        EXPECT_EQ(ShapeOf(peer.dump(-1, ' ', true)).value_or("(fails)"), shape) << "ASCII " << peer.dump();
        if (HasFailure())
            return;
    }
}

// Controls without an escape of their own pass raw, which a strict reader refuses: they are left out.
TEST(JsonHostile, APeerReadsWhatItWrites) {
    std::mt19937 random(20240118);
    int read = 0;
    for (int i = 0; i < 2000; ++i) {
        const Peer peer = RandomPeer(random, 5);
        json::JsonNode root;
        ASSERT_TRUE(json::ParseJson(Text(peer.dump()), root));
        for (const bool pretty : {false, true}) {
            const std::string written = Written(root, pretty);
            if (written.find('\x01') != std::string::npos || written.find('\x1f') != std::string::npos)
                continue;
            const Peer back = Peer::parse(written, nullptr, false);
            ASSERT_FALSE(back.is_discarded()) << Visible(written);
            ASSERT_EQ(back, peer) << Visible(written);
            ++read;
        }
    }
    EXPECT_GT(read, 2000) << "most documents have no such control";
}

}  // namespace
