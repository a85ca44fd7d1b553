#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

#include <mfobjects.h>

namespace host
{

// The metadata that rides on a sample, as the module hands it on: the bytes of a serialised QVariant. Empty when the
// sample carries none.
QByteArray frameMetadata(IMFSample *sample);
// The value in those bytes, which may be hostile: truth values, numbers, text, bytes, and lists and maps of them, 32
// levels deep at most. Invalid for everything else.
QVariant metadataValue(const QByteArray &bytes);

} // namespace host
