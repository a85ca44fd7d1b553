#pragma once

// Frames per second as a fraction, and the exact places of frame boundaries in other units: nothing is rounded twice,
// so picture and sound stay together however long a pattern runs.

#include <cstdint>

namespace pattern
{

struct FrameRate {
    int numerator = 25;
    int denominator = 1;

    // The start of a frame in units of which a second has `unitsPerSecond`, rounded down: samples, 100 ns, seconds.
    constexpr std::int64_t frameStart(std::int64_t frame, std::int64_t unitsPerSecond) const
    {
        // Split so that the product stays small: after `numerator` frames exactly `denominator` seconds have passed.
        const std::int64_t wholeRounds = frame / numerator;
        const std::int64_t rest = frame % numerator;
        return wholeRounds * denominator * unitsPerSecond + rest * denominator * unitsPerSecond / numerator;
    }
};

constexpr std::int64_t HnsPerSecond = 10'000'000;

// The pattern flashes and beeps for the first tenth of each second, at least for one frame. Both begin with a frame:
// the first one that starts within the second.
constexpr bool isFlashFrame(std::int64_t frame, const FrameRate &rate)
{
    const std::int64_t second = rate.frameStart(frame, 1);
    if (frame == 0 || rate.frameStart(frame - 1, 1) != second)
        return true;
    return rate.frameStart(frame, HnsPerSecond) - second * HnsPerSecond < HnsPerSecond / 10;
}

} // namespace pattern
