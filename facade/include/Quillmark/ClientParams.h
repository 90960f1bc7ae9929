#pragma once

#include <Quillmark/Export.h>

#include <QtCore/QString>
#include <QtCore/QUrl>

namespace quillmarkclient {
struct QuillmarkClientParams;
}

namespace Quillmark {

/// The start-up parameters of Client::create().
///
/// A plain value: set the fields, pass it, forget it. The library copies what it needs. Only serviceUrl is
/// required.
class QUILLMARK_EXPORT ClientParams {
public:
    /// Bits of flags. The others are not read.
    enum Flag : quint32 {
        UseAlternateKeys = 1u << 1,  ///< the token files are written with the second pair of keys
        BusinessClient = 1u << 2,    ///< the account is a business, not a person
    };

    ClientParams();
    ClientParams(const ClientParams& other);
    ClientParams(ClientParams&& other) noexcept;
    ClientParams& operator=(const ClientParams& other);
    ClientParams& operator=(ClientParams&& other) noexcept;
    ~ClientParams();

    /// The same in the form that the native client takes. The language is not part of it.
    [[nodiscard]] quillmarkclient::QuillmarkClientParams toNativeParams() const;

    QUrl serviceUrl;        ///< base URL of the account service, without a slash at the end; required
    QString storagePath;    ///< folder of the token files; it must exist; empty: the working folder
    QString auxiliary1;     ///< carried, not read
    QString auxiliary2;     ///< not read
    QString language;       ///< language of the update feed, such as "en"; empty: no update check
    quint32 flags = 0;      ///< see Flag
    quint32 reserved1 = 0;  ///< carried, not read
    quint32 reserved2 = 0;  ///< carried, not read
};

}  // namespace Quillmark
