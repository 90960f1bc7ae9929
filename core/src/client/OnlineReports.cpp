#include "core/src/client/OnlineReports.h"

#include <cstddef>

#include "core/src/client/EntityRecord.h"
#include "core/src/core/helper.h"
#include "core/src/json/Json.h"

namespace onlinereports {

using json::JsonNode;
using portable_stl::string;

namespace {

// The array is there, so that composing can't fail.
void Compose(JsonNode& array, const char* key, const string& value) {
    static_cast<void>(lowcode::ComposeAttribute(&array, key, value));
}

// The ways to write an attribute; an empty text leaves none.

template <auto field, class Report>
void Text(JsonNode& array, const char* key, const Report& report) {
    Compose(array, key, report.*field);
}

template <auto field, class Report>
void Each(JsonNode& array, const char* key, const Report& report) {
    for (const string& entry : report.*field)
        Compose(array, key, entry);
}

template <auto field, class Report>
void Number(JsonNode& array, const char* key, const Report& report) {
    Compose(array, key, quillmarkclient_core::ToDecimal(report.*field));
}

template <auto field, class Report>
void Dump(JsonNode& array, const char* key, const Report& report) {
    Compose(array, key, HexDump(report.*field));
}

template <class Report>
struct Attribute {
    const char* key;
    void (*write)(JsonNode& array, const char* key, const Report& report);
};

constexpr Attribute<BackupReport> kBackupAttributes[] = {
    {"OBR_Report_Name", Text<&BackupReport::Report_Name>},
    {"OBR_Person", Text<&BackupReport::Person>},
    {"OBR_Company", Text<&BackupReport::Company>},
    {"OBR_Company_Address", Text<&BackupReport::Company_Address>},
    {"OBR_Report_Status", Text<&BackupReport::Report_Status>},
    {"OBR_Report_Date", Text<&BackupReport::Report_Date>},
    {"OBR_Tool_Name", Text<&BackupReport::Tool_Name>},
    {"OBR_Service_Tag", Text<&BackupReport::Service_Tag>},
    {"OBR_Report_ID", Text<&BackupReport::Report_ID>},
    {"OBR_Computer_Name", Text<&BackupReport::Computer_Name>},
    {"OBR_Operation_System", Text<&BackupReport::Operation_System>},
    {"OBR_Product_ID", Text<&BackupReport::Product_ID>},
    {"OBR_Bios_Version", Text<&BackupReport::Bios_Version>},
    {"OBR_Bios_Date", Text<&BackupReport::Bios_Date>},
    {"OBR_Operation", Text<&BackupReport::Operation>},
    {"OBR_Backup_Type", Text<&BackupReport::Backup_Type>},
    {"OBR_Backup_Object", Each<&BackupReport::Backup_Object>},
    {"OBR_Backup_Size", Text<&BackupReport::Backup_Size>},
    {"OBR_Increment_Size", Text<&BackupReport::Increment_Size>},
    {"OBR_Control_Sum", Text<&BackupReport::Control_Sum>},
    {"OBR_Backup_Destination", Text<&BackupReport::Backup_Destination>},
    {"OBR_Disk_Space_Available", Text<&BackupReport::Disk_Space_Available>},
    {"OBR_Total_Files", Number<&BackupReport::Total_Files>},
    {"OBR_Container_Type", Text<&BackupReport::Container_Type>},
    {"OBR_Encryption", Text<&BackupReport::Encryption>},
    {"OBR_Backup_Compression", Text<&BackupReport::Backup_Compression>},
    {"OBR_Backup_Splitting", Text<&BackupReport::Backup_Splitting>},
    {"OBR_Excludes", Each<&BackupReport::Excludes>},
};

constexpr Attribute<WipeReport> kWipeAttributes[] = {
    {"Report_Name", Text<&WipeReport::Report_Name>},
    {"Person", Text<&WipeReport::Person>},
    {"Company", Text<&WipeReport::Company>},
    {"Company_Address", Text<&WipeReport::Company_Address>},
    {"Report_Status", Text<&WipeReport::Report_Status>},
    {"Report_Date", Text<&WipeReport::Report_Date>},
    {"Tool_Name", Text<&WipeReport::Tool_Name>},
    {"Service_Tag", Text<&WipeReport::Service_Tag>},
    {"Report_ID", Text<&WipeReport::Report_ID>},
    {"Computer_Name", Text<&WipeReport::Computer_Name>},
    {"Operation_System", Text<&WipeReport::Operation_System>},
    {"Product_ID", Text<&WipeReport::Product_ID>},
    {"Bios_Version", Text<&WipeReport::Bios_Version>},
    {"Bios_Date", Text<&WipeReport::Bios_Date>},
    {"Operation", Text<&WipeReport::Operation>},
    {"Wipe_Object", Text<&WipeReport::Wipe_Object>},
    {"Serial_Number", Text<&WipeReport::Serial_Number>},
    {"Model_Number", Text<&WipeReport::Model_Number>},
    {"Disk_ID", Text<&WipeReport::Disk_ID>},
    {"Object_Size", Text<&WipeReport::Object_Size>},
    {"Start_Time", Text<&WipeReport::Start_Time>},
    {"Duration", Text<&WipeReport::Duration>},
    {"Wipe_Stamp", Text<&WipeReport::Wipe_Stamp>},
    {"Wipe_Method", Text<&WipeReport::Wipe_Method>},
    {"Pass_Count", Number<&WipeReport::Pass_Count>},
    {"Verify_Pass_Count", Number<&WipeReport::Verify_Pass_Count>},
    {"Checked_Sectors_InPercents", Number<&WipeReport::Checked_Sectors_InPercents>},
    {"Mask_1", Number<&WipeReport::Mask_1>},
    {"Mask_2", Number<&WipeReport::Mask_2>},
    {"Mask_3", Number<&WipeReport::Mask_3>},
    {"Mask_4", Number<&WipeReport::Mask_4>},
    {"Pass_Count_1", Number<&WipeReport::Pass_Count_1>},
    {"Pass_Count_2", Number<&WipeReport::Pass_Count_2>},
    {"Pass_Count_3", Number<&WipeReport::Pass_Count_3>},
    {"Pass_Count_4", Number<&WipeReport::Pass_Count_4>},
    {"Group_Passes", Number<&WipeReport::Group_Passes>},
    {"Total_Bad_Blocks", Number<&WipeReport::Total_Bad_Blocks>},
    {"First_Sector", Number<&WipeReport::First_Sector>},
    {"First_Sector_Dump", Dump<&WipeReport::First_Sector_Dump>},
    {"Middle_Sector", Number<&WipeReport::Middle_Sector>},
    {"Middle_Sector_Dump", Dump<&WipeReport::Middle_Sector_Dump>},
    {"End_Sector", Number<&WipeReport::End_Sector>},
    {"End_Sector_Dump", Dump<&WipeReport::End_Sector_Dump>},
};

// The root has no flag and its one member no name, so the text has braces in braces. It stays so until there
// is somebody to send it to.
template <class Report, std::size_t count>
bool WriteReport(const char* entityType, const Attribute<Report> (&attributes)[count], const Report& report,
                 string& text) {
    JsonNode root;
    JsonNode& entity = json::AddObject(root, "");
    json::AddChild(entity, "entityTypeKey", entityType, true);
    JsonNode& values = json::AddArray(entity, "attributeValues");
    for (const auto& attribute : attributes)
        attribute.write(values, attribute.key, report);
    return json::WriteJson(root, text, false);
}

constexpr std::size_t kBytesPerLine = 16;
constexpr std::size_t kIndexDigits = 8;

void PutIndex(char* target, std::size_t index) {
    for (std::size_t digit = kIndexDigits; digit > 0; --digit) {
        target[digit - 1] = "0123456789abcdef"[index & 0xF];
        index >>= 4;
    }
    target[kIndexDigits] = ':';
}

}  // namespace

string HexDump(const string& bytes) {
    constexpr std::size_t kIndexSize = kIndexDigits + 1;
    const std::size_t lines = (bytes.size() + kBytesPerLine - 1) / kBytesPerLine;
    string dump;
    dump.resize(lines * kIndexSize + bytes.size() * 3 + bytes.size() / kBytesPerLine);
    char* next = dump.data();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i % kBytesPerLine == 0) {
            PutIndex(next, i);
            next += kIndexSize;
        }
        const auto byte = static_cast<unsigned char>(bytes[i]);
        *next++ = ' ';
        *next++ = "0123456789ABCDEF"[byte >> 4];
        *next++ = "0123456789ABCDEF"[byte & 0xF];
        if (i % kBytesPerLine == kBytesPerLine - 1)
            *next++ = '\n';
    }
    return dump;
}

bool WriteBackupReport(const BackupReport& report, string& text) {
    return WriteReport("Online_Backup_Report_Request", kBackupAttributes, report, text);
}

bool WriteWipeReport(const WipeReport& report, string& text) {
    return WriteReport("Online_Report_Request", kWipeAttributes, report, text);
}

}  // namespace onlinereports
