// What the stand-ins for the system's calls have in common.
//
// A stand-in takes the place of an import of the program. On a thread that has a record it writes the call
// down, and may fail it; on any other it only hands on to the system. A kind of record has at least
//
//   std::string failing              the beginning of the lines of the calls that fail; empty for none
//   DWORD or HRESULT error           what these leave as the thread's last error
//   std::vector<std::string> lines   the calls that were made, in their order
#pragma once

#include <windows.h>

#include <ios>
#include <sstream>
#include <string>
#include <string_view>

namespace test {

// Null without a record.
template <class Calls>
Calls*& RecordOfThread() {
    thread_local Calls* calls = nullptr;
    return calls;
}

// Records the calls of this thread until the scope ends.
template <class Calls>
class RecordedThread {
public:
    explicit RecordedThread(Calls& calls) { RecordOfThread<Calls>() = &calls; }
    ~RecordedThread() { RecordOfThread<Calls>() = nullptr; }
    RecordedThread(const RecordedThread&) = delete;
    RecordedThread& operator=(const RecordedThread&) = delete;
};

// Writes the call down, numbers as `notation` has them. Whether it goes on: false when it is one that fails.
template <class Calls, class... Parts>
[[nodiscard]] bool WriteDown(std::ios_base& (*notation)(std::ios_base&), const char* name,
                             const Parts&... parts) {
    Calls* const calls = RecordOfThread<Calls>();
    if (!calls)
        return true;
    std::ostringstream line;
    line << name << notation;
    ((line << ' ' << parts), ...);
    calls->lines.push_back(line.str());
    if (calls->failing.empty() || !line.str().starts_with(calls->failing))
        return true;
    SetLastError(static_cast<DWORD>(calls->error));
    return false;
}

// What the stand-in for `name` hands on to.
template <class Function>
Function* FunctionOf(const char* library, Function* /*the stand-in, for its type*/, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(library), name)));
}

// As a part of a line. The texts here are ASCII.
inline std::string Text(const wchar_t* text) {
    std::string narrow;
    for (const wchar_t c : std::wstring_view(text ? text : L"(none)"))
        narrow += static_cast<char>(c);
    return narrow;
}

}  // namespace test
