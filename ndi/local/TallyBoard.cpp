#include "ndi/local/TallyBoard.h"

#include <utility>

namespace localndi
{

bool TallyBoard::show(TallyState state)
{
    const std::lock_guard lock(m_lock);
    if (state.onProgram == m_state.onProgram && state.onPreview == m_state.onPreview)
        return false;
    m_state = state;
    m_unread = true;
    m_changed.notify_all();
    return true;
}

TallyBoard::Reading TallyBoard::read(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_lock);
    m_changed.wait_for(lock, timeout, [this] { return m_unread; });
    return {m_state, std::exchange(m_unread, false)};
}

} // namespace localndi
