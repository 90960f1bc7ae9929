// Prints what Windows shows as the properties of a program or library.
//
//   version_resource FILE
#include <windows.h>

#include <cstdio>
#include <vector>

namespace {

constexpr const char* kTexts[] = {"FileDescription",  "FileVersion", "InternalName",
                                  "OriginalFilename", "ProductName", "ProductVersion"};

void PrintNumber(const char* name, DWORD upper, DWORD lower) {
    std::printf("%s number: %u.%u.%u.%u\n", name, HIWORD(upper), LOWORD(upper), HIWORD(lower), LOWORD(lower));
}

// The texts of the block that the resource itself names as its translation.
bool PrintTexts(const void* resource) {
    const WORD* translation = nullptr;
    UINT size = 0;
    if (VerQueryValueA(resource, "\\VarFileInfo\\Translation", (void**)&translation, &size) == 0)
        return false;
    for (const char* name : kTexts) {
        char path[80];
        std::snprintf(path, sizeof path, "\\StringFileInfo\\%04X%04X\\%s", translation[0], translation[1],
                      name);
        const char* text = nullptr;
        if (VerQueryValueA(resource, path, (void**)&text, &size) == 0)
            return false;
        std::printf("%s: %s\n", name, text);
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    DWORD ignored = 0;
    std::vector<char> resource(GetFileVersionInfoSizeA(argv[1], &ignored));
    const auto size = static_cast<DWORD>(resource.size());
    if (size == 0 || GetFileVersionInfoA(argv[1], 0, size, resource.data()) == 0) {
        std::puts("no version");
        return 1;
    }

    const VS_FIXEDFILEINFO* fixed = nullptr;
    UINT fixedSize = 0;
    if (VerQueryValueA(resource.data(), "\\", (void**)&fixed, &fixedSize) == 0)
        return 1;
    PrintNumber("FileVersion", fixed->dwFileVersionMS, fixed->dwFileVersionLS);
    PrintNumber("ProductVersion", fixed->dwProductVersionMS, fixed->dwProductVersionLS);
    return PrintTexts(resource.data()) ? 0 : 1;
}
