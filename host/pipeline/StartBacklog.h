#pragma once

#include "hostfw/HnsTime.h"

namespace host
{

// Tells the samples that a live stream had waiting when it was started from those that come as they are made. A
// receiver keeps a few frames while nobody captures them; a sink that were given these, and sends at the rate of the
// stream, would be that much late for good.
//
// Samples that were waiting come one right after the other. The first that lets half the time of the one before it go
// by was waited for itself, and so are all that follow. Threads: one at a time.
class StartBacklog
{
public:
    // For each sample from the stream's start on. A sample without a duration tells nothing: it ends the backlog.
    bool contains(const HnsTime &arrival, const HnsTime &duration);

private:
    bool m_over = false;
    unsigned m_samples = 0;
    HnsTime m_lastArrival;
    HnsTime m_lastDuration;
};

} // namespace host
