#include "recording/Histogram.h"

#include <algorithm>
#include <cmath>

namespace recording
{

namespace
{
constexpr double FineStep = 0.1; // milliseconds
constexpr double CoarseGrowth = 1.01;
} // namespace

void Histogram::add(double milliseconds)
{
    ++m_bins[static_cast<std::size_t>(binOf(milliseconds))];
    m_maximum = m_count == 0 ? milliseconds : std::max(m_maximum, milliseconds);
    ++m_count;
}

void Histogram::clear()
{
    *this = Histogram();
}

double Histogram::quantile(double share) const
{
    if (m_count == 0)
        return 0.0;
    const auto rank = static_cast<std::uint64_t>(std::ceil(std::clamp(share, 0.0, 1.0) * static_cast<double>(m_count)));
    std::uint64_t below = 0;
    for (std::size_t bin = 0; bin < m_bins.size(); ++bin) {
        below += m_bins[bin];
        if (below >= std::max<std::uint64_t>(rank, 1))
            return std::min(valueOf(static_cast<int>(bin)), m_maximum);
    }
    return m_maximum;
}

int Histogram::binOf(double milliseconds)
{
    if (!(milliseconds > 0.0))
        return 0;
    const double fineEnd = FineBins * FineStep;
    if (milliseconds < fineEnd)
        return static_cast<int>(milliseconds / FineStep);
    const double step = std::log(milliseconds / fineEnd) / std::log(CoarseGrowth);
    return FineBins + static_cast<int>(std::min(step, CoarseBins - 1.0));
}

double Histogram::valueOf(int bin)
{
    if (bin < FineBins)
        return (bin + 0.5) * FineStep;
    return FineBins * FineStep * std::pow(CoarseGrowth, bin - FineBins + 0.5);
}

} // namespace recording
