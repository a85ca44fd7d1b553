#pragma once

// When each frame is due. The program keeps time itself instead of leaving it to the runtime, because a frame's code
// says when it was sent: it has to be written after the wait.

#include "pattern/FrameRate.h"

#include <chrono>
#include <cstdint>

namespace ndisend
{

class Pace
{
public:
    explicit Pace(const pattern::FrameRate &rate) : m_rate(rate) {}

    // Waits for a frame's time; false when the program is interrupted meanwhile. The first call starts the clock. Who
    // comes more than a second late (a suspended machine, a slow pipe) starts it anew, rather than catching up in a
    // burst.
    bool waitFor(std::int64_t frame);

    std::int64_t lateFrames() const { return m_lateFrames; }

private:
    using Clock = std::chrono::steady_clock;

    Clock::duration startOf(std::int64_t frame) const;

    const pattern::FrameRate m_rate;
    Clock::time_point m_start;
    bool m_started = false;
    std::int64_t m_lateFrames = 0;
};

} // namespace ndisend
