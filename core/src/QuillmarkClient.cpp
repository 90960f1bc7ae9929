#include "core/src/QuillmarkClient.h"

#include <new>

#include "core/src/FlatOperations.h"
#include "core/src/PlainRecords.h"
#include "core/src/PrivateData.h"
#include "core/src/QuillmarkClientInstance.h"
#include "core/src/Version.h"
#include "core/src/system/PlatformTable.h"

namespace quillmarkclient {

namespace {

std::string ToText(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

// The flat record points into `params` and lives no longer than the call that takes it.
QuillmarkClientInit ToInit(const QuillmarkClientParams& params) {
    QuillmarkClientInit init{};
    init.version = kLibraryVersion;
    init.clientKind = params.clientKind;
    init.table = quillmarkclient_core::DefaultPlatformTable();
    init.storagePath = params.storagePath.c_str();
    init.serviceUrl = params.serviceUrl.c_str();
    init.identityName = params.auxiliary3.c_str();
    init.useAlternateKeys = params.useAlternateKeys;
    init.retryPolicy = {params.retryPolicy.maxAttempts, params.retryPolicy.timeoutRetryDelayMs,
                        params.retryPolicy.idempotencyWaitMs, params.retryPolicy.idempotencyWaitCapMs};
    return init;
}

// Ends a core that found no owner.
struct ShutDown {
    void operator()(ClientContext* context) const noexcept { const PrivateData last(context); }
};

std::shared_ptr<PrivateData> NewPrivateData(ClientContext* context) {
    std::unique_ptr<ClientContext, ShutDown> owner(context);
    auto data = std::make_shared<PrivateData>();
    data->context = owner.release();
    return data;
}

// The list ends with a null pointer.
std::vector<ContextEntry> ToEntries(const CustomerContext* const* list) {
    std::vector<ContextEntry> entries;
    for (; *list != nullptr; ++list)
        entries.push_back({(*list)->kind, ToText((*list)->id), ToText((*list)->name)});
    return entries;
}

ServiceErrorValue ToValue(const ServiceErrorRecord& record) {
    ServiceErrorValue value{record.resultCode,      record.httpCode,
                            ToText(record.type),    ToText(record.title),
                            ToText(record.status),  ToText(record.detail),
                            ToText(record.reason),  ToText(record.errorCode),
                            ToText(record.traceId), {}};
    for (const NameValuePair* const* pair = record.errorArgs; *pair != nullptr; ++pair)
        value.errorArgs.emplace_back(ToText((*pair)->name), ToText((*pair)->value));
    return value;
}

// The pieces between the separators; empty ones are left out.
std::vector<std::string> ToProviders(const std::string& text) {
    std::vector<std::string> providers;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t found = text.find(kProviderSeparator, start);
        const std::size_t end = found == std::string::npos ? text.size() : found;
        if (end != start)
            providers.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return providers;
}

// A flat operation that hands out one text, put into a standard string.
ResultCode TakeText(const std::shared_ptr<PrivateData>& data,
                    ResultCode (*operation)(ClientContext*, char**, void*), std::string& out) noexcept {
    return RunLocked(data, [&](ClientContext* context) {
        char* text = nullptr;
        const auto code = operation(context, &text, nullptr);
        if (!IsSuccess(code))
            return code;
        const MadeBlock block(context, text);
        out = ToText(text);
        return code;
    });
}

}  // namespace

QuillmarkClient::QuillmarkClient() noexcept = default;
QuillmarkClient::~QuillmarkClient() = default;

ResultCode QuillmarkClient::Init(const QuillmarkClientParams& params) noexcept {
    try {
        const QuillmarkClientInit init = ToInit(params);
        ClientContext* context = nullptr;
        if (const auto code = Initialize(&init, &context, nullptr); !IsSuccess(code))
            return code;
        data_ = NewPrivateData(context);
        return ResultCode::kSuccess;
    } catch (...) {
        return ResultCode::kInternalError;
    }
}

ResultCode QuillmarkClient::Init(const std::string& storagePath, const std::string& serviceUrl) noexcept {
    try {
        QuillmarkClientParams params;
        params.storagePath = storagePath;
        params.serviceUrl = serviceUrl;
        return Init(params);
    } catch (...) {
        return ResultCode::kInternalError;
    }
}

void QuillmarkClient::SetLogCallbacks(quillmarkclient_core::TraceOutlet traceOutlet,
                                      quillmarkclient_core::ErrorOutlet errorOutlet) noexcept {
    quillmarkclient::SetLogCallbacks(traceOutlet, errorOutlet);
}

std::string QuillmarkClient::GetErrorMessage(ResultCode code) noexcept {
    try {
        std::string text = GetErrorText(code);
        if (text.empty() && code != ResultCode::kSuccess)
            text = "Error code: " + std::to_string(static_cast<std::uint32_t>(code));
        return text;
    } catch (...) {
        return {};
    }
}

IQuillmarkClient* QuillmarkClient::CreateInterface() noexcept {
    if (!data_)
        return nullptr;
    auto* instance = new (std::nothrow) QuillmarkClientInstance(data_);
    if (instance != nullptr)
        instance->AddRef();
    return instance;
}

bool QuillmarkClient::IsSignedIn() const noexcept {
    bool signedIn = false;
    const auto code = RunLocked(data_, [&](ClientContext* context) {
        signedIn = quillmarkclient::IsSignedIn(context, nullptr) != 0;
        return ResultCode::kSuccess;
    });
    return IsSuccess(code) && signedIn;
}

ResultCode QuillmarkClient::SignIn(const std::string& login, const std::string& password) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SignIn(context, login.c_str(), password.c_str(), nullptr);
    });
}

