#include "ndi/tools/ndi-recv/RecentLatency.h"

#include "pattern/FrameRate.h"

#include <algorithm>
#include <vector>

namespace ndirecv
{

namespace
{

constexpr std::int64_t Span = 2 * pattern::HnsPerSecond;
constexpr std::size_t MostValues = 1000;

} // namespace

void RecentLatency::add(double milliseconds, std::int64_t arrival)
{
    m_values.push_back({milliseconds, arrival});
    while (m_values.size() > MostValues || m_values.front().arrival <= arrival - Span)
        m_values.pop_front();
}

std::optional<double> RecentLatency::median() const
{
    if (m_values.empty())
        return std::nullopt;
    std::vector<double> values;
    for (const Value &value : m_values)
        values.push_back(value.milliseconds);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace ndirecv
