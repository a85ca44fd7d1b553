#pragma once

#include "ndi/local/EvenSteps.h"

#include <chrono>
#include <cstdint>

namespace localndi
{

// Lets a caller through at the rate of what it sends: the first at once, each further one when the one before has had
// its time.
//
// Who sends live comes at its own times, at that rate too, and what piles up in front of the pacer would stay there for
// good. So a caller that is late is let through at once until it has made up for it. And one whose frames have to wait,
// because its first one came late and the schedule with it, is let through a fiftieth faster than its rate, until none
// of them waits. Either is limited to half a second, so that a caller that sends as fast as it may, which looks like
// one with a backlog, does not race.
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
    using Nanoseconds = std::chrono::nanoseconds;

    void restart(Nanoseconds now, Nanoseconds due);
    void look(Nanoseconds now, Nanoseconds early);
    void gain(Nanoseconds most);

    EvenSteps m_due{std::nano::den}; // since the steady clock's epoch
    bool m_started = false;
    Nanoseconds m_lookedAt{};  // when look() last decided
    Nanoseconds m_mostEarly{}; // since then
    Nanoseconds m_toGain{};    // in the frames to come
    Nanoseconds m_gained{};    // by which the schedule is earlier than it began
};

} // namespace localndi
