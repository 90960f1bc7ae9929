// Tables whose entries go by way of a test's own code.
//
//   struct Pause { test::AllocationPause pause; };
//   table = test::Hooked<Pause>(platform.table);     // every entry runs inside a guard
//
//   table = test::Throwing(platform.table);          // an entry of the test's choice throws
//   test::throwing = {test::Operation::HttpRequest, 2, [] { throw 7; }};
//
// One table at a time of each kind.
#pragma once

#include <cstddef>
#include <cstring>

#include "core/src/system/PlatformTable.h"
#include "tests/support/ScriptedPlatform.h"

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

/// Calls Hook<entry>::Install(table) for each entry, in the table's order.
template <template <auto Entry> class Hook>
void HookEach(quillmarkclient_core::PlatformTable& table) {
    using T = quillmarkclient_core::PlatformTable;
    Hook<&T::Sleep>::Install(table);
    Hook<&T::FileRead>::Install(table);
    Hook<&T::FileWrite>::Install(table);
    Hook<&T::FileGetSize>::Install(table);
    Hook<&T::FileSetSize>::Install(table);
    Hook<&T::FileDelete>::Install(table);
    Hook<&T::GetMachineIds>::Install(table);
    Hook<&T::HttpRequest>::Install(table);
    Hook<&T::HttpUploadFile>::Install(table);
    Hook<&T::HttpFree>::Install(table);
    Hook<&T::Alloc>::Install(table);
    Hook<&T::Free>::Install(table);
    Hook<&T::MemSet>::Install(table);
    Hook<&T::MemCopy>::Install(table);
    Hook<&T::MemMove>::Install(table);
    Hook<&T::MemCompare>::Install(table);
    Hook<&T::GetTime>::Install(table);
    Hook<&T::VerifySignature>::Install(table);
    Hook<&T::Encrypt>::Install(table);
    Hook<&T::Decrypt>::Install(table);
    Hook<&T::Sha512>::Install(table);
    Hook<&T::Sha256>::Install(table);
    Hook<&T::Md5>::Install(table);
    Hook<&T::RsaPublicDecrypt>::Install(table);
    Hook<&T::FreeCryptoBuffer>::Install(table);
}

template <class Guard>
struct HookedBy {
    template <auto Entry>
    using Hook = HookedEntry<Guard, Entry>;
};

template <class Guard>
quillmarkclient_core::PlatformTable Hooked(quillmarkclient_core::PlatformTable table) {
    HookEach<HookedBy<Guard>::template Hook>(table);
    return table;
}

/// Which call throws, and what. `raise` null: none does.
struct ThrowingCall {
    Operation operation = Operation::Count;
    std::size_t nth = 1;  // 1 is the next
    void (*raise)() = nullptr;
    std::size_t seen = 0;  // calls of the operation so far
};
inline ThrowingCall throwing;

template <auto Entry>
struct ThrowingEntry;
template <class Result, class... Arguments,
          Result (*quillmarkclient_core::PlatformTable::*Entry)(Arguments...)>
struct ThrowingEntry<Entry> {
    static inline Result (*original)(Arguments...) = nullptr;
    static inline Operation operation = Operation::Count;

    static Result Call(Arguments... arguments) {
        if (throwing.raise != nullptr && operation == throwing.operation && ++throwing.seen == throwing.nth)
            throwing.raise();
        return original(arguments...);
    }
    static void Install(quillmarkclient_core::PlatformTable& table) {
        const auto offset =
            reinterpret_cast<const char*>(&(table.*Entry)) - reinterpret_cast<const char*>(&table);
        operation = static_cast<Operation>(static_cast<std::size_t>(offset) / sizeof(void*));
        original = table.*Entry;
        table.*Entry = &Call;
    }
};

inline quillmarkclient_core::PlatformTable Throwing(quillmarkclient_core::PlatformTable table) {
    throwing = {};
    HookEach<ThrowingEntry>(table);
    return table;
}

/// Takes one entry out.
inline quillmarkclient_core::PlatformTable WithoutEntry(quillmarkclient_core::PlatformTable table,
                                                        Operation operation) {
    std::memset(reinterpret_cast<char*>(&table) + static_cast<std::size_t>(operation) * sizeof(void*), 0,
                sizeof(void*));
    return table;
}

}  // namespace test
