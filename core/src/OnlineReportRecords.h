#pragma once

#include <cstdint>

// The two reports as they cross the native boundary. They belong to the caller and are copied at once. Texts
// are zero-terminated UTF-8, a null pointer reads as empty. A list of texts is one block of zero-terminated
// texts, ended by an empty one; a null pointer is an empty list.
namespace quillmarkclient {

/// What both reports begin with.
struct OnlineReportHead {
    const char* Report_Name;
    const char* Report_Status;
    const char* Report_Date;
    const char* Tool_Name;
    const char* Service_Tag;
    const char* Report_ID;

    const char* Person;
    const char* Company;
    const char* Company_Address;

    const char* Computer_Name;
    const char* Operation_System;
    const char* Product_ID;
    const char* Bios_Version;
    const char* Bios_Date;
};

/// One run of a backup.
struct OnlineBackupReportRecord {
    OnlineReportHead head;

    const char* Operation;
    const char* Backup_Type;
    const char* Backup_Object;  // list
    const char* Backup_Size;
    const char* Increment_Size;
    const char* Control_Sum;
    const char* Backup_Destination;
    const char* Disk_Space_Available;
    std::uint32_t Total_Files;

    const char* Container_Type;
    const char* Encryption;
    const char* Backup_Compression;
    const char* Backup_Splitting;
    const char* Excludes;  // list
};
static_assert(sizeof(void*) != 8 || sizeof(OnlineBackupReportRecord) == 224);

/// The bytes of a sector; a null pointer means none.
struct SectorBytes {
    const std::uint8_t* bytes;
    std::uint32_t length;
};

/// One wipe of a disk.
struct OnlineReportRecord {
    OnlineReportHead head;

    const char* Operation;
    const char* Wipe_Object;
    const char* Serial_Number;
    const char* Model_Number;
    const char* Disk_ID;
    const char* Object_Size;
    const char* Start_Time;
    const char* Duration;
    const char* Wipe_Stamp;
    const char* Wipe_Method;
    std::uint32_t Pass_Count;
    std::uint32_t Verify_Pass_Count;
    std::uint8_t Checked_Sectors_InPercents;
    std::uint8_t Mask_1;
    std::uint8_t Mask_2;
    std::uint8_t Mask_3;
    std::uint8_t Mask_4;
    std::uint32_t Pass_Count_1;
    std::uint32_t Pass_Count_2;
    std::uint32_t Pass_Count_3;
    std::uint32_t Pass_Count_4;
    std::uint32_t Group_Passes;
    std::uint32_t Total_Bad_Blocks;
    std::uint64_t First_Sector;
    SectorBytes First_Sector_Dump;
    std::uint64_t Middle_Sector;
    SectorBytes Middle_Sector_Dump;
    std::uint64_t End_Sector;
    SectorBytes End_Sector_Dump;
};
static_assert(sizeof(void*) != 8 || sizeof(OnlineReportRecord) == 304);

}  // namespace quillmarkclient
