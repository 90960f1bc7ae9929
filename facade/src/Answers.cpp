// The ends of the tasks that are no step of a sign-in: each becomes one signal.
#include "facade/src/ClientPrivate.h"

namespace Quillmark {

void ClientPrivate::finishExternalOauthProviders() {
    const auto providers = takeResult<QList<QString>>();
    Q_EMIT host().externalOauthProvidersFetched(providers);
}

void ClientPrivate::finishUserInfo() {
    const auto result = takeResult<UserInfoResult>();
    if (IsSuccess(result.error))
        Q_EMIT host().userInfoFetched(result.value);
    else
        Q_EMIT host().fetchUserInfoFailed(result.error, Client::getErrorMessage(result.error));
}

void ClientPrivate::finishUpdateCheck() {
    const auto result = takeResult<UpdateResult>();
    if (IsSuccess(result.error))
        Q_EMIT host().updateFound(result.value);
    else
        Q_EMIT host().checkForUpdateFailed(result.error, Client::getErrorMessage(result.error));
}

void ClientPrivate::finishCustomerRequest() {
    const auto result = takeResult<CustomerRequestPair>();
    if (IsSuccess(result.error))
        Q_EMIT host().customerRequestCreated(result.value);
    else
        Q_EMIT host().createCustomerRequestFailed(result.value.requestId, result.error,
                                                  Client::getErrorMessage(result.error));
}

}  // namespace Quillmark
