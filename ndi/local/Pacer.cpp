#include "ndi/local/Pacer.h"

#include <algorithm>
#include <thread>

namespace localndi
{
namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr nanoseconds longestDelay = milliseconds(500);
constexpr nanoseconds longestWait = std::chrono::seconds(10); // whatever rate a caller names
constexpr nanoseconds gainPeriod = std::chrono::seconds(1);
constexpr nanoseconds gainInAPeriod = milliseconds(20); // two percent, which no receiver takes for a burst

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
    if (!m_started || early > longestWait)
        restart(now, now);
    else if (early < -longestDelay)
        restart(now, now - longestDelay);
    else
        gain(now, early);
    const nanoseconds delay = nanoseconds(m_due.position()) - now;
    m_due.advance(units, rate);
    return std::max(delay, nanoseconds::zero());
}

void Pacer::restart(nanoseconds now, nanoseconds due)
{
    m_due.restart(due.count());
    m_started = true;
    m_lookedAt = now;
    m_mostEarly = m_gained = nanoseconds::zero();
}

// A live caller of which even the one that came earliest did not have to wait finds the schedule early enough.
void Pacer::gain(nanoseconds now, nanoseconds early)
{
    m_mostEarly = std::max(m_mostEarly, early);
    if (now - m_lookedAt < gainPeriod)
        return;
    const nanoseconds gained = std::min({m_mostEarly, gainInAPeriod, longestDelay - m_gained});
    m_due.restart(m_due.position() - gained.count());
    m_gained += gained;
    m_lookedAt = now;
    m_mostEarly = nanoseconds::zero();
}

} // namespace localndi
