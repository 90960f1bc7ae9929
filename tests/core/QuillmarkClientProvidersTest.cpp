// The list of the social providers as each face gives it.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "core/src/system/SystemApi.h"
#include "tests/support/NativeCalls.h"

namespace {

using namespace std::string_literals;
using test::Operation;
using Strings = std::vector<std::string>;

class QuillmarkClientProviders : public test::FacesFixture {
protected:
    QuillmarkClientProviders() {
        Init();
        Create();
    }
    // The first `size` bytes of the list, which is one byte longer than its texts with their ends.
    std::string Bytes(std::size_t size) {
        char* names = nullptr;
        EXPECT_EQ(slots->GetSocialProviders(&names), ResultCode::kSuccess);
        if (names == nullptr)
            return "(null)";
        std::string bytes(names, size);
        EXPECT_EQ(slots->FreeMemory(names), ResultCode::kSuccess);
        return bytes;
    }
};

TEST_F(QuillmarkClientProviders, EachFaceHasItsForm) {
    static const struct {
        const char* name;
        const char* body;
        Strings names;
        std::string bytes;
    } rows[] = {
        {"three of one letter", R"([{"key":"a"},{"key":"b"},{"key":"c"}])", {"a", "b", "c"}, "a\0b\0c\0\0"s},
        {"none", "[]", {}, "\0\0"s},
        {"one", R"([{"key":"acme"}])", {"acme"}, "acme\0\0"s},
        {"of several lengths",
         R"([{"key":"a"},{"key":"a name that is longer than the short form of a string"}])",
         {"a", "a name that is longer than the short form of a string"},
         "a\0a name that is longer than the short form of a string\0\0"s},
        {"UTF-8", R"([{"key":"\u00e9"},{"key":"日本"}])", {"\xc3\xa9", "日本"}, "\xc3\xa9\0日本\0\0"s},
        {"two adjacent separators", R"([{"key":"a;;b"}])", {"a", "b"}, "a\0\0b\0\0"s},
        {"an empty name between", R"([{"key":"a"},{"key":""},{"key":"b"}])", {"a", "b"}, "a\0\0b\0\0"s},
        {"an empty name in front", R"([{"key":""},{"key":"b"}])", {"b"}, "\0b\0\0"s},
        {"an empty name at the end", R"([{"key":"a"},{"key":""}])", {"a"}, "a\0\0\0"s},
        {"an empty name alone", R"([{"key":""}])", {}, "\0\0"s},
        {"a separator alone", R"([{"key":";"}])", {}, "\0\0\0"s},
        {"a separator inside", R"([{"key":"a;b"},{"key":"c"}])", {"a", "b", "c"}, "a\0b\0c\0\0"s},
        {"other separators are letters", R"([{"key":"a,b:c|d"}])", {"a,b:c|d"}, "a,b:c|d\0\0"s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        service.Answer(test::kProviders, 200, row.body);
        EXPECT_EQ(Bytes(row.bytes.size()), row.bytes);
        Strings names{"a former one", "another"};
        EXPECT_EQ(client->GetSocialProviders(names), ResultCode::kSuccess);
        EXPECT_EQ(names, row.names);
    }
}

// The sizes that the table's Alloc was asked for.
std::vector<std::size_t> blockSizes;
void* (*allocate)(std::size_t) = nullptr;

TEST_F(QuillmarkClientProviders, TheListIsOneBlockOfTwoBytesMoreThanItsText) {
    allocate = platform.table.Alloc;
    auto table = platform.table;
    table.Alloc = [](std::size_t size) {
        blockSizes.push_back(size);
        return allocate(size);
    };
    quillmarkclient_core::SystemApi::SetTable(table);
    blockSizes.clear();
    EXPECT_EQ(Bytes(7), "a\0b\0c\0\0"s);
    EXPECT_EQ(blockSizes, (std::vector<std::size_t>{6, 7})) << "the text with its terminator, and the list";
    service.Answer(test::kProviders, 200, "[]");
    blockSizes.clear();
    EXPECT_EQ(Bytes(2), "\0\0"s);
    EXPECT_EQ(blockSizes, (std::vector<std::size_t>{1, 2}));
}

TEST_F(QuillmarkClientProviders, AReaderOfTheListSeesTheNames) {
    char* names = nullptr;
    ASSERT_EQ(slots->GetSocialProviders(&names), ResultCode::kSuccess);
    Strings read;
    for (const char* name = names; *name != '\0'; name += read.back().size() + 1)
        read.emplace_back(name);
    EXPECT_EQ(read, (Strings{"a", "b", "c"}));
    EXPECT_EQ(slots->FreeMemory(names), ResultCode::kSuccess);
}

TEST_F(QuillmarkClientProviders, WithoutAnOutTheExchangeIsMadeAndItsTextFreed) {
    const long blocks = platform.BlocksOut();
    EXPECT_EQ(slots->GetSocialProviders(nullptr), ResultCode::kSuccess);
    EXPECT_EQ(platform.RequestLines(test::kServiceUrl), Strings{test::kProviders});
    EXPECT_EQ(platform.BlocksOut(), blocks);
    EXPECT_TRUE(platform.errors.empty());

    service.Answer(test::kProviders, 500, "");
    EXPECT_EQ(slots->GetSocialProviders(nullptr), ResultCode::kInternalServiceError);
    platform.FailCall(Operation::Alloc, 1);
    service.Answer(test::kProviders, 200, "[]");
    EXPECT_EQ(slots->GetSocialProviders(nullptr), ResultCode::kInsufficientResources);
    EXPECT_EQ(platform.BlocksOut(), blocks);
}

TEST_F(QuillmarkClientProviders, RefusalsLeaveBothOuts) {
    service.Answer(test::kProviders, 403, "");
    test::Outs outs;
    EXPECT_EQ(client->GetSocialProviders(outs.providers), ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(slots->GetSocialProviders(&outs.names), ResultCode::kEmailUnverifiedOrBlocked);
    outs.ExpectUnset(ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(platform.errors.size(), 2u);
}

TEST_F(QuillmarkClientProviders, EachBlockMissingIsACodeAndNothingIsLeftBehind) {
    static const struct {
        const char* name;
        std::uint32_t nth;
        Strings sources;  // of the reports
    } rows[] = {
        {"the text", 1, {"core/src/PodMaker", "core/src/quillmarkclient"}},
        {"the list", 2, {"core/src/QuillmarkClientInstance"}},
    };
    const long blocks = platform.BlocksOut();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.errors.clear();
        char* names = test::Outs::Unset<char>();
        platform.FailCall(Operation::Alloc, 1, row.nth);
        EXPECT_EQ(static_cast<std::uint32_t>(slots->GetSocialProviders(&names)), 0x80000003u);
        platform.FailCall(Operation::Alloc, 0);
        const bool isLists = row.nth == 2;
        EXPECT_EQ(names, isLists ? nullptr : test::Outs::Unset<char>());
        EXPECT_EQ(platform.BlocksOut(), blocks);
        Strings sources;
        for (const auto& error : platform.errors) {
            EXPECT_EQ(error.code, 0x80000003u);
            EXPECT_GT(error.line, 0u);
            sources.push_back(error.source);
        }
        EXPECT_EQ(sources, row.sources);
    }
    Strings names{"a former one"};
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(static_cast<std::uint32_t>(client->GetSocialProviders(names)), 0x80000003u);
    EXPECT_EQ(names, Strings{"a former one"});
}

TEST_F(QuillmarkClientProviders, TheListOutlivesTheCoreThatGaveIt) {
    char* names = nullptr;
    ASSERT_EQ(slots->GetSocialProviders(&names), ResultCode::kSuccess);
    Drop();
    client = std::make_unique<quillmarkclient::QuillmarkClient>();
    EXPECT_EQ(std::string(names, 7), "a\0b\0c\0\0"s);
    Init();
    Create();
    EXPECT_EQ(slots->FreeMemory(names), ResultCode::kSuccess) << "by another core of the process";
}

}  // namespace
