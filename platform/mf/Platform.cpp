#include "platform/mf/Platform.h"

#include "platform/mf/WorkerThreads.h"

#include <mferror.h>

#include <new>

namespace winmedia
{

namespace
{

// How long the last MFShutdown waits for work that is under way, and then for threads to end.
constexpr std::chrono::milliseconds shutdownPatience{250};

} // namespace

Platform &Platform::instance()
{
    alignas(Platform) static unsigned char storage[sizeof(Platform)];
    static Platform *const platform = new (storage) Platform;
    return *platform;
}

HRESULT Platform::startup()
{
    const std::lock_guard lock(m_mutex);
    ++m_startups;
    ++m_holds;
    m_up = true;
    m_queues.open();
    return S_OK;
}

HRESULT Platform::shutdown()
{
    std::shared_ptr<ScheduledItems> dropped;
    bool last = false;
    {
        const std::lock_guard lock(m_mutex);
        if (m_startups == 0)
            return S_OK;
        last = --m_startups == 0;
        if (last)
            dropped = std::move(m_scheduled);
    }
    dropped.reset();
    unlock();
    if (!last || WorkerThreads::isCurrentThread())
        return S_OK;

    std::unique_lock lock(m_mutex);
    const bool down = m_wentDown.wait_for(lock, shutdownPatience, [this] { return !m_up; });
    lock.unlock();
    if (down)
        WorkerThreads::instance().joinAll(shutdownPatience);
    return S_OK;
}

void Platform::unlock()
{
    if (m_holds.fetch_sub(1, std::memory_order_acq_rel) == 1)
        goDownUnlessHeld();
}

void Platform::goDownUnlessHeld()
{
    // Destroyed after the lock is gone.
    std::shared_ptr<ScheduledItems> scheduled;
    std::vector<std::shared_ptr<WorkQueue>> queues;

    const std::lock_guard lock(m_mutex);
    if (!m_up || m_holds.load(std::memory_order_acquire) > 0)
        return;
    m_up = false;
    scheduled = std::move(m_scheduled);
    queues = m_queues.close();
    m_wentDown.notify_all();
}

HRESULT Platform::schedule(Ref<IMFAsyncResult> result, std::chrono::milliseconds delay, MFWORKITEM_KEY *key)
{
    std::shared_ptr<ScheduledItems> scheduled;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_up)
            return MF_E_SHUTDOWN;
        if (!m_scheduled)
            m_scheduled = ScheduledItems::create();
        scheduled = m_scheduled;
    }
    return scheduled ? scheduled->add(std::move(result), delay, key) : E_OUTOFMEMORY;
}

HRESULT Platform::cancel(MFWORKITEM_KEY key)
{
    std::shared_ptr<ScheduledItems> scheduled;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_up)
            return MF_E_SHUTDOWN;
        scheduled = m_scheduled;
    }
    return scheduled && scheduled->cancel(key) ? S_OK : MF_E_NOT_FOUND;
}

} // namespace winmedia
