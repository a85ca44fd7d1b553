#pragma once

#include <QtCore/QByteArray>

#include <windows.h>

#include <mfobjects.h>

// The text to be sent with a frame: the envelope around the bytes that the sample carries as metadata. Empty when it
// carries none or they cannot be read.
QByteArray sampleMetadata(IMFSample *sample);
