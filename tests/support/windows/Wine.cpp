#include "tests/support/windows/Wine.h"

#include <windows.h>

namespace test {

bool IsWine() {
    const HMODULE system = GetModuleHandleA("ntdll.dll");
    return system && GetProcAddress(system, "wine_get_version") != nullptr;
}

}  // namespace test
