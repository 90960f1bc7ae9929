#include "core/src/PodMaker.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "core/src/system/SystemApi.h"
#include "tests/support/ScriptedPlatform.h"

namespace {

using quillmarkclient::CustomerContext;
using quillmarkclient::CustomerData;
using quillmarkclient::PodMaker;
using quillmarkclient::PrincipalAdmin;
using quillmarkclient::ProductUpdateInfo;
using quillmarkclient::ServiceErrorRecord;
using quillmarkclient_core::SystemApi;

// Sizes of the blocks that were asked for; each comes full of what no maker writes.
std::vector<std::size_t> allocatedSizes;
void* (*scriptedAlloc)(std::size_t) = nullptr;

void* RecordingAlloc(std::size_t size) {
    allocatedSizes.push_back(size);
    void* block = scriptedAlloc(size);
    if (block != nullptr)
        std::memset(block, 0xA5, size);
    return block;
}

class PodMakerTest : public ::testing::Test {
protected:
    PodMakerTest() {
        allocatedSizes.clear();
        scriptedAlloc = platform.table.Alloc;
        platform.table.Alloc = &RecordingAlloc;
        platform.Install();
    }

    // One block of this size was asked for since the last call, and `record` is it.
    void ExpectOneBlock(const void* record, std::size_t size) {
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(allocatedSizes, std::vector<std::size_t>{size});
        allocatedSizes.clear();
    }

    static std::size_t OffsetIn(const void* block, const void* place) {
        return static_cast<std::size_t>(static_cast<const char*>(place) - static_cast<const char*>(block));
    }

    // An empty text of its own.
    static void ExpectEmptyAt(const void* block, const char* text, std::size_t offset) {
        ASSERT_NE(text, nullptr);
        EXPECT_STREQ(text, "");
        EXPECT_EQ(OffsetIn(block, text), offset);
    }

