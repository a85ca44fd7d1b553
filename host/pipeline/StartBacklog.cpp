#include "host/pipeline/StartBacklog.h"

namespace host
{

namespace
{

// Nothing keeps that many for nobody: it is a stream that runs faster than its samples last.
constexpr unsigned MostSamples = 64;

} // namespace

bool StartBacklog::contains(const HnsTime &arrival, const HnsTime &duration)
{
    if (m_over)
        return false;
    // Half of it is enough: the one before may have waited for a while.
    const bool isWaitedFor = m_samples > 0 && !(arrival - m_lastArrival < HnsTime(m_lastDuration / 2));
    m_over = isWaitedFor || !(HnsTime(0) < duration) || m_samples == MostSamples;
    ++m_samples;
    m_lastArrival = arrival;
    m_lastDuration = duration;
    return !m_over;
}

} // namespace host
