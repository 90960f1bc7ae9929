// The four key texts, and what is known of each.
#pragma once

#include <cstddef>
#include <string>

#include "core/src/core/Cryptographer.h"
#include "core/src/system/SystemApi.h"

namespace test {

struct KeyTextRow {
    const char* name;
    bool alternate;
    bool isLong;
    std::size_t length;  // characters
    const char* bits;    // as the openssl command says it
    const char* sha256;
};

inline constexpr KeyTextRow kKeyTextRows[] = {
    {"long", false, true, 450, "(2048 bit)",
     "7dc4ca45c9ea0afb06de728d46609f964cebe91319a8ff813f3158f3033cb50d"},
    {"short", false, false, 112, "(120 bit)",
     "c3bb3ccb676bcda6cb2a8ea6c2866dcccb9834e624b1008aacc5320cdcca664e"},
    {"alternate long", true, true, 450, "(2048 bit)",
     "fa756c532dd0c0bd1022e325ddcb18d4ecb88ed9f0dd365f8bb64178da376555"},
    {"alternate short", true, false, 112, "(120 bit)",
     "fc8fe4fd8e2912193264fa081c05f546e3cc144741045b333f83caa9aea0a12e"},
};

inline std::string KeyText(const KeyTextRow& row) {
    const quillmarkclient_core::Cryptographer<quillmarkclient_core::SystemApi> cryptographer(row.alternate);
    const auto& text = row.isLong ? cryptographer.cipherKeyText : cryptographer.shortKeyText;
    return {text.data(), text.size()};
}

}  // namespace test
