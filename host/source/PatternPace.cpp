#include "host/source/PatternPace.h"

#include "pattern/PatternCode.h"

#include <chrono>

namespace host
{

void PatternPace::start()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_running = true;
    ++m_run;
    m_start = static_cast<long long>(pattern::steadyNowHns());
}

void PatternPace::stop()
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_running = false;
        ++m_run;
    }
    m_changed.notify_all();
}

bool PatternPace::waitFor(HnsTime due)
{
    using Hns = std::chrono::duration<long long, std::ratio<1, 10000000>>;
    std::unique_lock<std::mutex> guard(m_lock);
    const std::uint64_t run = m_run;
    if (!m_running)
        return false;
    if (!m_paced)
        return true;
    const std::chrono::time_point<std::chrono::steady_clock, Hns> at(Hns(m_start + static_cast<long long>(due)));
    return !m_changed.wait_until(guard, at, [this, run] { return m_run != run; });
}

HnsTime PatternPace::lateness(HnsTime due) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_paced)
        return 0;
    return static_cast<long long>(pattern::steadyNowHns()) - m_start - static_cast<long long>(due);
}

} // namespace host
