// What a sign-in hands to the host: contexts to choose from, the state of a step, the user's details.
//
// Plain values, all usable in queued connections.
#pragma once

#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QString>

namespace Quillmark::SignIn {

/// In whose name the user acts.
enum class ContextType {
    Personal = 0,      ///< in the own name
    Organization = 1,  ///< for an organisation that trusts the user
};

/// One context that the user may choose.
struct SignInContext {
    QString id;    ///< goes back to Client::startSignInToContext()
    QString name;  ///< for display: the user's name or the organisation's
    ContextType type = ContextType::Personal;
};

/// The payload of Client::requestSelectContext().
struct SignInProcessResult {
    QString login;                  ///< the login of this attempt
    QList<SignInContext> contexts;  ///< in the service's order; empty unless there is a choice
    QString challengeToken;         ///< empty unless a second factor is pending
};

/// The payload of Client::userInfoFetched().
struct UserInfo {
    QString id;                     ///< the service's identifier of the user
    QString firstName;              ///< as the service has it; any of these may be empty
    QString lastName;               ///< as firstName
    QString email;                  ///< as firstName
    QString customerNumber;         ///< from the access token; of a business user its contact number
    QString customerContactNumber;  ///< from the access token; of a business user its contact number
    bool isBusiness = false;        ///< whether the access token is that of a business user
};

}  // namespace Quillmark::SignIn

Q_DECLARE_METATYPE(Quillmark::SignIn::SignInProcessResult)
Q_DECLARE_METATYPE(Quillmark::SignIn::UserInfo)
