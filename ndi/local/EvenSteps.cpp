#include "ndi/local/EvenSteps.h"

namespace localndi
{

void EvenSteps::restart(std::int64_t origin)
{
    m_origin = origin;
    m_units = 0;
}

void EvenSteps::advance(std::int64_t units, std::int64_t rate)
{
    if (units <= 0 || rate <= 0)
        return;
    if (rate != m_rate) {
        restart(position());
        m_rate = rate;
    }
    m_units += units % rate;
    std::int64_t seconds = units / rate;
    if (m_units >= rate) {
        m_units -= rate;
        ++seconds;
    }
    m_origin = wrappingSum(m_origin, seconds * m_ticksPerSecond);
}

std::int64_t EvenSteps::position() const
{
    return wrappingSum(m_origin, m_units * m_ticksPerSecond / m_rate);
}

std::int64_t ticksOf(std::int64_t units, std::int64_t rate, std::int64_t ticksPerSecond)
{
    if (units <= 0 || rate <= 0)
        return 0;
    return units / rate * ticksPerSecond + units % rate * ticksPerSecond / rate;
}

std::int64_t wrappingSum(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

} // namespace localndi
