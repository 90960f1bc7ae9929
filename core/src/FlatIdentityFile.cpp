// The identity's secret in a JSON document of the host.
#include <cstring>
#include <limits>

#include "core/src/FlatOperations.h"
#include "core/src/FlatSupport.h"
#include "core/src/json/Json.h"

namespace quillmarkclient {

using Api = ClientContext::Api;
using portable_stl::string;

namespace {

constexpr char kMember[] = "identityToken";

// A zeroed block of the platform's that goes back when the scope ends, an exception included.
class ZeroedBlock {
public:
    explicit ZeroedBlock(std::size_t size) : bytes_(static_cast<char*>(Api::Alloc(size))) {
        if (bytes_ != nullptr)
            Api::MemSet(bytes_, 0, size);
    }
    ~ZeroedBlock() { Api::Free(bytes_); }
    ZeroedBlock(const ZeroedBlock&) = delete;
    ZeroedBlock& operator=(const ZeroedBlock&) = delete;

    [[nodiscard]] char* Get() const { return bytes_; }

private:
    char* bytes_;
};

// The file's text; empty for a file that is missing, empty or can't be asked for its size.
ResultCode ReadDocument(const char* path, string& text, void* platformContext) {
    std::uint32_t size = 0;
    if (!IsSuccess(Api::FileGetSize(path, &size, platformContext)) || size == 0)
        return ResultCode::kSuccess;
    const ZeroedBlock block(std::size_t{size} + 1);
    if (block.Get() == nullptr)
        return ResultCode::kInsufficientResources;
    if (!IsSuccess(Api::FileRead(path, 0, block.Get(), size, nullptr, platformContext)))
        return ResultCode::kFileRead;
    text = string(block.Get(), size);
    return ResultCode::kSuccess;
}

// Sets the member in the document's text. kSecretsFormat for a text that is no object's.
ResultCode SetMember(string& document, const string& secret) {
    json::JsonNode root;
    if (!document.empty() && !json::ParseJson(document, root))
        return ResultCode::kSecretsFormat;
    if (root.isArray || !root.value.empty())
        return ResultCode::kSecretsFormat;
    if (json::JsonNode* const member = json::FindChild(root, kMember); member != nullptr)
        json::SetValue(*member, secret, true);
    else
        json::AddChild(root, kMember, secret, true);
    return json::WriteJson(root, document, false) ? ResultCode::kSuccess : ResultCode::kSecretsFormat;
}

ResultCode WriteDocument(const char* path, const string& text, void* platformContext) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        return ResultCode::kFileWrite;
    const bool isWritten =
        IsSuccess(Api::FileSetSize(path, 0, platformContext)) &&
        IsSuccess(Api::FileWrite(path, 0, text.data(), static_cast<std::uint32_t>(text.size()), nullptr,
                                 platformContext));
    return isWritten ? ResultCode::kSuccess : ResultCode::kFileWrite;
}

}  // namespace

ResultCode PersistIdentityToken(ClientContext* context, const char* path, void* platformContext) {
    if (context == nullptr || path == nullptr)
        return Report(ResultCode::kInvalidParameters);
    if (!context->registryClient)
        return Report(ResultCode::kRegistryNotInitialized);

    registry::AuthState state;
    if (const auto code = context->registryClient->GetAuthState(state); !IsSuccess(code)) {
        QUILLMARK_TRACE("Get token data failed: %s", GetErrorText(code));
        return code;
    }
    if (state.identitySecret.empty())
        return Report(ResultCode::kAuthorizationDenied);

    string document;
    if (const auto code = ReadDocument(path, document, platformContext); !IsSuccess(code))
        return Report(code);
    if (const auto code = SetMember(document, state.identitySecret); !IsSuccess(code))
        return Report(code);
    if (const auto code = WriteDocument(path, document, platformContext); !IsSuccess(code))
        return Report(code);
    return ResultCode::kSuccess;
}

}  // namespace quillmarkclient
