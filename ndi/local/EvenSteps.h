#pragma once

#include <cstdint>

namespace localndi
{

// A time that advances by fractions of a second without adding up rounding errors. Threads: one at a time.
class EvenSteps
{
public:
    explicit EvenSteps(std::int64_t ticksPerSecond) : m_ticksPerSecond(ticksPerSecond) {}

    void restart(std::int64_t origin);
    // By `units / rate` seconds; both positive, else by nothing.
    void advance(std::int64_t units, std::int64_t rate);
    std::int64_t position() const;

private:
    const std::int64_t m_ticksPerSecond;
    std::int64_t m_origin = 0;
    std::int64_t m_units = 0; // of m_rate per second, since m_origin; less than a second
    std::int64_t m_rate = 1;
};

// `units / rate` seconds in ticks; 0 unless both are positive.
std::int64_t ticksOf(std::int64_t units, std::int64_t rate, std::int64_t ticksPerSecond);

// Wraps around instead of overflowing: a caller may use any timecode.
std::int64_t wrappingSum(std::int64_t a, std::int64_t b);

} // namespace localndi
