// The rules of the facade's copy of the access token. ClientPrivate holds the copy itself. Pure functions.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>

namespace Quillmark {

// The claims of a compact JWS: its second part as JSON, empty if it is no object. The plain alphabet of
// base64 is read, as the service writes it; the signature plays no part.
[[nodiscard]] QJsonObject decodeClaims(const QByteArray& accessToken);

// Whether a token with these claims still serves at `nowS`, seconds since 1970. No claims never serve.
[[nodiscard]] bool isTokenUsable(const QJsonObject& claims, qint64 nowS);

}  // namespace Quillmark
