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
constexpr int fiftieth = 50;                                           // of its duration each frame may gain
constexpr nanoseconds driftInAPeriod = std::chrono::microseconds(200); // more than two clocks of crystal drift apart

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
        look(now, early);
    const nanoseconds due(m_due.position());
    m_due.advance(units, rate);
    gain((nanoseconds(m_due.position()) - due) / fiftieth);
    return std::max(due - now, nanoseconds::zero());
}

void Pacer::restart(nanoseconds now, nanoseconds due)
{
    m_due.restart(due.count());
    m_started = true;
    m_lookedAt = now;
    m_mostEarly = m_toGain = m_gained = nanoseconds::zero();
}

// Of a live caller even the frame that comes earliest need not wait. What a caller gains because its clock is the
// faster one does not count.
void Pacer::look(nanoseconds now, nanoseconds early)
{
    m_mostEarly = std::max(m_mostEarly, early);
    if (now - m_lookedAt < gainPeriod)
        return;
    m_gained = std::max(m_gained - driftInAPeriod, nanoseconds::zero());
    m_toGain = std::min(m_mostEarly, longestDelay - m_gained);
    m_lookedAt = now;
    m_mostEarly = nanoseconds::zero();
}

void Pacer::gain(nanoseconds most)
{
    const nanoseconds gained = std::min(most, m_toGain);
    if (gained <= nanoseconds::zero())
        return;
    m_due.restart(m_due.position() - gained.count());
    m_toGain -= gained;
    m_gained += gained;
    m_mostEarly -= gained;
}

} // namespace localndi
