#pragma once

#include <cstdint>

#include "core/src/PlainRecords.h"
#include "core/src/ResultCode.h"

namespace quillmarkclient {

/// The root of the native interface: the library's version and the count of references.
///
/// The slots of this class and of IQuillmarkClient form one chain, in the order of their declarations, and
/// are interface. There is no destructor among them: an object ends by its last Release.
class IQuillmarkClientBase {
public:
    IQuillmarkClientBase(const IQuillmarkClientBase&) = delete;
    IQuillmarkClientBase& operator=(const IQuillmarkClientBase&) = delete;

    /// Major, minor and build in the three high bytes, 0 in the low one.
    virtual std::uint32_t GetVersion() noexcept = 0;
    /// Takes a reference; gives the new count. Any thread.
    virtual std::uint32_t AddRef() noexcept = 0;
    /// Gives a reference back; gives the new count. At 0 the object is gone, and with the last object on a
    /// core the core too, on this thread. Any thread.
    virtual std::uint32_t Release() noexcept = 0;

protected:
    IQuillmarkClientBase() = default;
    ~IQuillmarkClientBase() = default;
};

/// The native client as a counted interface of plain pointers, for callers of any module.
///
///   threads   any. One mutex guards the core and is held for the whole of each call, network included, so a
///             slow exchange delays every other call, IsSignedIn too. The log outlets run under it: they
///             must not call back into the client
///   blocking  FlatOperations.h tells for each operation how many exchanges it makes at most and how long one
///             can take; calls that wait for the mutex wait for all of that as well
///   strings   zero-terminated UTF-8, copied before the call returns
///   outs      written on success only; a record that found no memory leaves null. A record is one block, the
///             caller's until FreeMemory, and may be freed from any thread
///   codes     those of the operation of the same name in FlatOperations.h; kInternalError when memory is
///             exhausted inside the core or a platform operation throws. Nothing is thrown
class IQuillmarkClient : public IQuillmarkClientBase {
public:
    /// The detail of the service's last refusal; `*out` is null when the service has refused nothing yet.
    virtual ResultCode GetLastServiceError(ServiceErrorRecord** out) noexcept = 0;
    /// Signs in by password; a former sign-in is dropped first.
    virtual ResultCode SignIn(const char* login, const char* password) noexcept = 0;
    /// Forgets the sign-in and its stored identity.
    virtual void SignOut() noexcept = 0;
    /// False after a failure of the call, too.
    virtual bool IsSignedIn() noexcept = 0;
    /// Chooses one of the contexts of GetCustomerContexts. Customers only, as that.
    virtual ResultCode SignInToContext(const ContextChoice* choice) noexcept = 0;
    /// A list of pointers ended by a null pointer, one block with all that it points to.
    virtual ResultCode GetCustomerContexts(CustomerContext*** out) noexcept = 0;
    /// The keys of the social providers: a list of texts one behind the other, ended by an empty one; two
    /// zero bytes when there are none. With a null `out` the service is asked all the same.
    virtual ResultCode GetSocialProviders(char** out) noexcept = 0;
    /// Signs in with a token of a social provider.
    virtual ResultCode SignInWithSocialToken(const char* providerKey, const char* accessToken) noexcept = 0;
    /// Signs in with a code of a provider's browser flow.
    /// \param operation  0 sign-in, 1 sign-up, 2 link
    virtual ResultCode SignInWithSocialCode(const char* code, std::uint32_t operation) noexcept = 0;
    /// Composes the report of a backup run and drops it: there is nobody to send it to yet.
    virtual ResultCode SendOnlineBackupReport(const OnlineBackupReportRecord* report) noexcept = 0;
    /// The same for the report of a wipe.
    virtual ResultCode SendOnlineReport(const OnlineReportRecord* report) noexcept = 0;
    /// Posts what a backup product knows of this computer.
    virtual ResultCode SendBackupMetadata(const BackupMetadataRecord* metadata) noexcept = 0;
    /// Takes back what an operation above gave out; null is accepted. Returns 0.
    virtual ResultCode FreeMemory(void* block) noexcept = 0;

protected:
    ~IQuillmarkClient() = default;
};

}  // namespace quillmarkclient
