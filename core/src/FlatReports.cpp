// The two reports: from the host's records to the core's.
#include <cstring>

#include "core/src/FlatOperations.h"
#include "core/src/FlatSupport.h"

namespace quillmarkclient {

using portable_stl::string;

namespace {

// The texts up to the empty one.
portable_stl::vector<string> ToList(const char* block) {
    portable_stl::vector<string> texts;
    if (block == nullptr)
        return texts;
    for (const char* text = block; *text != '\0'; text += std::strlen(text) + 1)
        texts.push_back(string(text)).value();
    return texts;
}

string ToBytes(const SectorBytes& sector) {
    if (sector.bytes == nullptr)
        return {};
    return {reinterpret_cast<const char*>(sector.bytes), sector.length};
}

void CopyHead(const OnlineReportHead& from, onlinereports::ReportHead& to) {
    to.Report_Name = from.Report_Name;
    to.Report_Status = from.Report_Status;
    to.Report_Date = from.Report_Date;
    to.Tool_Name = from.Tool_Name;
    to.Service_Tag = from.Service_Tag;
    to.Report_ID = from.Report_ID;
    to.Person = from.Person;
    to.Company = from.Company;
    to.Company_Address = from.Company_Address;
    to.Computer_Name = from.Computer_Name;
    to.Operation_System = from.Operation_System;
    to.Product_ID = from.Product_ID;
    to.Bios_Version = from.Bios_Version;
    to.Bios_Date = from.Bios_Date;
}

onlinereports::BackupReport ToCore(const OnlineBackupReportRecord& from) {
    onlinereports::BackupReport to;
    CopyHead(from.head, to);
    to.Operation = from.Operation;
    to.Backup_Type = from.Backup_Type;
    to.Backup_Object = ToList(from.Backup_Object);
    to.Backup_Size = from.Backup_Size;
    to.Increment_Size = from.Increment_Size;
    to.Control_Sum = from.Control_Sum;
    to.Backup_Destination = from.Backup_Destination;
    to.Disk_Space_Available = from.Disk_Space_Available;
    to.Total_Files = from.Total_Files;
    to.Container_Type = from.Container_Type;
    to.Encryption = from.Encryption;
    to.Backup_Compression = from.Backup_Compression;
    to.Backup_Splitting = from.Backup_Splitting;
    to.Excludes = ToList(from.Excludes);
    return to;
}

onlinereports::WipeReport ToCore(const OnlineReportRecord& from) {
    onlinereports::WipeReport to;
    CopyHead(from.head, to);
    to.Operation = from.Operation;
    to.Wipe_Object = from.Wipe_Object;
    to.Serial_Number = from.Serial_Number;
    to.Model_Number = from.Model_Number;
    to.Disk_ID = from.Disk_ID;
    to.Object_Size = from.Object_Size;
    to.Start_Time = from.Start_Time;
    to.Duration = from.Duration;
    to.Wipe_Stamp = from.Wipe_Stamp;
    to.Wipe_Method = from.Wipe_Method;
    to.Pass_Count = from.Pass_Count;
    to.Verify_Pass_Count = from.Verify_Pass_Count;
    to.Checked_Sectors_InPercents = from.Checked_Sectors_InPercents;
    to.Mask_1 = from.Mask_1;
    to.Mask_2 = from.Mask_2;
    to.Mask_3 = from.Mask_3;
    to.Mask_4 = from.Mask_4;
    to.Pass_Count_1 = from.Pass_Count_1;
    to.Pass_Count_2 = from.Pass_Count_2;
    to.Pass_Count_3 = from.Pass_Count_3;
    to.Pass_Count_4 = from.Pass_Count_4;
    to.Group_Passes = from.Group_Passes;
    to.Total_Bad_Blocks = from.Total_Bad_Blocks;
    to.First_Sector = from.First_Sector;
    to.First_Sector_Dump = ToBytes(from.First_Sector_Dump);
    to.Middle_Sector = from.Middle_Sector;
    to.Middle_Sector_Dump = ToBytes(from.Middle_Sector_Dump);
    to.End_Sector = from.End_Sector;
    to.End_Sector_Dump = ToBytes(from.End_Sector_Dump);
    return to;
}

}  // namespace

ResultCode SendOnlineBackupReport(ClientContext* context, const OnlineBackupReportRecord* report,
                                  void* /*platformContext*/) {
    if (!HasCore(context))
        return Report(ResultCode::kNotInitialized);
    if (report == nullptr)
        return Report(ResultCode::kInvalidParameters);
    const auto code = context->core->SendOnlineBackupReport(ToCore(*report));
    return IsSuccess(code) ? code : Report(code);
}

ResultCode SendOnlineReport(ClientContext* context, const OnlineReportRecord* report,
                            void* /*platformContext*/) {
    if (!HasCore(context))
        return Report(ResultCode::kNotInitialized);
    if (report == nullptr)
        return Report(ResultCode::kInvalidParameters);
    const auto code = context->core->SendOnlineReport(ToCore(*report));
    return IsSuccess(code) ? code : Report(code);
}

}  // namespace quillmarkclient
