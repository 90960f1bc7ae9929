// What the library exports to hosts; everything else in it is hidden.
#pragma once

#include <QtCore/qglobal.h>

#if defined(QUILLMARK_CLIENT_STATIC)
#define QUILLMARK_EXPORT
#elif defined(QUILLMARK_CLIENT_BUILD)
#define QUILLMARK_EXPORT Q_DECL_EXPORT
#else
#define QUILLMARK_EXPORT Q_DECL_IMPORT
#endif
