#include "core/src/ResultCode.h"

#include <cstddef>

namespace {

struct ErrorText {
    std::uint32_t code;
    const char* text;
};

// The texts are interface and stay to the letter, odd spellings included.
constexpr ErrorText kErrorTexts[] = {
    // ascending: the look-up halves it
    {0x00000000, ""},

    {0x80000001, "Internal program error"},
    {0x80000002, "Invalid parameters."},
    {0x80000003, "Insufficiednt system resources"},  // sic
    {0x80000004, "Not implemented"},
    {0x80000005, "Buffer too small"},
    {0x80000006, "Problems sending network requests"},
    {0x80000007, "Given VQM version is not match library version"},  // sic
    // 0x80000008 never had a text: the look-up answers "Unknown error code"
    {0x80000009, "Can not deserialized data"},  // sic
    {0x8000000A, "Can not serialized data"},    // sic
    {0x8000000B, "ABClient Manager is not initialized. First call init() method"},
    {0x8000000C, "Tessaly service is under maintenance, please, try later"},

    {0x81000001, "Can not open a file"},
    {0x81000002, "Can not read a file"},
    {0x81000003, "Can not write a file"},
    {0x81000004, "Can not seek a file"},
    {0x81000005, "Can not get an unique machine id"},
    {0x81000006, "Problem with network connection"},
    {0x81000007, "Can not send a request"},
    {0x81000008, "Can not get a file size"},
    {0x81000009, "Can not set a file size"},
    {0x8100000A, "Can not get a current time"},
    {0x8100000B, "Can not delete a file"},
    {0x8100000C, "Problem with crypt initialization"},
    {0x8100000D, "Can not verify a signature"},
    {0x8100000E, "Can not encrypt data"},
    {0x8100000F, "Can not decrypt data"},
    {0x81000010, "Can not decrypt data using RSA"},
    {0x81000011, "Can not hash data"},
    {0x81000012, "Can not parse XML file"},
    {0x81000013, "Can not parse JSON file"},
    {0x81000014, "The HTTP request timed out"},

    {0x82000001, "Registry client is not initialized"},
    {0x82000002, "Authorization is denied"},
    {0x82000003, "Internal registry service error"},
    {0x82000004, "Registry back compatibility is broken"},
    {0x82000005, "Customer does not exist"},
    {0x82000006, "Invalid login or password"},
    {0x82000007, "Email is not verified or account is blocked"},
    {0x82000008, "UC account already exists"},
    {0x82000009, "Social account has been already linked to another UC account"},
    {0x8200000A, "Access is denied"},
    {0x8200000B, "Too many customer contexts"},
    {0x8200000C, "Customer context is not found"},
    {0x8200000D, "Too many requests from your address"},
    {0x8200000E, "Not found"},
    {0x8200000F, "Account was temporary locked, please try again later in several minutes"},
    {0x82000010,
     "Account was locked due security reasons, please contact support team to unlock your account"},  // sic
    {0x82000011, "Sign up must be finalized before signin"},
    {0x82000012, "Second factor required"},
    {0x82000013, "Invalid verification code"},

    // The families 0x83 and 0x84 have no texts: hosts see "Unknown error code" and log the number.

    {0x85000001, "Invalid secrets JSON format"},
    {0x85000002, "Secrets file not found"},
};

constexpr bool IsAscending() {
    for (std::size_t i = 1; i < sizeof(kErrorTexts) / sizeof(kErrorTexts[0]); ++i) {
        if (kErrorTexts[i - 1].code >= kErrorTexts[i].code)
            return false;
    }
    return true;
}
static_assert(IsAscending());

}  // namespace

const char* GetErrorText(ResultCode code) noexcept {
    const auto wanted = static_cast<std::uint32_t>(code);
    const ErrorText* first = kErrorTexts;
    std::size_t count = sizeof(kErrorTexts) / sizeof(kErrorTexts[0]);
    while (count > 0) {
        const std::size_t half = count / 2;
        if (first[half].code == wanted)
            return first[half].text;
        if (first[half].code < wanted) {
            first += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
    return "Unknown error code";
}
