// Ends as it is told: what the emulator has to hand on.
//
//   ending status NUMBER | crash | abort | print BYTES | say TEXT...
//   ending fail-once FILE [TEXT]     fails when there is no FILE, and makes it
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

int main(int count, char** arguments) {
    const std::string_view how = count > 1 ? arguments[1] : "";
    const int number = count > 2 ? std::atoi(arguments[2]) : 0;
    if (how == "status")
        return number;
    if (how == "crash")
        RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    if (how == "abort")
        std::abort();
    if (how == "print") {
        const std::string text(static_cast<std::size_t>(number), 'x');
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fputs("to the errors", stderr);
        return 0;
    }
    if (how == "say") {
        for (int at = 2; at < count; ++at)
            std::puts(arguments[at]);
        return 0;
    }
    if (how == "fail-once") {
        if (count > 3)
            std::puts(arguments[3]);
        if (std::FILE* const file = std::fopen(arguments[2], "rb")) {
            std::fclose(file);
            return 0;
        }
        if (std::FILE* const file = std::fopen(arguments[2], "wb"))
            std::fclose(file);
        return 5;
    }
    return 99;
}
