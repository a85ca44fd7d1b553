#include "ndi/tools/ndi-send/Pace.h"

#include "ndi/tools/common/Interrupt.h"

#include <algorithm>
#include <thread>

namespace ndisend
{

namespace
{

constexpr std::chrono::milliseconds LongestSleep{50}; // until an interrupt is noticed
constexpr std::chrono::seconds LatestFrame{1};

} // namespace

bool Pace::waitFor(Hns due)
{
    auto now = Clock::now();
    const auto until = turn(due, now);
    for (; now < until && !nditools::interrupted(); now = Clock::now())
        std::this_thread::sleep_until(std::min<Clock::time_point>(until, now + LongestSleep));
    return !nditools::interrupted();
}

Pace::Clock::time_point Pace::turn(Hns due, Clock::time_point now)
{
    const auto startNow = [&] { m_start = now - std::chrono::duration_cast<Clock::duration>(due); };
    if (!m_started)
        startNow();
    m_started = true;

    const auto late = now - m_start - due;
    if (late > m_frameDuration)
        ++m_lateFrames;
    if (late > std::max<Hns>(LatestFrame, 2 * m_frameDuration))
        startNow();
    return m_start + std::chrono::duration_cast<Clock::duration>(due);
}

} // namespace ndisend
