// A platform table whose every entry runs inside a guard of the test's choice.
//
//   struct Pause { test::AllocationPause pause; };
//   table = test::Hooked<Pause>(platform.table);
//
// One table at a time for each type of guard.
#pragma once

#include "core/src/system/PlatformTable.h"

namespace test {

template <class Guard, auto Entry>
struct HookedEntry;

template <class Guard, class Result, class... Arguments,
          Result (*quillmarkclient_core::PlatformTable::*Entry)(Arguments...)>
struct HookedEntry<Guard, Entry> {
    static inline Result (*original)(Arguments...) = nullptr;

    static Result Call(Arguments... arguments) {
        [[maybe_unused]] const Guard guard;
        return original(arguments...);
    }

    static void Install(quillmarkclient_core::PlatformTable& table) {
        original = table.*Entry;
        table.*Entry = &Call;
    }
};

template <class Guard>
quillmarkclient_core::PlatformTable Hooked(quillmarkclient_core::PlatformTable table) {
    using T = quillmarkclient_core::PlatformTable;
    HookedEntry<Guard, &T::Sleep>::Install(table);
    HookedEntry<Guard, &T::FileRead>::Install(table);
    HookedEntry<Guard, &T::FileWrite>::Install(table);
    HookedEntry<Guard, &T::FileGetSize>::Install(table);
    HookedEntry<Guard, &T::FileSetSize>::Install(table);
    HookedEntry<Guard, &T::FileDelete>::Install(table);
    HookedEntry<Guard, &T::GetMachineIds>::Install(table);
    HookedEntry<Guard, &T::HttpRequest>::Install(table);
    HookedEntry<Guard, &T::HttpUploadFile>::Install(table);
    HookedEntry<Guard, &T::HttpFree>::Install(table);
    HookedEntry<Guard, &T::Alloc>::Install(table);
    HookedEntry<Guard, &T::Free>::Install(table);
    HookedEntry<Guard, &T::MemSet>::Install(table);
    HookedEntry<Guard, &T::MemCopy>::Install(table);
    HookedEntry<Guard, &T::MemMove>::Install(table);
    HookedEntry<Guard, &T::MemCompare>::Install(table);
    HookedEntry<Guard, &T::GetTime>::Install(table);
    HookedEntry<Guard, &T::VerifySignature>::Install(table);
    HookedEntry<Guard, &T::Encrypt>::Install(table);
    HookedEntry<Guard, &T::Decrypt>::Install(table);
    HookedEntry<Guard, &T::Sha512>::Install(table);
    HookedEntry<Guard, &T::Sha256>::Install(table);
    HookedEntry<Guard, &T::Md5>::Install(table);
    HookedEntry<Guard, &T::RsaPublicDecrypt>::Install(table);
    HookedEntry<Guard, &T::FreeCryptoBuffer>::Install(table);
    return table;
}

}  // namespace test
