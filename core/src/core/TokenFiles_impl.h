#pragma once

#include "core/src/core/Cryptographer.h"
#include "core/src/core/Token.h"
#include "core/src/core/TokenFiles.h"
#include "core/src/json/Json.h"
#include "core/src/system/LogOutlets.h"

namespace quillmarkclient_core {

namespace token_files {

/// What "LIC0" holds.
struct StoredIdentity {
    portable_stl::string token;
    std::uint32_t contextMode = 0;
    portable_stl::string contextId;
};

/// Reads both forms: the JSON object, and the bare token that any text is which isn't JSON.
inline StoredIdentity ParseIdentity(const portable_stl::string& text) {
    StoredIdentity identity;
    json::JsonNode root;
    if (!json::ParseJson(text, root)) {
        identity.token = text;
        return identity;
    }
    if (const json::JsonNode* token = json::FindChild(root, "identityToken"); token != nullptr)
        identity.token = token->value;
    if (const json::JsonNode* type = json::FindChild(root, "contextType"); type != nullptr)
        identity.contextMode = ParseContextType(type->value);
    if (const json::JsonNode* id = json::FindChild(root, "contextId"); id != nullptr)
        identity.contextId = id->value;
    return identity;
}

template <class Session>
ResultCode Read(Session& session, const char* name, portable_stl::string& text, void* context) {
    const portable_stl::string path = session.storagePath + name;
    return ReadEncryptedFile<typename Session::Api>(path.c_str(), text, &session.cryptographer, context);
}

template <class Session>
ResultCode Write(Session& session, const char* name, const json::JsonNode& root, void* context) {
    portable_stl::string text;
    json::WriteJson(root, text, false);
    const portable_stl::string path = session.storagePath + name;
    return WriteEncryptedFile<typename Session::Api>(path.c_str(), text, &session.cryptographer, context);
}

}  // namespace token_files

template <class Session>
ResultCode LoadContextFile(Session& session, void* context) {
    portable_stl::string text;
    if (const auto code = token_files::Read(session, contextFileName, text, context); !IsSuccess(code))
        return code;
    if (text.empty())
        return ResultCode::kSuccess;

    json::JsonNode root;
    if (!json::ParseJson(text, root))
        return ResultCode::kJsonParse;
    if (const json::JsonNode* token = json::FindChild(root, "contextToken"); token != nullptr)
        session.registryClient->SetAccessToken(token->value, false, context);
    return ResultCode::kSuccess;
}

template <class Session, class ErrorInfo>
ResultCode LoadIdentityFile(Session& session, ErrorInfo* errorInfo, void* context) {
    portable_stl::string text;
    const auto readCode = token_files::Read(session, identityFileName, text, context);
    if (!IsSuccess(readCode) || text.empty())
        return readCode;

    const auto identity = token_files::ParseIdentity(text);
    if (identity.token.empty()) {
        QUILLMARK_TRACE("Can not parse identityToken from json string.");
        return ReportError(ResultCode::kInternalError, "core/src/core/helper", __LINE__);
    }
    // Not looked at: offline, the secret is kept for a later try, and a refusal shows in the missing token.
    static_cast<void>(session.registryClient->ReauthorizeViaIdentity(identity.token, identity.contextMode,
                                                                     identity.contextId, errorInfo, context));
    return readCode;
}

template <class Session>
void StoreIdentityFile(Session& session, const portable_stl::string& identityToken, std::uint32_t contextMode,
                       const portable_stl::string& contextId, void* context) {
    json::JsonNode root;
    json::AddChild(root, "identityToken", identityToken, true);
    json::AddChild(root, "contextType", ContextTypeText(contextMode), true);
    json::AddChild(root, "contextId", contextId, true);
    if (const auto code = token_files::Write(session, identityFileName, root, context); !IsSuccess(code))
        QUILLMARK_TRACE("Can not store identity token: %s", GetErrorText(code));
}

template <class Session>
void StoreContextFile(Session& session, const portable_stl::string& contextToken, void* context) {
    json::JsonNode root;
    json::AddChild(root, "contextToken", contextToken, true);
    if (const auto code = token_files::Write(session, contextFileName, root, context); !IsSuccess(code))
        QUILLMARK_TRACE("Can not store context token: %s", GetErrorText(code));
}

}  // namespace quillmarkclient_core
