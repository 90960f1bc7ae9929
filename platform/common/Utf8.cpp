#include "platform/common/Utf8.h"

#include <stdexcept>

namespace quillmarkclient_common {
namespace {

// One row for each form of a character: its first byte, the range of its second, and how many bytes follow
// the first. The second byte's range shuts out overlong forms, surrogates and numbers above U+10FFFF.
struct Utf8Form {
    unsigned char firstLow, firstHigh;
    unsigned char secondLow, secondHigh;
    int followers;
};
constexpr Utf8Form kUtf8Forms[] = {
    {0x01, 0x7F, 0x00, 0x00, 0}, {0xC2, 0xDF, 0x80, 0xBF, 1}, {0xE0, 0xE0, 0xA0, 0xBF, 2},
    {0xE1, 0xEC, 0x80, 0xBF, 2}, {0xED, 0xED, 0x80, 0x9F, 2}, {0xEE, 0xEF, 0x80, 0xBF, 2},
    {0xF0, 0xF0, 0x90, 0xBF, 3}, {0xF1, 0xF3, 0x80, 0xBF, 3}, {0xF4, 0xF4, 0x80, 0x8F, 3},
};

bool IsWithin(unsigned char byte, unsigned char low, unsigned char high) {
    return low <= byte && byte <= high;
}

// The byte behind the character at `text`, or null when there is no valid character. The terminating zero
// byte is no follower, so a cut character ends here and not behind the text.
const unsigned char* NextCharacter(const unsigned char* text) {
    for (const auto& form : kUtf8Forms) {
        if (!IsWithin(*text, form.firstLow, form.firstHigh))
            continue;
        if (form.followers > 0 && !IsWithin(text[1], form.secondLow, form.secondHigh))
            return nullptr;
        for (int i = 2; i <= form.followers; ++i) {
            if (!IsWithin(text[i], 0x80, 0xBF))
                return nullptr;
        }
        return text + 1 + form.followers;
    }
    return nullptr;
}

}  // namespace

void RequireUtf8(const char* text) {
    const auto* at = reinterpret_cast<const unsigned char*>(text);
    while (*at != 0) {
        at = NextCharacter(at);
        if (!at)
            throw std::range_error("bad conversion");
    }
}

}  // namespace quillmarkclient_common
