#pragma once

#include "source/SourceParameters.h"

#include "Processing.NDI.Interface.h"

// Waits until the sender that `params.input` names (by name and address) is on the network and connects to it: in the
// fastest colour format, at the highest bandwidth, with fields. Null when the runtime makes no receiver.
// Throws ComException when there is no finder, and AsyncOperationInterrupted once the token is cancelled: it is looked
// at every 250 ms. There is no limit to the wait otherwise.
NDIlib_recv_instance_t connectToSender(const SourceParameters &params);
