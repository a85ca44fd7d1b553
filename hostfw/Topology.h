#pragma once

#include "hostfw/ComPtr.h"
#include "hostfw/Export.h"

#include <mfidl.h>

// A newly made presentation descriptor of the source with every stream deselected.
// Throws ComException when the source cannot make one.
MULTIMEDIA_EXPORT CComPtr<IMFPresentationDescriptor> getCleanPresentationDescriptor(IMFMediaSource *source);

// A source topology node for the source's first stream of that major type, with source, descriptor and stream
// descriptor set; *streamIndex receives the stream's index in the descriptor. Null, with *streamIndex untouched, when
// the source has no such stream. Throws ComException when a call fails.
MULTIMEDIA_EXPORT CComPtr<IMFTopologyNode> createMediaSourceNode(IMFMediaSource *source,
                                                                 IMFPresentationDescriptor *descriptor,
                                                                 const GUID &majorType, DWORD *streamIndex);
