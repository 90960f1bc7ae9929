// The two reports from the host's records to the documents, which are dropped. Nothing leaves the process, so
// this program looks at the memory that is given back.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "tests/core/client/ReportDocument.h"
#include "tests/support/BlockSize.h"
#include "tests/support/FlatFixture.h"

namespace {

constexpr char kMark[] = "{{\"entityTypeKey\"";

// The last document that was given back, in memory of its own: nothing may allocate here.
char dropped[1 << 16];

void LookAt(const void* block) noexcept {
    if (block == nullptr)
        return;
    const std::size_t size = test::BlockSize(block);
    if (size < sizeof kMark || std::memcmp(block, kMark, sizeof kMark - 1) != 0)
        return;
    std::strncpy(dropped, static_cast<const char*>(block), sizeof dropped - 1);
}

void* NewBlock(std::size_t size) {
    // Cleared, so that a block is never judged by what it held before.
    void* const block = std::calloc(1, size == 0 ? 1 : size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

}  // namespace

void* operator new(std::size_t size) {
    return NewBlock(size);
}
void* operator new[](std::size_t size) {
    return NewBlock(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::calloc(1, size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return std::calloc(1, size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept {
    LookAt(block);
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    LookAt(block);
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    LookAt(block);
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}

namespace {

using quillmarkclient::OnlineBackupReportRecord;
using quillmarkclient::OnlineReportHead;
using quillmarkclient::OnlineReportRecord;
using report_test::Attributes;
using report_test::BackupDocument;
using report_test::EmptyWipeDocument;
using report_test::WipeDocument;
using Strings = std::vector<std::string>;

const OnlineReportHead kHead = {"h1", "h2", "h3",  "h4",  "h5",  "h6",  "h7",
                                "h8", "h9", "h10", "h11", "h12", "h13", "h14"};

class FlatReports : public test::FlatFixture {
protected:
    ResultCode Send(const OnlineBackupReportRecord* report) {
        return quillmarkclient::SendOnlineBackupReport(context, report, nullptr);
    }
    ResultCode Send(const OnlineReportRecord* report) {
        return quillmarkclient::SendOnlineReport(context, report, nullptr);
    }
    // The document that was composed.
    template <class Record>
    std::string Dropped(const Record& record) {
        dropped[0] = '\0';
        EXPECT_EQ(Send(&record), ResultCode::kSuccess);
        return dropped;
    }
};

TEST_F(FlatReports, HandleAndRecordAreChecked) {
    const OnlineBackupReportRecord backup{};
    const OnlineReportRecord wipe{};
    EXPECT_EQ(Send(&backup), ResultCode::kNotInitialized);
    ExpectReported(ResultCode::kNotInitialized);
    EXPECT_EQ(Send(&wipe), ResultCode::kNotInitialized);
    ExpectReported(ResultCode::kNotInitialized);
    EXPECT_EQ(Send(static_cast<OnlineBackupReportRecord*>(nullptr)), ResultCode::kNotInitialized);
    EXPECT_EQ(Send(static_cast<OnlineReportRecord*>(nullptr)), ResultCode::kNotInitialized);
    EXPECT_EQ(platform.errors.size(), 4u);
    Start();
    Forget();
    EXPECT_EQ(Send(static_cast<OnlineBackupReportRecord*>(nullptr)), ResultCode::kInvalidParameters);
    ExpectReported(ResultCode::kInvalidParameters);
    EXPECT_EQ(Send(static_cast<OnlineReportRecord*>(nullptr)), ResultCode::kInvalidParameters);
    ExpectReported(ResultCode::kInvalidParameters);
    auto core = std::move(context->core);
    EXPECT_EQ(Send(&backup), ResultCode::kNotInitialized);
    EXPECT_EQ(Send(&wipe), ResultCode::kNotInitialized);
    context->core = std::move(core);
    EXPECT_EQ(platform.errors.size(), 4u);
    EXPECT_TRUE(platform.traceLines.empty());
}

TEST_F(FlatReports, ACoreWithoutASessionIsAnInternalError) {
    Start();
    Forget();
    auto* session = context->core->registryClient;
    context->core->registryClient = nullptr;
    const OnlineBackupReportRecord backup{};
    const OnlineReportRecord wipe{};
    EXPECT_EQ(Send(&backup), ResultCode::kInternalError);
    EXPECT_EQ(Send(&wipe), ResultCode::kInternalError);
    ASSERT_EQ(platform.errors.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(platform.errors[i].code, 0x80000001u);
        EXPECT_EQ(platform.errors[i].source,
                  i % 2 == 0 ? "core/src/client/Client" : "core/src/quillmarkclient");
    }
    context->core->registryClient = session;
}

TEST_F(FlatReports, AreComposedAndDropped) {
    Start();
    Forget();
    const OnlineBackupReportRecord backup{};
    const OnlineReportRecord wipe{};
    EXPECT_EQ(Send(&backup), ResultCode::kSuccess);
    EXPECT_EQ(Send(&wipe), ResultCode::kSuccess);
    EXPECT_EQ(platform.logOrder,
              Strings(2, "T TODO: need to add different implementation without lowcode api"));
    EXPECT_TRUE(platform.requests.empty());
}

TEST_F(FlatReports, EveryFieldOfABackupArrivesInItsPlace) {
    Start();
    const OnlineBackupReportRecord record{kHead, "o1",       "o2", "C:\0D:\0E:\0", "o4", "o5", "o6",     "o7",
                                          "o8",  0x80000000, "c1", "c2",           "c3", "c4", "*.tmp\0"};
    EXPECT_EQ(Dropped(record), BackupDocument({{"OBR_Report_Name", "h1"},
                                               {"OBR_Person", "h7"},
                                               {"OBR_Company", "h8"},
                                               {"OBR_Company_Address", "h9"},
                                               {"OBR_Report_Status", "h2"},
                                               {"OBR_Report_Date", "h3"},
                                               {"OBR_Tool_Name", "h4"},
                                               {"OBR_Service_Tag", "h5"},
                                               {"OBR_Report_ID", "h6"},
                                               {"OBR_Computer_Name", "h10"},
                                               {"OBR_Operation_System", "h11"},
                                               {"OBR_Product_ID", "h12"},
                                               {"OBR_Bios_Version", "h13"},
                                               {"OBR_Bios_Date", "h14"},
                                               {"OBR_Operation", "o1"},
                                               {"OBR_Backup_Type", "o2"},
                                               {"OBR_Backup_Object", "C:"},
                                               {"OBR_Backup_Object", "D:"},
                                               {"OBR_Backup_Object", "E:"},
                                               {"OBR_Backup_Size", "o4"},
                                               {"OBR_Increment_Size", "o5"},
                                               {"OBR_Control_Sum", "o6"},
                                               {"OBR_Backup_Destination", "o7"},
                                               {"OBR_Disk_Space_Available", "o8"},
                                               {"OBR_Total_Files", "2147483648"},
                                               {"OBR_Container_Type", "c1"},
                                               {"OBR_Encryption", "c2"},
                                               {"OBR_Backup_Compression", "c3"},
                                               {"OBR_Backup_Splitting", "c4"},
                                               {"OBR_Excludes", "*.tmp"}}));
}

TEST_F(FlatReports, EveryFieldOfAWipeArrivesInItsPlace) {
    Start();
    static const std::uint8_t first[] = {0x00, 0x7F, 0xFF};
    static const std::uint8_t middle[] = {0x80};
    static const std::uint8_t end[] = {0x0A, 0x22};
    const OnlineReportRecord record{kHead,
                                    "w1",
                                    "w2",
                                    "w3",
                                    "w4",
                                    "w5",
                                    "w6",
                                    "w7",
                                    "w8",
                                    "w9",
                                    "w10",
                                    11,
                                    12,
                                    13,
                                    14,
                                    15,
                                    16,
                                    255,
                                    18,
                                    19,
                                    20,
                                    21,
                                    22,
                                    23,
                                    24,
                                    {first, 3},
                                    25,
                                    {middle, 1},
                                    0xFFFFFFFFFFFFFFFF,
                                    {end, 2}};
    EXPECT_EQ(Dropped(record), WipeDocument({{"Report_Name", "h1"},
                                             {"Person", "h7"},
                                             {"Company", "h8"},
                                             {"Company_Address", "h9"},
                                             {"Report_Status", "h2"},
                                             {"Report_Date", "h3"},
                                             {"Tool_Name", "h4"},
                                             {"Service_Tag", "h5"},
                                             {"Report_ID", "h6"},
                                             {"Computer_Name", "h10"},
                                             {"Operation_System", "h11"},
                                             {"Product_ID", "h12"},
                                             {"Bios_Version", "h13"},
                                             {"Bios_Date", "h14"},
                                             {"Operation", "w1"},
                                             {"Wipe_Object", "w2"},
                                             {"Serial_Number", "w3"},
                                             {"Model_Number", "w4"},
                                             {"Disk_ID", "w5"},
                                             {"Object_Size", "w6"},
                                             {"Start_Time", "w7"},
                                             {"Duration", "w8"},
                                             {"Wipe_Stamp", "w9"},
                                             {"Wipe_Method", "w10"},
                                             {"Pass_Count", "11"},
                                             {"Verify_Pass_Count", "12"},
                                             {"Checked_Sectors_InPercents", "13"},
                                             {"Mask_1", "14"},
                                             {"Mask_2", "15"},
                                             {"Mask_3", "16"},
                                             {"Mask_4", "255"},
                                             {"Pass_Count_1", "18"},
                                             {"Pass_Count_2", "19"},
                                             {"Pass_Count_3", "20"},
                                             {"Pass_Count_4", "21"},
                                             {"Group_Passes", "22"},
                                             {"Total_Bad_Blocks", "23"},
                                             {"First_Sector", "24"},
                                             {"First_Sector_Dump", "00000000: 00 7F FF"},
                                             {"Middle_Sector", "25"},
                                             {"Middle_Sector_Dump", "00000000: 80"},
                                             {"End_Sector", "18446744073709551615"},
                                             {"End_Sector_Dump", "00000000: 0A 22"}}));
}

TEST_F(FlatReports, NullTextsReadAsEmpty) {
    Start();
    EXPECT_EQ(Dropped(OnlineBackupReportRecord{}), BackupDocument({{"OBR_Total_Files", "0"}}));
    EXPECT_EQ(Dropped(OnlineReportRecord{}), EmptyWipeDocument());
}

TEST_F(FlatReports, Lists) {
    static const struct {
        const char* name;
        const char* block;
        Strings entries;
    } rows[] = {
        {"no block", nullptr, {}},
        {"its end alone", "", {}},
        {"one", "a\0", {"a"}},
        {"three", "a\0bb\0ccc\0", {"a", "bb", "ccc"}},
        {"what is behind the end is not seen", "a\0\0b\0", {"a"}},
        {"blanks are an entry", " \0b\0", {" ", "b"}},
        {"a separator is no end", "a;b,c\0", {"a;b,c"}},
    };
    Start();
    for (const auto& row : rows) {
        OnlineBackupReportRecord record{};
        record.Excludes = row.block;
        Attributes attributes = {{"OBR_Total_Files", "0"}};
        for (const std::string& entry : row.entries)
            attributes.emplace_back("OBR_Excludes", entry);
        EXPECT_EQ(Dropped(record), BackupDocument(attributes)) << row.name;
    }
}

TEST_F(FlatReports, Sectors) {
    static const std::uint8_t bytes[] = {0, 1, 2};
    static const struct {
        const char* name;
        quillmarkclient::SectorBytes sector;
        const char* dump;  // null: no attribute
    } rows[] = {
        {"three bytes", {bytes, 3}, "00000000: 00 01 02"},
        {"as many as told", {bytes, 1}, "00000000: 00"},
        {"none", {bytes, 0}, nullptr},
        {"no pointer", {nullptr, 512}, nullptr},
        {"no pointer and a huge length", {nullptr, 0xFFFFFFFF}, nullptr},
    };
    Start();
    for (const auto& row : rows) {
        OnlineReportRecord record{};
        record.End_Sector_Dump = row.sector;
        const std::string document = Dropped(record);
        EXPECT_NE(document.find("End_Sector"), std::string::npos) << row.name;
        if (row.dump == nullptr)
            EXPECT_EQ(document.find("_Dump"), std::string::npos) << row.name;
        else
            EXPECT_NE(
                document.find(std::string(R"("attributeKey":"End_Sector_Dump","valueLocales":[{"value":")") +
                              row.dump + "\"}]}]}}"),
                std::string::npos)
                << row.name;
    }
}

}  // namespace
