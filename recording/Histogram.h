#pragma once

#include <array>
#include <cstdint>

namespace recording
{

// Durations of a stream of any length in memory of fixed size: exact to 0.1 ms below 250 ms and to 1 % above.
class Histogram
{
public:
    void add(double milliseconds);
    void clear();

    std::uint64_t count() const { return m_count; }
    // The value below or at which that share of all values lies (0 to 1); 0 when there are none.
    double quantile(double share) const;
    double maximum() const { return m_maximum; }

private:
    static constexpr int FineBins = 2500;
    static constexpr int CoarseBins = 600;

    static int binOf(double milliseconds);
    // The middle of the bin.
    static double valueOf(int bin);

    std::array<std::uint64_t, FineBins + CoarseBins> m_bins{};
    std::uint64_t m_count = 0;
    double m_maximum = 0.0;
};

} // namespace recording
