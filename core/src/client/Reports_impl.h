// What a backup product reports: its metadata, which is sent, and its runs, which are not yet.
#pragma once

#include <utility>

#include "core/src/client/Client_impl.h"
#include "core/src/client/requests/BackupMetadataRequest_impl.h"
#include "core/src/json/Json.h"
#include "core/src/registry/SendAndCheck.h"

namespace quillmarkclient_core {

namespace reports_detail {

template <class Api>
bool WriteDocument(const backupmetadata::BackupMetadata& metadata, portable_stl::string& document,
                   void* context) {
    portable_stl::vector<portable_stl::string> ids;
    const bool isKnown = metadata.hasSystem && IsSuccess(Api::GetMachineIds(ids, context)) && !ids.empty();
    return backupmetadata::WriteMetadataDocument(metadata, isKnown ? &ids[0] : nullptr, document);
}

inline bool SpeaksOfError(const portable_stl::string& responseBody) {
    json::JsonNode root;
    if (responseBody.empty() || !json::ParseJson(responseBody, root))
        return false;
    const json::JsonNode* const status = json::FindChild(root, "status");
    return status != nullptr && status->value == "Error";
}

inline ResultCode Drop(bool isWritten, std::uint32_t line) {
    if (!isWritten)
        return client_detail::Fail(ResultCode::kInternalError, line);
    QUILLMARK_TRACE("%s", "TODO: need to add different implementation without lowcode api");
    return ResultCode::kSuccess;
}

}  // namespace reports_detail

template <class SystemApiType>
ResultCode Client<SystemApiType>::SendBackupMetadata(const backupmetadata::BackupMetadata& metadata,
                                                     void* context) {
    if (registryClient == nullptr)
        return client_detail::Fail(ResultCode::kInternalError);
    portable_stl::string document;
    if (!reports_detail::WriteDocument<Api>(metadata, document, context))
        return client_detail::Fail(ResultCode::kInternalError);

    portable_stl::unique_ptr<registry::Request<Api>> request =
        portable_stl::make_unique<backupmetadata::SendBrxMfeInfoRequest<Api>>(
            backupmetadata::SendBrxMfeInfoParams{serviceUrl, std::move(document)});
    portable_stl::string responseBody;
    const auto code = registry::SendAndCheck(*registryClient, request, responseBody, nullptr, context);
    // The webhook says more in its own words than the code does.
    if (!IsSuccess(code) && responseBody.empty())
        return client_detail::Fail(code);
    if (!IsSuccess(code) || reports_detail::SpeaksOfError(responseBody))
        ReportErrorText(code, responseBody.c_str(), "core/src/client/Client", __LINE__);
    return code;
}

template <class SystemApiType>
ResultCode Client<SystemApiType>::SendOnlineBackupReport(const onlinereports::BackupReport& report) {
    if (registryClient == nullptr)
        return client_detail::Fail(ResultCode::kInternalError);
    portable_stl::string document;
    return reports_detail::Drop(onlinereports::WriteBackupReport(report, document), __LINE__);
}

template <class SystemApiType>
ResultCode Client<SystemApiType>::SendOnlineReport(const onlinereports::WipeReport& report) {
    if (registryClient == nullptr)
        return client_detail::Fail(ResultCode::kInternalError);
    portable_stl::string document;
    return reports_detail::Drop(onlinereports::WriteWipeReport(report, document), __LINE__);
}

}  // namespace quillmarkclient_core
