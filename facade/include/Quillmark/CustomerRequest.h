#pragma once

#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QUuid>

namespace Quillmark::CustomerRequest {

/// A request that the service has taken. A plain value.
struct CustomerRequestResult {
    QUuid requestId;       ///< the host's own identifier of the request, unchanged
    QString ticketNumber;  ///< the service's; empty when its answer tells none
};

}  // namespace Quillmark::CustomerRequest

Q_DECLARE_METATYPE(Quillmark::CustomerRequest::CustomerRequestResult)
