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

std::chrono::steady_clock::duration Pace::startOf(std::int64_t frame) const
{
    using Hns = std::chrono::duration<std::int64_t, std::ratio<1, pattern::HnsPerSecond>>;
    return std::chrono::duration_cast<Clock::duration>(Hns(m_rate.frameStart(frame, pattern::HnsPerSecond)));
}

bool Pace::waitFor(std::int64_t frame)
{
    auto now = Clock::now();
    if (!m_started) {
        m_started = true;
        m_start = now - startOf(frame);
    }

    const auto due = m_start + startOf(frame);
    if (now - due > startOf(1))
        ++m_lateFrames;
    if (now - due > std::max<Clock::duration>(LatestFrame, 2 * startOf(1)))
        m_start = now - startOf(frame);

    for (; now < due && !nditools::interrupted(); now = Clock::now())
        std::this_thread::sleep_until(std::min<Clock::time_point>(due, now + LongestSleep));
    return !nditools::interrupted();
}

} // namespace ndisend
