#pragma once

#include "hostfw/ComPtr.h"

#include <mfidl.h>
#include <mfobjects.h>

#include <chrono>

// Waits for the generator's next event. Null when it does not come before the deadline, or when the generator is shut
// down. One reader per generator at a time.
CComPtr<IMFMediaEvent> nextEvent(IMFMediaEventGenerator *generator,
                                 std::chrono::milliseconds deadline = std::chrono::seconds(20));
