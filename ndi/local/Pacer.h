#pragma once

#include "ndi/local/EvenSteps.h"

#include <chrono>
#include <cstdint>

namespace localndi
{

// Lets a caller through at the rate of what it sends: the first at once, each further one when the one before has had
// its time. A caller that is late by no more than the duration of what it sends catches up; what it is later than that,
// it stays for good.
//
// Threads: one at a time; wait() blocks it.
class Pacer
{
public:
    // Waits until it is this one's turn; its own duration is `units / rate` seconds.
    void wait(std::int64_t units, std::int64_t rate);

    // The same without the wait: how long one that comes at `now`, in the steady clock's time, has to wait.
    std::chrono::nanoseconds turn(std::chrono::nanoseconds now, std::int64_t units, std::int64_t rate);

private:
    EvenSteps m_due{std::nano::den}; // since the steady clock's epoch
    bool m_started = false;
};

} // namespace localndi
