// The platform table of Windows. What each entry promises stands in core/src/system/PlatformTable.h.
#include "core/src/system/PlatformTable.h"
#include "platform/common/Crypto.h"
#include "platform/common/Memory.h"
#include "platform/windows/Files.h"
#include "platform/windows/HttpTransport.h"
#include "platform/windows/MachineIds.h"
#include "platform/windows/Time.h"

namespace quillmarkclient_core {
namespace {

namespace common = quillmarkclient_common;
namespace here = quillmarkclient_windows;

constexpr PlatformTable kWindowsTable = {
    .Sleep = here::Sleep,                          // 1
    .FileRead = here::FileRead,                    // 2
    .FileWrite = here::FileWrite,                  // 3
    .FileGetSize = here::FileGetSize,              // 4
    .FileSetSize = here::FileSetSize,              // 5
    .FileDelete = here::FileDelete,                // 6
    .GetMachineIds = here::GetMachineIds,          // 7
    .HttpRequest = here::HttpRequest,              // 8
    .HttpUploadFile = here::HttpUploadFile,        // 9
    .HttpFree = here::HttpFree,                    // 10
    .Alloc = common::Alloc,                        // 11
    .Free = common::Free,                          // 12
    .MemSet = common::MemSet,                      // 13
    .MemCopy = common::MemCopy,                    // 14
    .MemMove = common::MemMove,                    // 15
    .MemCompare = common::MemCompare,              // 16
    .GetTime = here::GetTime,                      // 17
    .VerifySignature = common::VerifySignature,    // 18
    .Encrypt = common::Encrypt,                    // 19
    .Decrypt = common::Decrypt,                    // 20
    .Sha512 = common::Sha512,                      // 21
    .Sha256 = common::Sha256,                      // 22
    .Md5 = common::Md5,                            // 23
    .RsaPublicDecrypt = common::RsaPublicDecrypt,  // 24
    .FreeCryptoBuffer = common::FreeCryptoBuffer,  // 25
};

}  // namespace

const PlatformTable& DefaultPlatformTable() noexcept {
    return kWindowsTable;
}

}  // namespace quillmarkclient_core
