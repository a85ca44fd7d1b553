#include "pattern/SyncMeter.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace pattern
{

namespace
{

constexpr std::size_t MostOffsets = 600;
constexpr std::int64_t LargestDistance = 5'000'000; // half of the time between two flashes

std::optional<std::int64_t> median(const std::deque<SyncMark> &offsets, std::int64_t SyncMark::*which)
{
    if (offsets.empty())
        return std::nullopt;
    std::vector<std::int64_t> values;
    for (const SyncMark &offset : offsets)
        values.push_back(offset.*which);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

void SyncMeter::addFlash(const SyncMark &flash)
{
    m_flash = flash;
    match();
}

void SyncMeter::addBeep(const SyncMark &beep)
{
    m_beep = beep;
    match();
}

void SyncMeter::forget()
{
    m_flash.reset();
    m_beep.reset();
}

std::optional<std::int64_t> SyncMeter::timeOffset() const
{
    return median(m_offsets, &SyncMark::time);
}

std::optional<std::int64_t> SyncMeter::arrivalOffset() const
{
    return median(m_offsets, &SyncMark::arrival);
}

void SyncMeter::match()
{
    if (!m_flash || !m_beep || std::abs(m_flash->arrival - m_beep->arrival) > LargestDistance)
        return;
    m_offsets.push_back({m_flash->time - m_beep->time, m_flash->arrival - m_beep->arrival});
    if (m_offsets.size() > MostOffsets)
        m_offsets.pop_front();
    ++m_pairs;
    forget();
}

} // namespace pattern
