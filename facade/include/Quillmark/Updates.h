#pragma once

#include <Quillmark/Export.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QUrl>

namespace quillmarkclient {
struct ProductUpdateInfoValue;
}

namespace Quillmark::Updates {

/// A newer build of the host's product. A plain value, and all of it the feed's own, unchecked: see
/// Client::startCheckForUpdates() for what to check before use.
class QUILLMARK_EXPORT UpdateInfo {
public:
    UpdateInfo();
    UpdateInfo(const UpdateInfo& other);
    UpdateInfo(UpdateInfo&& other) noexcept;
    UpdateInfo& operator=(const UpdateInfo& other);
    UpdateInfo& operator=(UpdateInfo&& other) noexcept;
    ~UpdateInfo();

    /// From the native client's record; the URL is read in tolerant mode.
    [[nodiscard]] static UpdateInfo fromNative(const quillmarkclient::ProductUpdateInfoValue& native);

    /// Whether there is something to offer: a version, and a valid URL to get it from, of any scheme.
    [[nodiscard]] bool isValid() const;

    QString version;      ///< of the newer build
    QString description;  ///< what the feed says of it
    QUrl url;             ///< where to get it
};

}  // namespace Quillmark::Updates

Q_DECLARE_METATYPE(Quillmark::Updates::UpdateInfo)
