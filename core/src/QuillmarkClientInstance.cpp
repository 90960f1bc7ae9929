#include "core/src/QuillmarkClientInstance.h"

#include <cstring>
#include <utility>

#include "core/src/system/LogOutlets.h"
#include "core/src/system/SystemApi.h"

namespace quillmarkclient {

namespace {

using quillmarkclient_core::SystemApi;

// The texts of `text` one behind the other and an empty one as the end: null without memory.
char* NewTextList(const char* text) {
    const std::size_t size = std::strlen(text) + 2;
    auto* list = static_cast<char*>(SystemApi::Alloc(size));
    if (list == nullptr)
        return nullptr;
    for (std::size_t i = 0; i < size - 2; ++i)
        list[i] = text[i] == kProviderSeparator ? '\0' : text[i];
    list[size - 2] = list[size - 1] = '\0';
    return list;
}

}  // namespace

QuillmarkClientInstance::QuillmarkClientInstance(std::shared_ptr<PrivateData> core) noexcept
    : data_(std::move(core)) {}

std::uint32_t QuillmarkClientInstance::GetVersion() noexcept {
    return GetLibraryVersion();
}

std::uint32_t QuillmarkClientInstance::AddRef() noexcept {
    // Whoever calls holds a reference already: no order is needed.
    return static_cast<std::uint32_t>(refCount_.fetch_add(1, std::memory_order_relaxed) + 1);
}

std::uint32_t QuillmarkClientInstance::Release() noexcept {
    // Acquire and release: what any holder did with the object happens before its end.
    const std::int32_t left = refCount_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0)
        delete this;
    return static_cast<std::uint32_t>(left);
}

ResultCode QuillmarkClientInstance::GetLastServiceError(ServiceErrorRecord** out) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::GetLastServiceError(context, out, nullptr);
    });
}

ResultCode QuillmarkClientInstance::SignIn(const char* login, const char* password) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SignIn(context, login, password, nullptr);
    });
}

void QuillmarkClientInstance::SignOut() noexcept {
    // There is no result to give a failure in, and the outlets were told of it.
    static_cast<void>(RunLocked(data_, [](ClientContext* context) {
        quillmarkclient::SignOut(context, nullptr);
        return ResultCode::kSuccess;
    }));
}

bool QuillmarkClientInstance::IsSignedIn() noexcept {
    bool signedIn = false;
    const auto code = RunLocked(data_, [&](ClientContext* context) {
        signedIn = quillmarkclient::IsSignedIn(context, nullptr) != 0;
        return ResultCode::kSuccess;
    });
    return IsSuccess(code) && signedIn;
}

ResultCode QuillmarkClientInstance::SignInToContext(const ContextChoice* choice) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SignInToContext(context, choice, nullptr);
    });
}

ResultCode QuillmarkClientInstance::GetCustomerContexts(CustomerContext*** out) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::GetCustomerContexts(context, out, nullptr);
    });
}

ResultCode QuillmarkClientInstance::GetSocialProviders(char** out) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        char* text = nullptr;
        const auto code = quillmarkclient::GetSocialProviders(context, &text, kProviderSeparator, nullptr);
        if (!IsSuccess(code))
            return code;
        const MadeBlock block(context, text);
        if (out == nullptr)
            return code;
        *out = NewTextList(text);
        if (*out != nullptr)
            return code;
        return quillmarkclient_core::ReportError(ResultCode::kInsufficientResources,
                                                 "core/src/QuillmarkClientInstance", __LINE__);
    });
}

ResultCode QuillmarkClientInstance::SignInWithSocialToken(const char* providerKey,
                                                          const char* accessToken) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SignInWithSocialToken(context, providerKey, accessToken, nullptr);
    });
}

ResultCode QuillmarkClientInstance::SignInWithSocialCode(const char* code, std::uint32_t operation) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SignInWithSocialCode(context, code, operation, nullptr);
    });
}

ResultCode QuillmarkClientInstance::SendOnlineBackupReport(const OnlineBackupReportRecord* report) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SendOnlineBackupReport(context, report, nullptr);
    });
}

ResultCode QuillmarkClientInstance::SendOnlineReport(const OnlineReportRecord* report) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SendOnlineReport(context, report, nullptr);
    });
}

ResultCode QuillmarkClientInstance::SendBackupMetadata(const BackupMetadataRecord* metadata) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SendBackupMetadata(context, metadata, nullptr);
    });
}

ResultCode QuillmarkClientInstance::FreeMemory(void* block) noexcept {
    return RunLocked(
        data_, [&](ClientContext* context) { return quillmarkclient::FreeMemory(context, block, nullptr); });
}

}  // namespace quillmarkclient
