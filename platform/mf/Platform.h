#pragma once

#include "platform/mf/ScheduledItems.h"
#include "platform/mf/WorkQueueTable.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace winmedia
{

// Media Foundation as started by MFStartup. It is up from the first start until as many shutdowns have come and nothing
// holds it any more; then the work queues go. Asynchronous results hold it, so nothing that waits to run is lost.
class Platform
{
public:
    // Lives as long as the process.
    static Platform &instance();

    HRESULT startup();
    // The last one drops the items that wait for their time and, except on a work queue's own thread, waits a moment
    // for what is under way.
    HRESULT shutdown();
    // Balanced by the caller; may be taken before the platform is up.
    void lock() { m_holds.fetch_add(1, std::memory_order_relaxed); }
    void unlock();

    WorkQueueTable &queues() { return m_queues; }
    // `key` may be null. MF_E_SHUTDOWN while the platform is down.
    HRESULT schedule(Ref<IMFAsyncResult> result, std::chrono::milliseconds delay, MFWORKITEM_KEY *key);
    // MF_E_NOT_FOUND when the item is not waiting for its time.
    HRESULT cancel(MFWORKITEM_KEY key);

private:
    Platform() = default;
    void goDownUnlessHeld();

    // Starts and locks together.
    std::atomic<LONG> m_holds{0};
    // Taken before the lock of the table.
    std::mutex m_mutex;
    std::condition_variable m_wentDown;
    // Guarded by m_mutex.
    LONG m_startups = 0;
    bool m_up = false;
    std::shared_ptr<ScheduledItems> m_scheduled;
    WorkQueueTable m_queues; // has a lock of its own
};

} // namespace winmedia
