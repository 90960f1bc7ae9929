#include "facade/src/Conversions.h"

#include <QtCore/QLatin1String>

namespace Quillmark {

SignIn::ContextType toContextType(std::uint32_t kind) {
    return kind == 1 ? SignIn::ContextType::Organization : SignIn::ContextType::Personal;
}

std::uint32_t toNativeKind(SignIn::ContextType type) {
    return type == SignIn::ContextType::Organization ? 1 : 0;
}

std::uint32_t toSocialOperation(const QString& operation) {
    constexpr struct {
        QLatin1String text;
        std::uint32_t value;
    } kOperations[] = {
        {QLatin1String("SIGN_IN"), 0},
        {QLatin1String("SIGN_UP"), 1},
        {QLatin1String("LINK"), 2},
    };
    for (const auto& row : kOperations) {
        if (operation == row.text)
            return row.value;
    }
    return 0;
}

QList<SignIn::SignInContext> toContexts(const std::vector<quillmarkclient::ContextEntry>& entries) {
    QList<SignIn::SignInContext> contexts;
    contexts.reserve(static_cast<qsizetype>(entries.size()));
    for (const auto& entry : entries)
        contexts.append({QString::fromStdString(entry.id), QString::fromStdString(entry.name),
                         toContextType(entry.kind)});
    return contexts;
}

QString findChallengeToken(const quillmarkclient::ServiceErrorValue& error) {
    for (const auto& [name, value] : error.errorArgs)
        if (name == "challengeToken")
            return QString::fromStdString(value);
    return {};
}

SignIn::UserInfo toUserInfo(const quillmarkclient::CustomerDataValue& data, const QJsonObject& claims) {
    constexpr QLatin1String kBusinessNumber("businessContactNumber");
    constexpr QLatin1String kCustomerNumber("customerNumber");
    constexpr QLatin1String kContactNumber("customerContactNumber");

    SignIn::UserInfo info;
    info.id = QString::fromStdString(data.id);
    info.firstName = QString::fromStdString(data.firstName);
    info.lastName = QString::fromStdString(data.lastName);
    info.email = QString::fromStdString(data.email);
    info.isBusiness = claims.contains(kBusinessNumber);
    info.customerNumber = claims.value(info.isBusiness ? kBusinessNumber : kCustomerNumber).toString();
    info.customerContactNumber = claims.value(info.isBusiness ? kBusinessNumber : kContactNumber).toString();
    return info;
}

}  // namespace Quillmark
