// From the native client's values to the facade's and back. Pure functions.
#pragma once

#include <Quillmark/SignIn.h>

#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QString>

#include <cstdint>
#include <vector>

#include "core/src/QuillmarkClient.h"

namespace Quillmark {

// Both keep 0 and 1; any other value becomes 0, the own context.
[[nodiscard]] SignIn::ContextType toContextType(std::uint32_t kind);
[[nodiscard]] std::uint32_t toNativeKind(SignIn::ContextType type);

// The number of a social sign-in's operation: "SIGN_IN" 0, "SIGN_UP" 1, "LINK" 2, in exactly this spelling;
// any other text is 0.
[[nodiscard]] std::uint32_t toSocialOperation(const QString& operation);

[[nodiscard]] QList<SignIn::SignInContext> toContexts(
    const std::vector<quillmarkclient::ContextEntry>& entries);

// The value of the first argument named exactly "challengeToken"; empty if there is none.
[[nodiscard]] QString findChallengeToken(const quillmarkclient::ServiceErrorValue& error);

// The details from the service, with what only the token's claims tell. A business token carries one number,
// its contact number, which then stands in both number fields.
[[nodiscard]] SignIn::UserInfo toUserInfo(const quillmarkclient::CustomerDataValue& data,
                                          const QJsonObject& claims);

}  // namespace Quillmark
