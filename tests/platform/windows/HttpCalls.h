// The system's HTTP calls as the transport makes them, seen from between the two; and the question which
// Windows this is, which decides on the proxy.
//
// The stand-ins take the place of the program's own and hand everything on to the system.
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "tests/platform/windows/SystemCalls.h"

namespace test {

struct HttpCalls {
    std::string failing = {};  // the beginning of the lines of the calls that fail; empty for none
    DWORD error = 0;           // what they leave as the thread's last error
    // What the reader of URLs finds besides: it is not that of every Windows.
    DWORD userLength = 0;
    DWORD passwordLength = 0;

    std::vector<std::string> lines = {};
    std::map<void*, std::string> names = {};  // of the handles, by what they were made for
};

}  // namespace test
