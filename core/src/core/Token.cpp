#include "core/src/core/Token.h"

#include <limits>

#include "core/src/json/Json.h"
#include "core/src/system/Base64.h"

namespace quillmarkclient_core {
namespace {

// The one place that knows where a claim's text goes.
constexpr struct {
    const char* claim;
    portable_stl::string Token::*field;
} kTextClaims[] = {
    {"userid", &Token::userId},
    {"customerNumber", &Token::customerNumber},
    {"customerContactNumber", &Token::customerContactNumber},
    {"customerAvailableContext", &Token::customerAvailableContext},
};

constexpr const char* kRoleWords[] = {"user", "manager", "owner"};

// The decoded second part of the token, as text; empty when there is none or it can't be decoded.
portable_stl::string Payload(const portable_stl::string& token) {
    const std::size_t first = token.find('.');
    if (first == portable_stl::string::npos)
        return {};
    const std::size_t second = token.find('.', first + 1);
    const std::size_t end = second == portable_stl::string::npos ? token.size() : second;

    portable_stl::vector<unsigned char> bytes;
    if (!Base64Decode(token.data() + first + 1, end - first - 1, bytes))
        return {};
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Digits only, within 32 bits; 0 for everything else.
std::uint32_t ParseRole(const portable_stl::string& text) {
    std::uint64_t role = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9')
            return 0;
        role = role * 10 + static_cast<std::uint64_t>(digit - '0');
        if (role > std::numeric_limits<std::uint32_t>::max())
            return 0;
    }
    return static_cast<std::uint32_t>(role);
}

portable_stl::vector<TokenRight> ParseScopes(const json::JsonNode& scopes) {
    portable_stl::vector<TokenRight> rights;
    for (const json::JsonNode& scope : scopes.children) {
        const json::JsonNode* const space = json::FindChild(scope, "space");
        const json::JsonNode* const role = json::FindChild(scope, "role");
        if (space != nullptr && role != nullptr)
            rights.push_back(TokenRight{space->value, ParseRole(role->value)}).value();
    }
    return rights;
}

}  // namespace

const char* RoleWord(std::uint32_t role) noexcept {
    return role < sizeof kRoleWords / sizeof kRoleWords[0] ? kRoleWords[role] : kRoleWords[0];
}

std::uint32_t ParseContextType(const portable_stl::string& text) noexcept {
    return text == "b2b" ? 1 : 0;
}

const char* ContextTypeText(std::uint32_t contextMode) noexcept {
    return contextMode == 1 ? "b2b" : "b2c";
}

Token::Token(const portable_stl::string& tokenText, bool isPresent)
    : text(tokenText), present(isPresent ? 1 : 0) {
    ParseClaims();
}

void Token::ParseClaims() {
    for (const auto& row : kTextClaims)
        (this->*row.field).clear();
    rights.clear();

    const portable_stl::string payload = Payload(text);
    json::JsonNode root;
    if (payload.empty() || !json::ParseJson(payload, root))
        return;
    for (const auto& row : kTextClaims) {
        if (const json::JsonNode* const claim = json::FindChild(root, row.claim); claim != nullptr)
            this->*row.field = claim->value;
    }
    if (const json::JsonNode* const scopes = json::FindChild(root, "scopes"); scopes != nullptr)
        rights = ParseScopes(*scopes);
}

}  // namespace quillmarkclient_core
