#include <Quillmark/Updates.h>

namespace Quillmark::Updates {

UpdateInfo::UpdateInfo() = default;
UpdateInfo::UpdateInfo(const UpdateInfo& other) = default;
UpdateInfo::UpdateInfo(UpdateInfo&& other) noexcept = default;
UpdateInfo& UpdateInfo::operator=(const UpdateInfo& other) = default;
UpdateInfo& UpdateInfo::operator=(UpdateInfo&& other) noexcept = default;
UpdateInfo::~UpdateInfo() = default;

bool UpdateInfo::isValid() const {
    return !version.isEmpty() && url.isValid();
}

}  // namespace Quillmark::Updates
