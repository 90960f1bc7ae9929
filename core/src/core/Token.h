#pragma once

#include <cstdint>

#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace quillmarkclient_core {

/// One right that an access token grants: in which space, and as what.
struct TokenRight {
    portable_stl::string space;
    std::uint32_t role = 0;  // 0 user, 1 manager, 2 owner; any other number counts as user
};

/// The word of a role number, as the service wants it; never null.
[[nodiscard]] const char* RoleWord(std::uint32_t role) noexcept;

/// The context kind of its text in the token files: 1 for exactly "b2b", 0 for everything else.
[[nodiscard]] std::uint32_t ParseContextType(const portable_stl::string& text) noexcept;

/// The other direction: "b2b" for 1, "b2c" for every other mode.
[[nodiscard]] const char* ContextTypeText(std::uint32_t contextMode) noexcept;

// An access token and what its payload says of the user.
//
// The signature is not checked, here or anywhere in the client, and the token's age is not looked at: the
// service decides by its 401. A token that can't be read leaves the claims empty and is used all the same.
//
// Replaced as a whole, never edited. One thread at a time. Throws as the containers do.
struct Token {
    Token() = default;
    Token(const portable_stl::string& tokenText, bool isPresent);

    /// Fills the claims from `text`; a text that can't be read leaves them empty.
    void ParseClaims();

    portable_stl::string text;  // the compact token, as it goes out behind "Bearer "
    portable_stl::string userId;
    portable_stl::string customerNumber;
    portable_stl::string customerContactNumber;
    portable_stl::string customerAvailableContext;
    portable_stl::vector<TokenRight> rights;
    std::uint8_t present = 0;  // 0 for a token restored from a file, until the service renews it
};

}  // namespace quillmarkclient_core
