#include <Quillmark/Updates.h>

#include "core/src/QuillmarkClient.h"

namespace Quillmark::Updates {

UpdateInfo::UpdateInfo() = default;
UpdateInfo::UpdateInfo(const UpdateInfo& other) = default;
UpdateInfo::UpdateInfo(UpdateInfo&& other) noexcept = default;
UpdateInfo& UpdateInfo::operator=(const UpdateInfo& other) = default;
UpdateInfo& UpdateInfo::operator=(UpdateInfo&& other) noexcept = default;
UpdateInfo::~UpdateInfo() = default;

UpdateInfo UpdateInfo::fromNative(const quillmarkclient::ProductUpdateInfoValue& native) {
    UpdateInfo info;
    info.version = QString::fromStdString(native.version);
    info.description = QString::fromStdString(native.description);
    info.url = QUrl(QString::fromStdString(native.url), QUrl::TolerantMode);
    return info;
}

bool UpdateInfo::isValid() const {
    return !version.isEmpty() && url.isValid();
}

}  // namespace Quillmark::Updates
