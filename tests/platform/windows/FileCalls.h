// The system's file calls as the rows make them, seen from between the two.
//
// The stand-ins hand everything on.
#pragma once

#include <windows.h>

#include <atomic>
#include <string>
#include <vector>

#include "tests/platform/windows/SystemCalls.h"

namespace test {

struct FileCalls {
    // The beginning of the lines of the calls that fail. "WriteFile, short" is none, and loses one byte;
    // "GetFileSize, all ones" is none, and gives the size that looks like a failure.
    std::string failing = {};
    DWORD error = ERROR_NOT_SUPPORTED;         // what they leave as the thread's last error
    std::vector<std::string> lines = {};       // the calls that were made, in their order
    std::atomic<bool> isAwaitingLock = false;  // the range was found taken, and is waited for
};

}  // namespace test
