#pragma once

#include "hostfw/ComPtr.h"

#include <windows.h>

#include <mfobjects.h>

namespace tvx
{

// A sample without buffers that can come back to an allocator.
HRESULT makeTrackedSample(IMFSample **sample);

// Samples of surfaces are made to be shown, and not every system lets their memory be asked for as one buffer. What
// such a sample holds moves into a tracked sample, which takes its place.
HRESULT makeReadable(CComPtr<IMFSample> &sample);

} // namespace tvx
