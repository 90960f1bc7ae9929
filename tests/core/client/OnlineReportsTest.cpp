#include "core/src/client/OnlineReports.h"

#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/core/client/ClientFixture.h"
#include "tests/core/client/ReportDocument.h"
#include "tests/core/json/JsonTestSupport.h"
#include "tests/support/EachAllocation.h"
#include "tests/support/LinearCost.h"

namespace {

using json_test::Bytes;
using json_test::Text;
using onlinereports::BackupReport;
using onlinereports::WipeReport;
using report_test::BackupDocument;
using report_test::EmptyWipeDocument;
using report_test::WipeDocument;

std::string Written(const BackupReport& report) {
    portable_stl::string text = "former";
    EXPECT_TRUE(onlinereports::WriteBackupReport(report, text));
    return Bytes(text);
}

std::string Written(const WipeReport& report) {
    portable_stl::string text = "former";
    EXPECT_TRUE(onlinereports::WriteWipeReport(report, text));
    return Bytes(text);
}

template <class Report>
void FillHead(Report& report) {
    report.Report_Name = "name";
    report.Report_Status = "status";
    report.Report_Date = "date";
    report.Tool_Name = "tool";
    report.Service_Tag = "tag";
    report.Report_ID = "id";
    report.Person = "person";
    report.Company = "company";
    report.Company_Address = "address";
    report.Computer_Name = "computer";
    report.Operation_System = "system";
    report.Product_ID = "product";
    report.Bios_Version = "bios version";
    report.Bios_Date = "bios date";
}

BackupReport FilledBackup() {
    BackupReport report;
    FillHead(report);
    report.Operation = "operation";
    report.Backup_Type = "type";
    report.Backup_Object.push_back("C:").value();
    report.Backup_Object.push_back("D:").value();
    report.Backup_Size = "size";
    report.Increment_Size = "increment";
    report.Control_Sum = "sum";
    report.Backup_Destination = "destination";
    report.Disk_Space_Available = "space";
    report.Total_Files = 4294967295;
    report.Container_Type = "container";
    report.Encryption = "encryption";
    report.Backup_Compression = "compression";
    report.Backup_Splitting = "splitting";
    report.Excludes.push_back("*.tmp").value();
    report.Excludes.push_back("*.bak").value();
    return report;
}

TEST(OnlineReports, ABackupsDocument) {
    EXPECT_EQ(Written(FilledBackup()), BackupDocument({{"OBR_Report_Name", "name"},
                                                       {"OBR_Person", "person"},
                                                       {"OBR_Company", "company"},
                                                       {"OBR_Company_Address", "address"},
                                                       {"OBR_Report_Status", "status"},
                                                       {"OBR_Report_Date", "date"},
                                                       {"OBR_Tool_Name", "tool"},
                                                       {"OBR_Service_Tag", "tag"},
                                                       {"OBR_Report_ID", "id"},
                                                       {"OBR_Computer_Name", "computer"},
                                                       {"OBR_Operation_System", "system"},
                                                       {"OBR_Product_ID", "product"},
                                                       {"OBR_Bios_Version", "bios version"},
                                                       {"OBR_Bios_Date", "bios date"},
                                                       {"OBR_Operation", "operation"},
                                                       {"OBR_Backup_Type", "type"},
                                                       {"OBR_Backup_Object", "C:"},
                                                       {"OBR_Backup_Object", "D:"},
                                                       {"OBR_Backup_Size", "size"},
                                                       {"OBR_Increment_Size", "increment"},
                                                       {"OBR_Control_Sum", "sum"},
                                                       {"OBR_Backup_Destination", "destination"},
                                                       {"OBR_Disk_Space_Available", "space"},
                                                       {"OBR_Total_Files", "4294967295"},
                                                       {"OBR_Container_Type", "container"},
                                                       {"OBR_Encryption", "encryption"},
                                                       {"OBR_Backup_Compression", "compression"},
                                                       {"OBR_Backup_Splitting", "splitting"},
                                                       {"OBR_Excludes", "*.tmp"},
                                                       {"OBR_Excludes", "*.bak"}}));
}

WipeReport FilledWipe() {
    WipeReport report;
    FillHead(report);
    report.Operation = "operation";
    report.Wipe_Object = "object";
    report.Serial_Number = "serial";
    report.Model_Number = "model";
    report.Disk_ID = "disk";
    report.Object_Size = "size";
    report.Start_Time = "start";
    report.Duration = "duration";
    report.Wipe_Stamp = "stamp";
    report.Wipe_Method = "method";
    report.Pass_Count = 1;
    report.Verify_Pass_Count = 2;
    report.Checked_Sectors_InPercents = 100;
    report.Mask_1 = 255;
    report.Mask_2 = 65;
    report.Mask_3 = 10;
    report.Mask_4 = 4;
    report.Pass_Count_1 = 11;
    report.Pass_Count_2 = 12;
    report.Pass_Count_3 = 13;
    report.Pass_Count_4 = 4294967295;
    report.Group_Passes = 5;
    report.Total_Bad_Blocks = 6;
    report.First_Sector = 7;
    report.First_Sector_Dump = Text(std::string("\0\x0A", 2));
    report.Middle_Sector = 18446744073709551615u;
    report.Middle_Sector_Dump = "\xFF";
    report.End_Sector = 4294967295;
    report.End_Sector_Dump = "A";
    return report;
}

TEST(OnlineReports, AWipesDocument) {
    EXPECT_EQ(Written(FilledWipe()), WipeDocument({{"Report_Name", "name"},
                                                   {"Person", "person"},
                                                   {"Company", "company"},
                                                   {"Company_Address", "address"},
                                                   {"Report_Status", "status"},
                                                   {"Report_Date", "date"},
                                                   {"Tool_Name", "tool"},
                                                   {"Service_Tag", "tag"},
                                                   {"Report_ID", "id"},
                                                   {"Computer_Name", "computer"},
                                                   {"Operation_System", "system"},
                                                   {"Product_ID", "product"},
                                                   {"Bios_Version", "bios version"},
                                                   {"Bios_Date", "bios date"},
                                                   {"Operation", "operation"},
                                                   {"Wipe_Object", "object"},
                                                   {"Serial_Number", "serial"},
                                                   {"Model_Number", "model"},
                                                   {"Disk_ID", "disk"},
                                                   {"Object_Size", "size"},
                                                   {"Start_Time", "start"},
                                                   {"Duration", "duration"},
                                                   {"Wipe_Stamp", "stamp"},
                                                   {"Wipe_Method", "method"},
                                                   {"Pass_Count", "1"},
                                                   {"Verify_Pass_Count", "2"},
                                                   {"Checked_Sectors_InPercents", "100"},
                                                   {"Mask_1", "255"},
                                                   {"Mask_2", "65"},
                                                   {"Mask_3", "10"},
                                                   {"Mask_4", "4"},
                                                   {"Pass_Count_1", "11"},
                                                   {"Pass_Count_2", "12"},
                                                   {"Pass_Count_3", "13"},
                                                   {"Pass_Count_4", "4294967295"},
                                                   {"Group_Passes", "5"},
                                                   {"Total_Bad_Blocks", "6"},
                                                   {"First_Sector", "7"},
                                                   {"First_Sector_Dump", "00000000: 00 0A"},
                                                   {"Middle_Sector", "18446744073709551615"},
                                                   {"Middle_Sector_Dump", "00000000: FF"},
                                                   {"End_Sector", "4294967295"},
                                                   {"End_Sector_Dump", "00000000: 41"}}));
}

TEST(OnlineReports, AnEmptyBackupHasItsNumberAlone) {
    EXPECT_EQ(Written(BackupReport()), BackupDocument({{"OBR_Total_Files", "0"}}));
}

TEST(OnlineReports, AnEmptyWipeHasItsNumbersAlone) {
    EXPECT_EQ(Written(WipeReport()), EmptyWipeDocument());
}

TEST(OnlineReports, EmptyTextsLeaveNoTrace) {
    BackupReport report;
    report.Report_Name = "n";
    report.Report_Date = " ";
    report.Backup_Object.push_back("").value();
    report.Backup_Object.push_back("C:").value();
    report.Backup_Object.push_back("").value();
    EXPECT_EQ(Written(report), BackupDocument({{"OBR_Report_Name", "n"},
                                               {"OBR_Report_Date", " "},
                                               {"OBR_Backup_Object", "C:"},
                                               {"OBR_Total_Files", "0"}}));
}

// The outer braces are no JSON; what they hold is.
TEST(OnlineReports, TheInnerDocumentComesBackFromAnotherLibrary) {
    const std::string text = "a \"b\" \\ / \b\f\n\r\t \xE2\x82\xAC";
    BackupReport report;
    report.Person = text.c_str();
    const std::string document = Written(report);
    EXPECT_FALSE(nlohmann::json::accept(document));
    const auto entity = nlohmann::ordered_json::parse(document.substr(1, document.size() - 2));
    EXPECT_EQ(entity.size(), 2u);
    EXPECT_EQ(entity["entityTypeKey"], "Online_Backup_Report_Request");
    ASSERT_EQ(entity["attributeValues"].size(), 2u);
    const auto& attribute = entity["attributeValues"][0];
    EXPECT_EQ(attribute.size(), 2u);
    EXPECT_EQ(attribute["attributeKey"], "OBR_Person");
    ASSERT_EQ(attribute["valueLocales"].size(), 1u);
    EXPECT_EQ(attribute["valueLocales"][0].size(), 1u) << "the value alone";
    EXPECT_EQ(attribute["valueLocales"][0]["value"], text);
}

TEST(OnlineReports, AWipeComesBackFromAnotherLibrary) {
    WipeReport report;
    report.Checked_Sectors_InPercents = 65;
    report.Total_Bad_Blocks = 4294967295;
    report.End_Sector = 18446744073709551615u;
    report.First_Sector_Dump = portable_stl::string("\xAB\x00\x0A", 3);
    report.Middle_Sector_Dump = "0123456789abcdef";
    report.End_Sector_Dump = "0123456789abcdefg";
    const std::string document = Written(report);
    const auto entity = nlohmann::ordered_json::parse(document.substr(1, document.size() - 2));
    EXPECT_EQ(entity["entityTypeKey"], "Online_Report_Request");
    std::map<std::string, std::string> values;
    for (const auto& attribute : entity["attributeValues"])
        values[attribute["attributeKey"]] = attribute["valueLocales"][0]["value"];
    EXPECT_EQ(values.size(), 19u);
    EXPECT_EQ(values["Checked_Sectors_InPercents"], "65");
    EXPECT_EQ(values["Total_Bad_Blocks"], "4294967295");
    EXPECT_EQ(values["End_Sector"], "18446744073709551615");
    EXPECT_EQ(values["First_Sector_Dump"], "00000000: AB 00 0A");
    EXPECT_EQ(values["Middle_Sector_Dump"], "00000000: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66\n");
    EXPECT_EQ(values["End_Sector_Dump"],
              "00000000: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66\n00000010: 67");
}

TEST(OnlineReports, ADumpsLineEndsAreEscapedInTheDocument) {
    WipeReport report;
    report.First_Sector_Dump = "0123456789abcdef";
    EXPECT_NE(
        Written(report).find(R"("value":"00000000: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66\n"}]})"),
        std::string::npos);
}

TEST(OnlineReports, Dumps) {
    const std::string group16 = " AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB";
    const struct {
        const char* name;
        std::string bytes;
        std::string dump;
    } rows[] = {
        {"no bytes", "", ""},
        {"one", "\xAB", "00000000: AB"},
        {"a zero byte", std::string(1, '\0'), "00000000: 00"},
        {"all digits", "\x01\x23\x45\x67\x89\xAB\xCD\xEF", "00000000: 01 23 45 67 89 AB CD EF"},
        {"fifteen", std::string(15, '\xAB'), "00000000:" + group16.substr(0, 45)},
        {"sixteen", std::string(16, '\xAB'), "00000000:" + group16 + "\n"},
        {"seventeen", std::string(17, '\xAB'), "00000000:" + group16 + "\n00000010: AB"},
        {"thirty-two", std::string(32, '\xAB'), "00000000:" + group16 + "\n00000010:" + group16 + "\n"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Bytes(onlinereports::HexDump(Text(row.bytes))), row.dump) << row.name;
}

TEST(OnlineReports, ALongDumpCountsInSmallLetters) {
    const std::string dump = Bytes(onlinereports::HexDump(Text(std::string(0xABCDF, 'x'))));
    constexpr std::size_t kLineSize = 9 + 16 * 3 + 1;
    EXPECT_EQ(dump.substr(kLineSize * 10, 12), "000000a0: 78");
    EXPECT_EQ(dump.substr(kLineSize * 0xABCD, 12), "000abcd0: 78");
    EXPECT_EQ(dump.size(), kLineSize * 0xABCD + 9 + 15 * 3);
}

TEST(OnlineReports, ManyBytesAndEntriesTakeLinearCost) {
    test::ExpectLinearCost(10'000, [](std::size_t count) {
        WipeReport wipe;
        wipe.First_Sector_Dump = Text(std::string(count, 'x'));
        return test::AllocatedBytes([&] { EXPECT_GT(Written(wipe).size(), count * 3); });
    });
    test::ExpectLinearCost(1'000, [](std::size_t count) {
        BackupReport backup;
        for (std::size_t i = 0; i < count; ++i)
            backup.Excludes.push_back("*.tmp").value();
        return test::AllocatedBytes([&] { EXPECT_GT(Written(backup).size(), count * 30); });
    });
}

