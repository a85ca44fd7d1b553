#pragma once

// The module's probe on a receiver of this program's own.

#include "ndi/tools/common/SenderWait.h"
#include "tools/ndi-probe/Findings.h"

#include <chrono>

namespace ndiprobe
{

// Connects to the sender and probes it. A sender without a second kind of frames takes two seconds from its first
// frame. Throws a Failure when the connection is lost. Ends the process with status 69 when nothing comes within
// `patience`: a probe that waits for its first frame cannot be called back.
Findings probeSender(const nditools::FoundSender &sender, std::chrono::milliseconds patience);

} // namespace ndiprobe
