#include <windows.h>

#include <cstdlib>

#include "tests/support/ScopedVariable.h"

namespace test {

// The C library has a copy of the environment; both are set.
void SetVariable(const char* name, const char* value) {
    SetEnvironmentVariableA(name, value);
    _putenv_s(name, value ? value : "");
}

}  // namespace test
