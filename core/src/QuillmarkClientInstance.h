#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "core/src/IQuillmarkClient.h"
#include "core/src/PrivateData.h"

namespace quillmarkclient {

// The one implementation of IQuillmarkClient: a count of references over a share of the core.
//
// Made on the heap, with a count of 0, by QuillmarkClient::CreateInterface; ends itself in the last Release.
class QuillmarkClientInstance final : public IQuillmarkClient {
public:
    explicit QuillmarkClientInstance(std::shared_ptr<PrivateData> core) noexcept;

    std::uint32_t GetVersion() noexcept override;
    std::uint32_t AddRef() noexcept override;
    std::uint32_t Release() noexcept override;
    ResultCode GetLastServiceError(ServiceErrorRecord** out) noexcept override;
    ResultCode SignIn(const char* login, const char* password) noexcept override;
    void SignOut() noexcept override;
    bool IsSignedIn() noexcept override;
    ResultCode SignInToContext(const ContextChoice* choice) noexcept override;
    ResultCode GetCustomerContexts(CustomerContext*** out) noexcept override;
    ResultCode GetSocialProviders(char** out) noexcept override;
    ResultCode SignInWithSocialToken(const char* providerKey, const char* accessToken) noexcept override;
    ResultCode SignInWithSocialCode(const char* code, std::uint32_t operation) noexcept override;
    ResultCode SendOnlineBackupReport(const OnlineBackupReportRecord* report) noexcept override;
    ResultCode SendOnlineReport(const OnlineReportRecord* report) noexcept override;
    ResultCode SendBackupMetadata(const BackupMetadataRecord* metadata) noexcept override;
    ResultCode FreeMemory(void* block) noexcept override;

private:
    ~QuillmarkClientInstance() = default;

    std::atomic<std::int32_t> refCount_{0};
    std::shared_ptr<PrivateData> data_;
};

}  // namespace quillmarkclient
