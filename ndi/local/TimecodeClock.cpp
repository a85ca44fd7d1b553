#include "ndi/local/TimecodeClock.h"

#include "ndi/include/Processing.NDI.Interface.h"

#include <ratio>

namespace localndi
{
namespace
{

using Hns = std::chrono::duration<std::int64_t, std::ratio<1, hnsPerSecond>>;

} // namespace

std::int64_t wallClockHns()
{
    return std::chrono::duration_cast<Hns>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::int64_t TimecodeClock::next(Kind kind, std::int64_t timecode, std::int64_t units, std::int64_t rate)
{
    const std::lock_guard lock(m_lock);
    auto &steps = m_steps[kind];
    if (timecode == NDIlib_send_timecode_synthesize) {
        timecode = synthesized(kind);
    } else {
        m_anchor = Anchor{timecode, std::chrono::steady_clock::now()};
        m_anchored[kind] = true;
        steps.restart(timecode);
    }
    steps.advance(units, rate);
    return timecode;
}

std::int64_t TimecodeClock::synthesized(Kind kind) const
{
    if (m_anchored[kind])
        return m_steps[kind].position();
    if (!m_anchor)
        return wallClockHns();
    const auto passed = std::chrono::duration_cast<Hns>(std::chrono::steady_clock::now() - m_anchor->at);
    return wrappingSum(m_anchor->timecode, passed.count());
}

} // namespace localndi
