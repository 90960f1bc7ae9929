// A WMI that answers from a script, seen from between COM and the program.
//
// On a thread that has a record the calls of COM are written down and go no further: what they hand out are
// objects that count their references.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/windows/SystemCalls.h"

namespace test {

// One that was handed out. It stays until the record goes, so that a late use is seen.
struct WmiObject {
    std::string name;
    long references = 1;
};

struct WmiCalls {
    using Value = std::function<void(VARIANT&)>;  // fills in the property that a row is asked for

    std::string failing = {};                          // the beginning of the lines of the calls that fail
    HRESULT error = static_cast<HRESULT>(0x80041001);  // and what these answer
    HRESULT initialized = 0;                           // what CoInitializeEx answers
    std::vector<Value> adapters = {};                  // the rows of the query for these
    std::vector<Value> systems = {};
    HRESULT end = 1;      // what follows the last row
    int failingText = 0;  // the SysAllocString that gives null, counted from 1

    std::vector<std::string> lines = {};
    int texts = 0;      // that were asked for
    int heldTexts = 0;  // that were not freed
    std::map<const void*, std::shared_ptr<WmiObject>> objects = {};

    // The objects that were not released, or too often.
    [[nodiscard]] std::vector<std::string> HeldObjects() const;
};

}  // namespace test
