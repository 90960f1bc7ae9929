#include "core/src/registry/AccessTokenBody.h"

#include "core/src/json/Json.h"

namespace registry {

ResultCode ReadAccessToken(const portable_stl::string& responseBody, portable_stl::string& text) {
    json::JsonNode root;
    if (!json::ParseJson(responseBody, root))
        return ResultCode::kCompatibilityBroken;
    const json::JsonNode* const token = json::FindChild(root, "accessToken");
    if (token == nullptr)
        return ResultCode::kCompatibilityBroken;
    text = token->value;
    return ResultCode::kSuccess;
}

}  // namespace registry
