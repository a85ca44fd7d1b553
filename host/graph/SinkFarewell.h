#pragma once

#include "hostfw/ComPtr.h"

#include <mfidl.h>

#include <chrono>
#include <functional>
#include <vector>

namespace host
{

// Shuts media sinks down and gives them up, away from the calling thread: a sink that is sending keeps whoever shuts it
// down or releases it last waiting, a frame's duration or as long as the sender is busy. The caller drops its own
// references before the event loop turns. The sinks are given up when nobody else refers to them, after a second at the
// latest. `done` is called then, on another thread, and after that second even though they do not let themselves be
// shut down or released.
void sayFarewell(std::vector<CComPtr<IMFMediaSink>> sinks, std::function<void()> done);

// Waits until all sinks are given up; false when that takes longer.
bool waitForFarewells(std::chrono::milliseconds patience);

} // namespace host
