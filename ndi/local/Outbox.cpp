#include "ndi/local/Outbox.h"

#include <utility>

namespace localndi
{

bool Outbox::push(OutgoingFrame frame)
{
    const std::lock_guard lock(m_lock);
    const bool wasEmpty = m_frames.empty();
    const auto type = frame.type;
    m_frames.push_back(std::move(frame));
    dropOldest(m_frames, type, [](const OutgoingFrame &queued) { return queued.type; });
    return wasEmpty;
}

std::deque<OutgoingFrame> Outbox::takeAll()
{
    const std::lock_guard lock(m_lock);
    return std::exchange(m_frames, {});
}

} // namespace localndi