TEST(OnlineReports, EveryFailedAllocationThrows) {
    WipeReport wipe = FilledWipe();
    wipe.Person = "a person whose name is too long for the short form";
    const std::size_t failures = test::FailEachAllocation([&wipe] {
        portable_stl::string text;
        EXPECT_TRUE(onlinereports::WriteWipeReport(wipe, text));
    });
    EXPECT_GT(failures, 50u);
}

class SendOnlineReports : public test::ClientFixture {};

// Nothing is sent, signed in or not, and the log tells one line.
TEST_F(SendOnlineReports, AreComposedAndDropped) {
    for (const bool signedIn : {false, true}) {
        if (signedIn)
            SignIn();
        Forget();
        EXPECT_EQ(client.SendOnlineBackupReport(FilledBackup()), ResultCode::kSuccess);
        EXPECT_EQ(client.SendOnlineBackupReport({}), ResultCode::kSuccess);
        EXPECT_EQ(client.SendOnlineReport(FilledWipe()), ResultCode::kSuccess);
        EXPECT_EQ(client.SendOnlineReport({}), ResultCode::kSuccess);
        EXPECT_EQ(platform.logOrder,
                  Strings(4, "T TODO: need to add different implementation without lowcode api"));
        EXPECT_TRUE(platform.requests.empty());
    }
}

TEST_F(SendOnlineReports, NeedASession) {
    client.registryClient = nullptr;
    EXPECT_EQ(client.SendOnlineBackupReport(FilledBackup()), ResultCode::kInternalError);
    ExpectOneReport(0x80000001, "Internal program error");
    Forget();
    EXPECT_EQ(client.SendOnlineReport(FilledWipe()), ResultCode::kInternalError);
    ExpectOneReport(0x80000001, "Internal program error");
    EXPECT_TRUE(platform.traceLines.empty());
}

}  // namespace
