// The reports of a backup run and of a wipe: the records, and the documents made of them. Nothing sends these
// documents yet.
#pragma once

#include <cstdint>

#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace onlinereports {

/// What both reports begin with.
struct ReportHead {
    portable_stl::string Report_Name;
    portable_stl::string Report_Status;
    portable_stl::string Report_Date;
    portable_stl::string Tool_Name;
    portable_stl::string Service_Tag;
    portable_stl::string Report_ID;

    portable_stl::string Person;
    portable_stl::string Company;
    portable_stl::string Company_Address;

    portable_stl::string Computer_Name;
    portable_stl::string Operation_System;
    portable_stl::string Product_ID;
    portable_stl::string Bios_Version;
    portable_stl::string Bios_Date;
};

struct BackupReport : ReportHead {
    portable_stl::string Operation;
    portable_stl::string Backup_Type;
    portable_stl::vector<portable_stl::string> Backup_Object;
    portable_stl::string Backup_Size;
    portable_stl::string Increment_Size;
    portable_stl::string Control_Sum;
    portable_stl::string Backup_Destination;
    portable_stl::string Disk_Space_Available;
    std::uint32_t Total_Files = 0;

    portable_stl::string Container_Type;
    portable_stl::string Encryption;
    portable_stl::string Backup_Compression;
    portable_stl::string Backup_Splitting;
    portable_stl::vector<portable_stl::string> Excludes;
};

struct WipeReport : ReportHead {
    portable_stl::string Operation;
    portable_stl::string Wipe_Object;
    portable_stl::string Serial_Number;
    portable_stl::string Model_Number;
    portable_stl::string Disk_ID;
    portable_stl::string Object_Size;
    portable_stl::string Start_Time;
    portable_stl::string Duration;
    portable_stl::string Wipe_Stamp;
    portable_stl::string Wipe_Method;
    std::uint32_t Pass_Count = 0;
    std::uint32_t Verify_Pass_Count = 0;
    std::uint8_t Checked_Sectors_InPercents = 0;
    std::uint8_t Mask_1 = 0;
    std::uint8_t Mask_2 = 0;
    std::uint8_t Mask_3 = 0;
    std::uint8_t Mask_4 = 0;
    std::uint32_t Pass_Count_1 = 0;
    std::uint32_t Pass_Count_2 = 0;
    std::uint32_t Pass_Count_3 = 0;
    std::uint32_t Pass_Count_4 = 0;
    std::uint32_t Group_Passes = 0;
    std::uint32_t Total_Bad_Blocks = 0;
    std::uint64_t First_Sector = 0;
    portable_stl::string First_Sector_Dump;  // the sector's bytes
    std::uint64_t Middle_Sector = 0;
    portable_stl::string Middle_Sector_Dump;
    std::uint64_t End_Sector = 0;
    portable_stl::string End_Sector_Dump;
};

/// Replaces `text` by the report's document. False when it can't be written.
[[nodiscard]] bool WriteBackupReport(const BackupReport& report, portable_stl::string& text);
/// The same for a wipe.
[[nodiscard]] bool WriteWipeReport(const WipeReport& report, portable_stl::string& text);

/// Lines of up to 16 bytes: the index of the first in 8 lower-case digits, a colon, and for each byte a blank
/// and two upper-case digits. A full line ends with a line feed.
[[nodiscard]] portable_stl::string HexDump(const portable_stl::string& bytes);

}  // namespace onlinereports
