#pragma once

#include <mfobjects.h>

// Puts the payload of a frame's metadata text onto its sample, as the blob SampleMetadataAttribute. Text that is not
// this module's envelope gives an empty blob; null gives none.
void attachFrameMetadata(IMFSample *sample, const char *metadata);
