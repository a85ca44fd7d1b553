#include "platform/mf/ScheduledItems.h"

#include <algorithm>

namespace winmedia
{

// Never destroyed: its thread may still wait while the process ends.
ScheduledItems &ScheduledItems::instance()
{
    static ScheduledItems *const items = new ScheduledItems;
    return *items;
}

void ScheduledItems::add(Ref<IMFAsyncResult> result, INT64 milliseconds, MFWORKITEM_KEY *key)
{
    const std::lock_guard lock(m_mutex);
    const MFWORKITEM_KEY itemKey = m_nextKey++;
    m_items.insert({Clock::now() + std::chrono::milliseconds(milliseconds), {itemKey, std::move(result)}});
    if (key)
        *key = itemKey;
    if (!m_thread.joinable())
        m_thread = std::thread([this] { wait(); });
    m_wake.notify_one();
}

bool ScheduledItems::cancel(MFWORKITEM_KEY key)
{
    const std::lock_guard lock(m_mutex);
    const auto item =
        std::find_if(m_items.begin(), m_items.end(), [&](const auto &entry) { return entry.second.key == key; });
    if (item == m_items.end())
        return false;
    m_items.erase(item);
    return true;
}

void ScheduledItems::clear()
{
    std::unique_lock lock(m_mutex);
    if (!m_thread.joinable())
        return;
    m_stopping = true;
    const auto dropped = std::move(m_items);
    m_items.clear();
    std::thread thread = std::move(m_thread);
    m_wake.notify_all();
    lock.unlock();
    thread.join();
    lock.lock();
    m_stopping = false;
}

void ScheduledItems::wait()
{
    std::unique_lock lock(m_mutex);
    while (!m_stopping) {
        if (m_items.empty()) {
            m_wake.wait(lock);
            continue;
        }
        const auto due = m_items.begin()->first;
        if (Clock::now() < due) {
            m_wake.wait_until(lock, due);
            continue;
        }
        const Ref<IMFAsyncResult> result = std::move(m_items.begin()->second.result);
        m_items.erase(m_items.begin());
        lock.unlock();
        MFInvokeCallback(result.get());
        lock.lock();
    }
}

} // namespace winmedia
