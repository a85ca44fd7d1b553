#include "ndi/local/Pacer.h"

#include <algorithm>
#include <thread>

namespace localndi
{
namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

constexpr nanoseconds longestWait = std::chrono::seconds(10); // whatever rate a caller names

} // namespace

void Pacer::wait(std::int64_t units, std::int64_t rate)
{
    const auto now = Clock::now();
    const nanoseconds delay = turn(now.time_since_epoch(), units, rate);
    if (delay.count() > 0)
        std::this_thread::sleep_until(now + std::chrono::duration_cast<Clock::duration>(delay));
}

nanoseconds Pacer::turn(nanoseconds now, std::int64_t units, std::int64_t rate)
{
    const nanoseconds early = nanoseconds(m_due.position()) - now;
    const nanoseconds mayBeLate(ticksOf(units, rate, std::nano::den));
    if (!m_started || early > longestWait)
        m_due.restart(now.count());
    else if (early < -mayBeLate)
        m_due.restart((now - mayBeLate).count());
    m_started = true;
    const nanoseconds delay = nanoseconds(m_due.position()) - now;
    m_due.advance(units, rate);
    return std::max(delay, nanoseconds::zero());
}

} // namespace localndi
