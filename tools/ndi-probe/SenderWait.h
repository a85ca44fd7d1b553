#pragma once

#include "discovery/NDIInput.h"

#include <chrono>

namespace ndiprobe
{

// Waits until the sender that `name` stands for is on the network. Throws a Failure when it is not there in time, or
// when the name fits several.
NDIInput waitForSender(const QString &name, std::chrono::milliseconds patience);

} // namespace ndiprobe