    test::ScriptedPlatform platform;
};

portable_stl::vector<registry::ContextEntry> Contexts(
    const std::vector<std::pair<const char*, const char*>>& entries) {
    portable_stl::vector<registry::ContextEntry> contexts;
    for (const auto& [id, name] : entries) {
        registry::ContextEntry entry;
        entry.kind = static_cast<std::uint32_t>(contexts.size());
        entry.id = id;
        entry.name = name;
        contexts.push_back(std::move(entry)).value();
    }
    return contexts;
}

TEST_F(PodMakerTest, ContextListIsPointersEntriesStrings) {
    static const struct {
        const char* name;
        std::vector<std::pair<const char*, const char*>> entries;
        std::size_t slots;
        std::size_t size;
    } rows[] = {
        {"none", {}, 2, 16},
        {"one", {{"id1", "Anna"}}, 2, 16 + 24 + 4 + 5},
        {"two", {{"i", "n"}, {"j", "m"}}, 4, 32 + 48 + 8},
        {"two without names", {{"i", ""}, {"j", ""}}, 4, 32 + 48 + 6},
        {"three", {{"", ""}, {"", ""}, {"", ""}}, 4, 32 + 72 + 6},
        {"four", {{"a", ""}, {"b", ""}, {"c", ""}, {"d", ""}}, 6, 48 + 96 + 12},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CustomerContext** list = PodMaker::MakeCustomerContexts(Contexts(row.entries));
        ExpectOneBlock(list, row.size);
        std::size_t nextText = row.slots * 8 + row.entries.size() * 24;
        for (std::size_t i = 0; i < row.entries.size(); ++i) {
            const CustomerContext& entry = *list[i];
            EXPECT_EQ(OffsetIn(list, &entry), row.slots * 8 + i * 24);
            EXPECT_EQ(entry.kind, i);
            EXPECT_EQ(std::memcmp(reinterpret_cast<const char*>(&entry) + 4, "\0\0\0", 4), 0) << "padding";
            EXPECT_EQ(OffsetIn(list, entry.id), nextText);
            EXPECT_STREQ(entry.id, row.entries[i].first);
            nextText += std::strlen(entry.id) + 1;
            EXPECT_EQ(OffsetIn(list, entry.name), nextText);
            EXPECT_STREQ(entry.name, row.entries[i].second);
            nextText += std::strlen(entry.name) + 1;
        }
        EXPECT_EQ(nextText, row.size);
        for (std::size_t i = row.entries.size(); i < row.slots; ++i)
            EXPECT_EQ(list[i], nullptr) << i;
        SystemApi::Free(list);
    }
    platform.ExpectNoBlocks();
}

TEST_F(PodMakerTest, CustomerDataHasItsStringsInAnotherOrderThanItsPointers) {
    registry::CustomerInfo info;
    info.id = "42";
    info.firstName = "Anna";
    info.lastName = "Blum";
    info.email = "a@b.c";
    info.middleName = "dropped";
    CustomerData* data = PodMaker::MakeCustomerData(info);
    ExpectOneBlock(data, 2 + 4 + 4 + 5 + 36);
    EXPECT_EQ(OffsetIn(data, data->id), 32u);
    EXPECT_EQ(OffsetIn(data, data->firstName), 35u);
    EXPECT_EQ(OffsetIn(data, data->lastName), 40u);
    EXPECT_EQ(OffsetIn(data, data->email), 45u);
    EXPECT_STREQ(data->id, "42");
    EXPECT_STREQ(data->firstName, "Anna");
    EXPECT_STREQ(data->lastName, "Blum");
    EXPECT_STREQ(data->email, "a@b.c");
    SystemApi::Free(data);
}

TEST_F(PodMakerTest, EmptyCustomerDataIs36BytesWithoutANullPointer) {
    CustomerData* data = PodMaker::MakeCustomerData({});
    ExpectOneBlock(data, 36);
    ExpectEmptyAt(data, data->id, 32);
    ExpectEmptyAt(data, data->firstName, 33);
    ExpectEmptyAt(data, data->lastName, 34);
    ExpectEmptyAt(data, data->email, 35);
    SystemApi::Free(data);
}

TEST_F(PodMakerTest, ServiceErrorIsHeaderPairsListStrings) {
    registry::ServiceErrorInfo info;
    info.resultCode = 0x82000012u;
    info.httpCode = 403;
    info.type = "t";
    info.title = "ti";
    info.status = "sta";
    info.detail = "deta";
    info.reason = "reaso";
    info.errorCode = "errorc";
    info.traceId = "traceid";
    info.errorArgs.push_back({"n1", "value1"}).value();
    info.errorArgs.push_back({"name2", ""}).value();

    ServiceErrorRecord* record = PodMaker::MakeServiceErrorRecord(info);
    ExpectOneBlock(record, 72 + 16 * 2 + 8 * 3 + 7 + (1 + 2 + 3 + 4 + 5 + 6 + 7) + (2 + 6 + 5 + 0) + 4);
    EXPECT_EQ(record->resultCode, 0x82000012u);
    EXPECT_EQ(record->httpCode, 403u);
    EXPECT_EQ(OffsetIn(record, record->errorArgs[0]), 72u);
    EXPECT_EQ(OffsetIn(record, record->errorArgs[1]), 88u);
    EXPECT_EQ(OffsetIn(record, record->errorArgs), 104u);
    EXPECT_EQ(record->errorArgs[2], nullptr);

    const struct {
        const char* text;
        const char* expected;
        std::size_t offset;
    } texts[] = {
        {record->type, "t", 128},
        {record->title, "ti", 130},
        {record->status, "sta", 133},
        {record->detail, "deta", 137},
        {record->reason, "reaso", 142},
        {record->errorCode, "errorc", 148},
        {record->traceId, "traceid", 155},
        {record->errorArgs[0]->name, "n1", 163},
        {record->errorArgs[0]->value, "value1", 166},
        {record->errorArgs[1]->name, "name2", 173},
        {record->errorArgs[1]->value, "", 179},
    };
    for (const auto& text : texts) {
        EXPECT_STREQ(text.text, text.expected);
        EXPECT_EQ(OffsetIn(record, text.text), text.offset) << text.expected;
    }
    SystemApi::Free(record);
    platform.ExpectNoBlocks();
}

TEST_F(PodMakerTest, ServiceErrorGrowsByItsArguments) {
    for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{3}}) {
        SCOPED_TRACE(count);
        registry::ServiceErrorInfo info;
        for (std::size_t i = 0; i < count; ++i)
            info.errorArgs.push_back({"", ""}).value();
        ServiceErrorRecord* record = PodMaker::MakeServiceErrorRecord(info);
        ExpectOneBlock(record, 72 + 16 * count + 8 * (count + 1) + 7 + 2 * count);
        EXPECT_EQ(OffsetIn(record, record->errorArgs), 72 + 16 * count);
        EXPECT_EQ(record->errorArgs[count], nullptr);
        const char* const texts[] = {record->type,   record->title,     record->status, record->detail,
                                     record->reason, record->errorCode, record->traceId};
        std::size_t next = 72 + 16 * count + 8 * (count + 1);
        for (const char* const text : texts)
            ExpectEmptyAt(record, text, next++);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(OffsetIn(record, record->errorArgs[i]), 72 + 16 * i);
            ExpectEmptyAt(record, record->errorArgs[i]->name, next++);
            ExpectEmptyAt(record, record->errorArgs[i]->value, next++);
        }
        SystemApi::Free(record);
    }
    platform.ExpectNoBlocks();
}

TEST_F(PodMakerTest, UpdateInfoHasItsStringsInTheOrderOfItsPointers) {
    ProductUpdateInfo* info = PodMaker::MakeProductUpdateInfo("1.2", "New \xC3\xA9", "https://x/y");
    ExpectOneBlock(info, 3 + 6 + 11 + 27);
    EXPECT_EQ(OffsetIn(info, info->version), 24u);
    EXPECT_EQ(OffsetIn(info, info->description), 28u);
    EXPECT_EQ(OffsetIn(info, info->url), 35u);
    EXPECT_STREQ(info->version, "1.2");
    EXPECT_STREQ(info->description, "New \xC3\xA9");
    EXPECT_STREQ(info->url, "https://x/y");
    SystemApi::Free(info);
    platform.ExpectNoBlocks();
}

