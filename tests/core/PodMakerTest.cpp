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
using quillmarkclient::NameValuePair;
using quillmarkclient::PodMaker;
using quillmarkclient::ServiceErrorRecord;
using quillmarkclient_core::SystemApi;

// The layouts are interface.
static_assert(sizeof(CustomerContext) == 24);
static_assert(offsetof(CustomerContext, kind) == 0);
static_assert(offsetof(CustomerContext, id) == 8);
static_assert(offsetof(CustomerContext, name) == 16);
static_assert(sizeof(CustomerData) == 32);
static_assert(offsetof(CustomerData, firstName) == 0);
static_assert(offsetof(CustomerData, lastName) == 8);
static_assert(offsetof(CustomerData, email) == 16);
static_assert(offsetof(CustomerData, id) == 24);
static_assert(sizeof(NameValuePair) == 16);
static_assert(offsetof(NameValuePair, name) == 0);
static_assert(offsetof(NameValuePair, value) == 8);
static_assert(sizeof(ServiceErrorRecord) == 72);
static_assert(offsetof(ServiceErrorRecord, resultCode) == 0);
static_assert(offsetof(ServiceErrorRecord, httpCode) == 4);
static_assert(offsetof(ServiceErrorRecord, type) == 8);
static_assert(offsetof(ServiceErrorRecord, title) == 16);
static_assert(offsetof(ServiceErrorRecord, status) == 24);
static_assert(offsetof(ServiceErrorRecord, detail) == 32);
static_assert(offsetof(ServiceErrorRecord, reason) == 40);
static_assert(offsetof(ServiceErrorRecord, errorCode) == 48);
static_assert(offsetof(ServiceErrorRecord, traceId) == 56);
static_assert(offsetof(ServiceErrorRecord, errorArgs) == 64);
static_assert(offsetof(quillmarkclient::ContextChoice, kind) == 0);
static_assert(offsetof(quillmarkclient::ContextChoice, contextId) == 8);
static_assert(offsetof(quillmarkclient::QuillmarkClientInit, version) == 0);
static_assert(offsetof(quillmarkclient::QuillmarkClientInit, clientKind) == 4);
static_assert(offsetof(quillmarkclient::QuillmarkClientInit, table) == 8);
static_assert(offsetof(quillmarkclient::QuillmarkClientInit, storagePath) == 208);
static_assert(offsetof(quillmarkclient::QuillmarkClientInit, serviceUrl) == 216);
static_assert(offsetof(quillmarkclient::QuillmarkClientInit, identityName) == 224);
static_assert(offsetof(quillmarkclient::QuillmarkClientInit, auxiliary4) == 232);
static_assert(offsetof(quillmarkclient::QuillmarkClientInit, useAlternateKeys) == 240);
static_assert(offsetof(quillmarkclient::QuillmarkClientInit, retryPolicy) == 244);

// Sizes of the blocks that were asked for.
std::vector<std::size_t> allocatedSizes;
void* (*scriptedAlloc)(std::size_t) = nullptr;

void* RecordingAlloc(std::size_t size) {
    allocatedSizes.push_back(size);
    return scriptedAlloc(size);
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
    EXPECT_STREQ(data->id, "");
    EXPECT_STREQ(data->firstName, "");
    EXPECT_STREQ(data->lastName, "");
    EXPECT_STREQ(data->email, "");
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

TEST_F(PodMakerTest, ServiceErrorWithoutArgumentsHasAListOfItsEndAlone) {
    ServiceErrorRecord* record = PodMaker::MakeServiceErrorRecord({});
    ExpectOneBlock(record, 72 + 8 + 7);
    ASSERT_NE(record->errorArgs, nullptr);
    EXPECT_EQ(OffsetIn(record, record->errorArgs), 72u);
    EXPECT_EQ(record->errorArgs[0], nullptr);
    EXPECT_STREQ(record->type, "");
    EXPECT_STREQ(record->traceId, "");
    SystemApi::Free(record);
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
        {"string", [] { return static_cast<void*>(PodMaker::MakeString("abc")); }},
    };
    std::vector<std::uint32_t> lines;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.errors.clear();
        platform.FailCall(test::Operation::Alloc, 1);
        EXPECT_EQ(row.make(), nullptr);
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