ResultCode QuillmarkClient::ConfirmSecondFactor(const std::string& challengeToken,
                                                const std::string& code) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::ConfirmSecondFactor(context, challengeToken.c_str(), code.c_str(), nullptr);
    });
}

ResultCode QuillmarkClient::SignInToContext(std::uint32_t kind, const std::string& contextId) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        const ContextChoice choice{kind, contextId.c_str()};
        return quillmarkclient::SignInToContext(context, &choice, nullptr);
    });
}

ResultCode QuillmarkClient::SignInWithSocialToken(const std::string& providerKey,
                                                  const std::string& accessToken) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SignInWithSocialToken(context, providerKey.c_str(), accessToken.c_str(),
                                                      nullptr);
    });
}

ResultCode QuillmarkClient::SignInWithSocialCode(const std::string& code, std::uint32_t operation) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::SignInWithSocialCode(context, code.c_str(), operation, nullptr);
    });
}

ResultCode QuillmarkClient::UseAccessToken(const std::string& token) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::UseAccessToken(context, token.c_str(), nullptr);
    });
}

ResultCode QuillmarkClient::GetSocialProviders(std::vector<std::string>& providers) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        char* text = nullptr;
        const auto code = quillmarkclient::GetSocialProviders(context, &text, kProviderSeparator, nullptr);
        if (!IsSuccess(code))
            return code;
        const MadeBlock block(context, text);
        if (text == nullptr)
            return ResultCode::kInvalidParameters;
        providers.clear();  // also when splitting finds no memory
        providers = ToProviders(text);
        return code;
    });
}

void QuillmarkClient::SignOut() noexcept {
    // There is no result to give a failure in, and the outlets were told of it.
    static_cast<void>(RunLocked(data_, [](ClientContext* context) {
        quillmarkclient::SignOut(context, nullptr);
        return ResultCode::kSuccess;
    }));
}

ResultCode QuillmarkClient::GetCustomerContexts(std::vector<ContextEntry>& contexts) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        CustomerContext** list = nullptr;
        const auto code = quillmarkclient::GetCustomerContexts(context, &list, nullptr);
        if (!IsSuccess(code))
            return code;
        const MadeBlock block(context, list);
        contexts = ToEntries(list);
        return code;
    });
}