TEST_F(PodMakerTest, EmptyUpdateInfoIs27BytesWithoutANullPointer) {
    ProductUpdateInfo* info = PodMaker::MakeProductUpdateInfo("", "", "");
    ExpectOneBlock(info, 27);
    ExpectEmptyAt(info, info->version, 24);
    ExpectEmptyAt(info, info->description, 25);
    ExpectEmptyAt(info, info->url, 26);
    SystemApi::Free(info);
}

TEST_F(PodMakerTest, AdministratorHasItsStringsInTheOrderOfItsPointers) {
    PrincipalAdmin* admin = PodMaker::MakePrincipalAdmin("42", "Anna", "a@b.c", "first of all");
    ExpectOneBlock(admin, 2 + 4 + 5 + 12 + 36);
    EXPECT_EQ(OffsetIn(admin, admin->id), 32u);
    EXPECT_EQ(OffsetIn(admin, admin->name), 35u);
    EXPECT_EQ(OffsetIn(admin, admin->email), 40u);
    EXPECT_EQ(OffsetIn(admin, admin->description), 46u);
    EXPECT_STREQ(admin->id, "42");
    EXPECT_STREQ(admin->name, "Anna");
    EXPECT_STREQ(admin->email, "a@b.c");
    EXPECT_STREQ(admin->description, "first of all");
    SystemApi::Free(admin);
    platform.ExpectNoBlocks();
}

TEST_F(PodMakerTest, EmptyAdministratorIs36BytesWithoutANullPointer) {
    PrincipalAdmin* admin = PodMaker::MakePrincipalAdmin("", "", "", "");
    ExpectOneBlock(admin, 36);
    ExpectEmptyAt(admin, admin->id, 32);
    ExpectEmptyAt(admin, admin->name, 33);
    ExpectEmptyAt(admin, admin->email, 34);
    ExpectEmptyAt(admin, admin->description, 35);
    SystemApi::Free(admin);
}

TEST_F(PodMakerTest, StringIsItsLengthAndOne) {
    static const struct {
        const char* name;
        const char* text;
        std::size_t size;
    } rows[] = {
        {"empty", "", 1},
        {"short", "abc", 4},
        {"long", "0123456789012345678901234567890123456789", 41},
        {"not ASCII", "\xc3\xa9\xff", 4},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        char* text = PodMaker::MakeString(row.text);
        ExpectOneBlock(text, row.size);
        EXPECT_STREQ(text, row.text);
        SystemApi::Free(text);
    }
}

TEST_F(PodMakerTest, ZeroBytesInsideATextAreCopied) {
    char* text = PodMaker::MakeString(portable_stl::string("a\0b", 3));
    ExpectOneBlock(text, 4);
    EXPECT_EQ(std::memcmp(text, "a\0b\0", 4), 0);
    SystemApi::Free(text);
}

TEST_F(PodMakerTest, WithoutMemoryEachGivesNullAndOneReport) {
    static const struct {
        const char* name;
        void* (*make)();
    } rows[] = {
        {"contexts", [] { return static_cast<void*>(PodMaker::MakeCustomerContexts({})); }},
        {"customer", [] { return static_cast<void*>(PodMaker::MakeCustomerData({})); }},
        {"service error", [] { return static_cast<void*>(PodMaker::MakeServiceErrorRecord({})); }},
        {"update", [] { return static_cast<void*>(PodMaker::MakeProductUpdateInfo("1", "2", "3")); }},
        {"administrator",
         [] { return static_cast<void*>(PodMaker::MakePrincipalAdmin("1", "2", "3", "4")); }},
        {"string", [] { return static_cast<void*>(PodMaker::MakeString("abc")); }},
    };
    std::vector<std::uint32_t> lines;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.errors.clear();
        platform.FailCall(test::Operation::Alloc, 1);
        allocatedSizes.clear();
        EXPECT_EQ(row.make(), nullptr);
        EXPECT_EQ(allocatedSizes.size(), 1u) << "one try";
        ASSERT_EQ(platform.errors.size(), 1u);
        EXPECT_EQ(platform.errors[0].code, 0x80000003u);
        EXPECT_EQ(platform.errors[0].message, "Insufficiednt system resources");
        EXPECT_EQ(platform.errors[0].source, "core/src/PodMaker");
        lines.push_back(platform.errors[0].line);
    }
    for (std::size_t i = 1; i < lines.size(); ++i)
        EXPECT_GT(lines[i], lines[i - 1]) << "each maker reports its own line";
    platform.ExpectNoBlocks();
}

TEST_F(PodMakerTest, ATableWithoutAllocGivesNull) {
    platform.table.Alloc = nullptr;
    platform.Install();
    EXPECT_EQ(PodMaker::MakeString("abc"), nullptr);
    EXPECT_EQ(platform.errors.size(), 1u);
}

}  // namespace
