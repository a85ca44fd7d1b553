#pragma once

#include "ndi/local/EvenSteps.h"

#include <chrono>
#include <cstdint>

namespace localndi
{

// Lets a caller through at the rate of what it sends: the first at once, each further one when the one before has had
// its time. A caller that is late is let through at once until it has made up for it, but not for more than half a
// second: what has piled up behind a stall does not stay behind for good, and a caller that paused does not race.
//
// Threads: one at a time; wait() blocks it.
class Pacer
{
public:
    // Waits until it is this one's turn; its own duration is `units / rate` seconds.
    void wait(std::int64_t units, std::int64_t rate);

private:
    EvenSteps m_due{std::nano::den}; // since the steady clock's epoch
    bool m_started = false;
};

} // namespace localndi
