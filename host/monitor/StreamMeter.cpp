#include "host/monitor/StreamMeter.h"

#include <algorithm>

namespace host
{

namespace
{

constexpr long long Second = 10000000;
constexpr long long LargestGap = 10 * Second;
constexpr double LagSmoothing = 1.0 / 16.0;

} // namespace

void StreamMeter::addSample(HnsTime arrival, HnsTime time, HnsTime duration)
{
    addTime(time, duration);
    addArrival(arrival, time);
    m_arrivals[m_figures.samples % Window] = arrival;
    ++m_figures.samples;
    m_expected = time + static_cast<long long>(duration);
    m_hasLast = true;
}

void StreamMeter::addTypeChange()
{
    ++m_figures.typeChanges;
}

StreamFigures StreamMeter::figures(HnsTime now) const
{
    StreamFigures figures = m_figures;
    figures.jitterMedianMs = m_jitter.quantile(0.5);
    figures.jitter95Ms = m_jitter.quantile(0.95);
    figures.jitterMaxMs = m_jitter.maximum();
    const auto held = std::min<std::size_t>(m_figures.samples, Window);
    if (held >= 2) {
        const long long last = m_arrivals[(m_figures.samples - 1) % Window];
        const long long first = m_arrivals[(m_figures.samples - held) % Window];
        if (last > first && now - HnsTime(last) < HnsTime(2 * Second))
            figures.rate = static_cast<double>(held - 1) * Second / static_cast<double>(last - first);
    }
    return figures;
}

void StreamMeter::addTime(HnsTime time, HnsTime duration)
{
    if (!m_hasLast)
        return;
    const long long late = time - HnsTime(m_expected);
    if (late < -std::max(static_cast<long long>(duration), 1LL) || late > LargestGap) {
        ++m_figures.restarts;
        m_hasLast = false; // the best arrival belonged to the times before
    } else if (late > duration / 2) {
        ++m_figures.gaps;
        m_figures.missingMs += static_cast<double>(late) / HnsPerMs;
    }
}

void StreamMeter::addArrival(HnsTime arrival, HnsTime time)
{
    const long long lag = arrival - time;
    const double lagMs = static_cast<double>(lag) / HnsPerMs;
    if (!m_hasLast) {
        m_minimumLag = lag;
        m_figures.lagMs = lagMs;
    }
    m_minimumLag = std::min(m_minimumLag, lag);
    m_figures.lagMs += (lagMs - m_figures.lagMs) * LagSmoothing;
    m_jitter.add(static_cast<double>(lag - m_minimumLag) / HnsPerMs);
}

} // namespace host
