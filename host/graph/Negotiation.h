#pragma once

#include "host/pipeline/SinkPort.h"

#include <mfidl.h>

namespace host
{

// Makes the first type of the stream that the sink takes the stream's current one: the current one if it will do, else
// the others in the stream's order of preference, else, with `enumerateSink`, those the sink offers in its order.
// MF_E_INVALIDMEDIATYPE when none will do.
HRESULT negotiate(IMFStreamDescriptor *descriptor, IMFStreamSink *sink, bool enumerateSink);

// The type that the stream delivers, or null.
CComPtr<IMFMediaType> currentType(IMFStreamDescriptor *descriptor);

} // namespace host
