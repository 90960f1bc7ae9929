// The result code that hosts see, QUILLMARKCLIENT_ERROR, as a Qt meta-type.
//
// The codes stand in the header included below. Test one with IsSuccess(); its text is
// Quillmark::Client::getErrorMessage().
#pragma once

#include <QtCore/QMetaType>

#include "core/src/ResultCode.h"

Q_DECLARE_METATYPE(QUILLMARKCLIENT_ERROR)
