#pragma once

#include "hostfw/Export.h"

#include <QtCore/QString>

#include <mfobjects.h>

// All attributes in one line for logs, keys and well-known values by name: "MF_MT_MAJOR_TYPE=Video, …".
// "(null)" for a null store.
MULTIMEDIA_EXPORT QString to_qstring(IMFAttributes *attributes);
