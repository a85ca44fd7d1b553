#include "ndi/local/Pacer.h"

#include <thread>

namespace localndi
{
namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

constexpr nanoseconds longestDelay = std::chrono::milliseconds(500);
constexpr nanoseconds longestWait = std::chrono::seconds(10); // whatever rate a caller names

nanoseconds sinceEpoch()
{
    return std::chrono::duration_cast<nanoseconds>(Clock::now().time_since_epoch());
}

} // namespace

void Pacer::wait(std::int64_t units, std::int64_t rate)
{
    const auto now = sinceEpoch();
    const nanoseconds early = nanoseconds(m_due.position()) - now;
    if (!m_started || early > longestWait) {
        m_due.restart(now.count());
        m_started = true;
    } else if (early < -longestDelay) {
        m_due.restart((now - longestDelay).count());
    } else if (early.count() > 0) {
        std::this_thread::sleep_until(Clock::time_point(std::chrono::duration_cast<Clock::duration>(now + early)));
    }
    m_due.advance(units, rate);
}

} // namespace localndi
