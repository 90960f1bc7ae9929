#include <cstdlib>

#include "tests/support/ScopedVariable.h"

namespace test {

void SetVariable(const char* name, const char* value) {
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

}  // namespace test
