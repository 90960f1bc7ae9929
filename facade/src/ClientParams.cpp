#include <Quillmark/ClientParams.h>

#include "core/src/QuillmarkClient.h"

namespace Quillmark {

ClientParams::ClientParams() = default;
ClientParams::ClientParams(const ClientParams& other) = default;
ClientParams::ClientParams(ClientParams&& other) noexcept = default;
ClientParams& ClientParams::operator=(const ClientParams& other) = default;
ClientParams& ClientParams::operator=(ClientParams&& other) noexcept = default;
ClientParams::~ClientParams() = default;

quillmarkclient::QuillmarkClientParams ClientParams::toNativeParams() const {
    quillmarkclient::QuillmarkClientParams native;  // what isn't set below stays empty or 0, the default
    native.storagePath = storagePath.toStdString();
    native.clientKind = (flags & BusinessClient) != 0 ? 1 : 0;
    native.serviceUrl = serviceUrl.toString().toStdString();
    native.auxiliary1 = auxiliary1.toStdString();
    native.useAlternateKeys = (flags & UseAlternateKeys) != 0 ? 1 : 0;
    return native;
}

}  // namespace Quillmark
