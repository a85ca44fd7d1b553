#pragma once

#include <QtCore/qglobal.h>

// Marks what the host's framework library exports. The library's own build defines MULTIMEDIA_BUILD.
#ifdef MULTIMEDIA_BUILD
#define MULTIMEDIA_EXPORT Q_DECL_EXPORT
#else
#define MULTIMEDIA_EXPORT Q_DECL_IMPORT
#endif
