#pragma once

// When each frame is due. The program keeps time itself instead of leaving it to the runtime: a frame's code says when
// it was sent and has to be written after the wait, and the runtime lets no clock run but at the declared rate.

#include "pattern/FrameRate.h"

#include <chrono>
#include <cstdint>

namespace ndisend
{

using Hns = std::chrono::duration<std::int64_t, std::ratio<1, pattern::HnsPerSecond>>;

// How long after the first frame this one is due, by a clock that runs fast by `ppm` parts in a million.
constexpr Hns dueTime(std::int64_t frame, const pattern::FrameRate &rate, int ppm)
{
    constexpr int million = 1'000'000;
    // While a million units pass, such a clock counts ppm more.
    const pattern::FrameRate clock{million + ppm, million};
    return Hns(clock.frameStart(rate.frameStart(frame, pattern::HnsPerSecond), 1));
}

class Pace
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Pace(Hns frameDuration) : m_frameDuration(frameDuration) {}

    // Waits until `due` after the first call, which starts the clock with its own `due`; false when the program is
    // interrupted meanwhile. Who comes more than a second late (a suspended machine, a slow pipe) starts the clock
    // anew, rather than catching up in a burst.
    bool waitFor(Hns due);

    // The same without the wait: until when one that comes at `now` has to wait.
    Clock::time_point turn(Hns due, Clock::time_point now);

    std::int64_t lateFrames() const { return m_lateFrames; }

private:
    const Hns m_frameDuration;
    Clock::time_point m_start;
    bool m_started = false;
    std::int64_t m_lateFrames = 0;
};

} // namespace ndisend