ResultCode QuillmarkClient::GetLastServiceError(ServiceErrorValue& error) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        ServiceErrorRecord* record = nullptr;
        const auto code = quillmarkclient::GetLastServiceError(context, &record, nullptr);
        if (!IsSuccess(code))
            return code;
        const MadeBlock block(context, record);
        error = record == nullptr ? ServiceErrorValue() : ToValue(*record);
        return code;
    });
}

ResultCode QuillmarkClient::GetAccessToken(std::string& token) noexcept {
    return TakeText(data_, &quillmarkclient::GetAccessToken, token);
}

ResultCode QuillmarkClient::RefreshAccessToken(std::string& token) noexcept {
    return TakeText(data_, &quillmarkclient::RefreshAccessToken, token);
}

ResultCode QuillmarkClient::PersistIdentityToken(const std::string& path) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        return quillmarkclient::PersistIdentityToken(context, path.c_str(), nullptr);
    });
}

ResultCode QuillmarkClient::GetBasicEndpoint(std::string& endpoint) noexcept {
    return TakeText(data_, &quillmarkclient::GetBasicEndpoint, endpoint);
}

ResultCode QuillmarkClient::GetDeviceId(std::string& deviceId) noexcept {
    return TakeText(data_, &quillmarkclient::GetDeviceId, deviceId);
}

ResultCode QuillmarkClient::GetCustomerData(CustomerDataValue& data) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        CustomerData* record = nullptr;
        const auto code = quillmarkclient::GetCustomerData(context, &record, nullptr);
        if (!IsSuccess(code))
            return code;
        const MadeBlock block(context, record);
        data = CustomerDataValue{ToText(record->firstName), ToText(record->lastName), ToText(record->email),
                                 ToText(record->id)};
        return code;
    });
}

ResultCode QuillmarkClient::GetProductUpdateInfo(const std::string& feedName, const std::string& feedVariant,
                                                 const std::string& currentVersion,
                                                 const std::string& language,
                                                 ProductUpdateInfoValue& info) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        ProductUpdateInfo* record = nullptr;
        const auto code =
            quillmarkclient::GetProductUpdateInfo(context, feedName.c_str(), feedVariant.c_str(),
                                                  currentVersion.c_str(), language.c_str(), &record, nullptr);
        if (!IsSuccess(code))
            return code;
        const MadeBlock block(context, record);
        info =
            ProductUpdateInfoValue{ToText(record->version), ToText(record->description), ToText(record->url)};
        return code;
    });
}

ResultCode QuillmarkClient::CreateTicket(
    const std::string& email, const std::string& title, const std::string& description,
    const std::vector<std::pair<std::string, std::string>>& additionalParameters,
    std::string& number) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        std::vector<KeyValuePair> pairs;
        pairs.reserve(additionalParameters.size());
        for (const auto& [key, value] : additionalParameters)
            pairs.push_back({key.c_str(), value.c_str()});
        std::vector<const KeyValuePair*> list;
        list.reserve(pairs.size() + 1);
        for (const KeyValuePair& pair : pairs)
            list.push_back(&pair);
        list.push_back(nullptr);

        const CustomerRequest request{email.c_str(), title.c_str(), description.c_str(), list.data()};
        char* text = nullptr;
        const auto code = quillmarkclient::CreateTicket(context, &request, &text, nullptr);
        if (!IsSuccess(code))
            return code;
        const MadeBlock block(context, text);
        number = ToText(text);
        return code;
    });
}

ResultCode QuillmarkClient::CreatePrincipalAdmin(const std::string& name, const std::string& email,
                                                 const std::string& password, const std::string& description,
                                                 PrincipalAdminValue& admin) noexcept {
    return RunLocked(data_, [&](ClientContext* context) {
        const PrincipalAdminRequest request{name.c_str(), email.c_str(), password.c_str(),
                                            description.c_str()};
        PrincipalAdmin* record = nullptr;
        const auto code = quillmarkclient::CreatePrincipalAdmin(context, &request, &record, nullptr);
        if (!IsSuccess(code))
            return code;
        const MadeBlock block(context, record);
        admin = PrincipalAdminValue{ToText(record->id), ToText(record->name), ToText(record->email),
                                    ToText(record->description)};
        return code;
    });
}

}  // namespace quillmarkclient
