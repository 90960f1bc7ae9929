#pragma once

#include "core/src/ResultCode.h"
#include "core/src/client/BackupMetadata.h"
#include "core/src/client/OnlineReports.h"
#include "core/src/client/UpdateFeed.h"
#include "core/src/core/Cryptographer.h"
#include "core/src/registry/RegistryClient.h"
#include "core/src/tickets/requests/CreateTicket.h"
#include "portable_stl/shared_ptr.h"
#include "portable_stl/string.h"

namespace quillmarkclient_core {

/// A principal administrator as the service made it.
struct PrincipalAdmin {
    portable_stl::string id;
    portable_stl::string name;
    portable_stl::string email;
    portable_stl::string description;
};

// What the client does for a host apart from the sign-in itself, on top of one registry session.
//
// Failures are reported through the error outlet as "core/src/client/Client" and returned. No lock: the owner
// serialises all calls.
template <class SystemApiType>
class Client {
public:
    using Api = SystemApiType;

    /// \param session  not owned; outlives the client
    Client(const portable_stl::string& folder, const portable_stl::string& baseUrl,
           registry::RegistryClient<Api>* session,
           const portable_stl::shared_ptr<Cryptographer<Api>>& fileCipher);

    /// Whether the session has a present token or an identity secret.
    [[nodiscard]] bool IsSignedIn() const;

    /// The user's details; kAuthorizationDenied unless signed in.
    [[nodiscard]] ResultCode GetCustomerData(registry::CustomerInfo& info,
                                             registry::ServiceErrorInfo* errorInfo, void* context);

    /// The newest build that the product's feed offers: in `language`, else in English when that feed is not
    /// there. A feed that is there ends the search. Up to 8 exchanges.
    ///   returns  0; kNoUpdate; kFeedInvalid; kFeedUnavailable; a code of the session
    [[nodiscard]] ResultCode GetProductUpdateInfo(const portable_stl::string& feedName,
                                                  const portable_stl::string& feedVariant,
                                                  const portable_stl::string& currentVersion,
                                                  const portable_stl::string& language,
                                                  ProductUpdateInfo& result,
                                                  registry::ServiceErrorInfo* errorInfo, void* context);

    /// Files a ticket, once however often it is asked for within a day; without the bearer token. `number` is
    /// empty when the service took the ticket and its answer can't be read. `params.baseUrl` is set here.
    ///   returns  0; kInvalidParameters (an empty email, title or description); kInternalError (any refusal);
    ///            a code of the session
    [[nodiscard]] ResultCode CreateTicket(tickets::CreateTicketParams params, portable_stl::string& number,
                                          registry::ServiceErrorInfo* errorInfo, void* context);

    /// Makes a principal administrator; kAuthorizationDenied unless signed in. kCannotDeserialize for an
    /// answer that can't be read: the account is made then.
    [[nodiscard]] ResultCode CreatePrincipalAdmin(const portable_stl::string& name,
                                                  const portable_stl::string& email,
                                                  const portable_stl::string& password,
                                                  const portable_stl::string& description,
                                                  PrincipalAdmin& result,
                                                  registry::ServiceErrorInfo* errorInfo, void* context);

    /// Posts the metadata document. An answer that speaks of an error is reported and is no failure. No error
    /// record is filled.
    ///   returns  0; kMetadataRefused; kAuthorizationDenied; kServiceUnavailable; a code of the session
    [[nodiscard]] ResultCode SendBackupMetadata(const backupmetadata::BackupMetadata& metadata,
                                                void* context);

    /// Composes the report's document and drops it: there is nobody to send it to yet.
    [[nodiscard]] ResultCode SendOnlineBackupReport(const onlinereports::BackupReport& report);
    /// The same for a wipe.
    [[nodiscard]] ResultCode SendOnlineReport(const onlinereports::WipeReport& report);

    portable_stl::string storagePath;  // ends in its separator unless empty
    portable_stl::string serviceUrl;
    registry::RegistryClient<Api>* registryClient;
    portable_stl::shared_ptr<Cryptographer<Api>> cryptographer;

private:
    [[nodiscard]] ResultCode FetchFeed(const portable_stl::string& feedName, portable_stl::string& feed,
                                       registry::ServiceErrorInfo* errorInfo, void* context);
};

}  // namespace quillmarkclient_core
