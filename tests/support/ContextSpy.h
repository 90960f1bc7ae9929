// Entries of a platform table that tell which pointer of the caller's they were called with.
#pragma once

#include <set>
#include <string>
#include <tuple>

#include "core/src/system/PlatformTable.h"

namespace test {

/// Since the last Clear().
struct SeenContexts {
    std::set<void*> contexts;
    std::set<std::string> entries;  // that were called

    void Clear() {
        contexts.clear();
        entries.clear();
    }
};
inline SeenContexts seen;

template <auto Entry>
struct ContextSpy;
template <class Result, class... Arguments,
          Result (*quillmarkclient_core::PlatformTable::*Entry)(Arguments...)>
struct ContextSpy<Entry> {
    static inline Result (*original)(Arguments...) = nullptr;
    static inline const char* name = "";

    static Result Call(Arguments... arguments) {
        seen.entries.insert(name);
        seen.contexts.insert(std::get<sizeof...(Arguments) - 1>(std::tie(arguments...)));
        return original(arguments...);
    }
    static void Install(quillmarkclient_core::PlatformTable& table, const char* entryName) {
        name = entryName;
        original = table.*Entry;
        table.*Entry = &Call;
    }
};

/// The table with a spy before every entry of the core's that takes the pointer. One table at a time.
inline quillmarkclient_core::PlatformTable Spied(quillmarkclient_core::PlatformTable table) {
    using T = quillmarkclient_core::PlatformTable;
    ContextSpy<&T::Sleep>::Install(table, "Sleep");
    ContextSpy<&T::FileRead>::Install(table, "FileRead");
    ContextSpy<&T::FileWrite>::Install(table, "FileWrite");
    ContextSpy<&T::FileGetSize>::Install(table, "FileGetSize");
    ContextSpy<&T::FileSetSize>::Install(table, "FileSetSize");
    ContextSpy<&T::FileDelete>::Install(table, "FileDelete");
    ContextSpy<&T::GetMachineIds>::Install(table, "GetMachineIds");
    ContextSpy<&T::HttpRequest>::Install(table, "HttpRequest");
    ContextSpy<&T::HttpFree>::Install(table, "HttpFree");
    ContextSpy<&T::GetTime>::Install(table, "GetTime");
    ContextSpy<&T::Encrypt>::Install(table, "Encrypt");
    ContextSpy<&T::Decrypt>::Install(table, "Decrypt");
    ContextSpy<&T::Md5>::Install(table, "Md5");
    ContextSpy<&T::FreeCryptoBuffer>::Install(table, "FreeCryptoBuffer");
    seen.Clear();
    return table;
}

}  // namespace test
