#pragma once

#include <QtCore/QLoggingCategory>

// The module's categories, each made on first use.

// Start and stop of the NDI runtime, formats and metadata: "Multimedia.Tavrin".
const QLoggingCategory &generalCategory();
// Everything on the way in: "Multimedia.Tavrin.source".
const QLoggingCategory &sourceCategory();
// Everything on the way out: "Multimedia.Tavrin.sink".
const QLoggingCategory &sinkCategory();
