// The work queues of the process, by number, and Media Foundation's start and stop, which they follow.

#include "platform/mf/ScheduledItems.h"
#include "platform/mf/WorkQueue.h"

#include <mfapi.h>
#include <mferror.h>

#include <map>

namespace winmedia
{

namespace
{

// Identifiers of private queues carry this mark, as those of the system do.
constexpr DWORD privateMask = MFASYNC_CALLBACK_QUEUE_PRIVATE_MASK & 0xffff0000;
constexpr unsigned poolThreads = 4;

class WorkQueues
{
public:
    // Never destroyed: threads may still use it while the process ends.
    static WorkQueues &instance()
    {
        static WorkQueues *const queues = new WorkQueues;
        return *queues;
    }

    HRESULT startup()
    {
        const std::lock_guard lock(m_mutex);
        ++m_startups;
        return S_OK;
    }

    HRESULT shutdown()
    {
        std::unique_lock lock(m_mutex);
        if (m_startups == 0 || --m_startups > 0)
            return S_OK;
        const auto shared = std::move(m_shared);
        m_shared.clear();
        lock.unlock();
        ScheduledItems::instance().clear();
        return S_OK;
    }

    HRESULT put(DWORD id, WorkItem item)
    {
        std::shared_ptr<WorkQueue> queue;
        const HRESULT hr = find(id, &queue);
        if (FAILED(hr))
            return hr;
        queue->put(std::move(item));
        return S_OK;
    }

    HRESULT add(std::shared_ptr<WorkQueue> queue, DWORD *id)
    {
        const std::lock_guard lock(m_mutex);
        *id = privateMask | (m_nextId++ & 0xffff);
        m_private[*id] = {std::move(queue), 1};
        return S_OK;
    }

    HRESULT lockQueue(DWORD id)
    {
        const std::lock_guard lock(m_mutex);
        if (!(id & privateMask))
            return S_OK;
        const auto entry = m_private.find(id);
        if (entry == m_private.end())
            return MF_E_INVALID_WORKQUEUE;
        ++entry->second.locks;
        return S_OK;
    }

    HRESULT unlockQueue(DWORD id)
    {
        std::unique_lock lock(m_mutex);
        if (!(id & privateMask))
            return S_OK;
        const auto entry = m_private.find(id);
        if (entry == m_private.end())
            return MF_E_INVALID_WORKQUEUE;
        if (--entry->second.locks > 0)
            return S_OK;
        const auto queue = std::move(entry->second.queue);
        m_private.erase(entry);
        lock.unlock();
        queue->close();
        return S_OK;
    }

    HRESULT find(DWORD id, std::shared_ptr<WorkQueue> *queue)
    {
        const std::lock_guard lock(m_mutex);
        if (id & privateMask) {
            const auto entry = m_private.find(id);
            if (entry == m_private.end())
                return MF_E_INVALID_WORKQUEUE;
            *queue = entry->second.queue;
            return S_OK;
        }
        if (!isShared(id))
            return MF_E_INVALID_WORKQUEUE;
        if (m_startups == 0)
            return MF_E_SHUTDOWN;
        auto &shared = m_shared[id];
        if (!shared)
            shared = std::make_shared<ThreadedWorkQueue>(poolThreads);
        *queue = shared;
        return S_OK;
    }

private:
    struct PrivateQueue {
        std::shared_ptr<WorkQueue> queue;
        unsigned locks = 0;
    };

    static bool isShared(DWORD id)
    {
        switch (id) {
        case MFASYNC_CALLBACK_QUEUE_STANDARD:
        case MFASYNC_CALLBACK_QUEUE_RT:
        case MFASYNC_CALLBACK_QUEUE_IO:
        case MFASYNC_CALLBACK_QUEUE_TIMER:
        case MFASYNC_CALLBACK_QUEUE_MULTITHREADED:
        case MFASYNC_CALLBACK_QUEUE_LONG_FUNCTION:
            return true;
        default:
            return false;
        }
    }

    std::mutex m_mutex; // guards everything below
    unsigned m_startups = 0;
    DWORD m_nextId = 1;
    std::map<DWORD, std::shared_ptr<WorkQueue>> m_shared;
    std::map<DWORD, PrivateQueue> m_private;
};

HRESULT putNew(DWORD queue, LONG priority, IMFAsyncCallback *callback, IUnknown *state)
{
    if (!callback)
        return E_POINTER;
    auto result = createObject<AsyncResult>(nullptr, callback, state);
    return result ? WorkQueues::instance().put(queue, {std::move(result), priority}) : E_OUTOFMEMORY;
}

HRESULT putExisting(DWORD queue, LONG priority, IMFAsyncResult *result)
{
    if (!result)
        return E_POINTER;
    return WorkQueues::instance().put(queue, {Ref<AsyncResult>(static_cast<AsyncResult *>(result)), priority});
}

HRESULT allocate(std::shared_ptr<WorkQueue> queue, DWORD *id)
{
    return WorkQueues::instance().add(std::move(queue), id);
}

} // namespace

} // namespace winmedia

using winmedia::WorkQueues;

HRESULT WINAPI MFStartup(ULONG version, DWORD /*flags*/)
{
    if ((version >> 16) != MF_SDK_VERSION || (version & 0xffff) != MF_API_VERSION)
        return MF_E_BAD_STARTUP_VERSION;
    return WorkQueues::instance().startup();
}

HRESULT WINAPI MFShutdown()
{
    return WorkQueues::instance().shutdown();
}

HRESULT WINAPI MFLockPlatform()
{
    return WorkQueues::instance().startup();
}

HRESULT WINAPI MFUnlockPlatform()
{
    return WorkQueues::instance().shutdown();
}

HRESULT WINAPI MFAllocateWorkQueue(DWORD *queue)
{
    return MFAllocateWorkQueueEx(MF_STANDARD_WORKQUEUE, queue);
}

HRESULT WINAPI MFAllocateWorkQueueEx(MFASYNC_WORKQUEUE_TYPE type, DWORD *queue)
{
    if (!queue)
        return E_POINTER;
    switch (type) {
    case MF_STANDARD_WORKQUEUE:
    case MF_WINDOW_WORKQUEUE:
        return winmedia::allocate(std::make_shared<winmedia::ThreadedWorkQueue>(1), queue);
    case MF_MULTITHREADED_WORKQUEUE:
        return winmedia::allocate(std::make_shared<winmedia::ThreadedWorkQueue>(winmedia::poolThreads), queue);
    default:
        return E_INVALIDARG;
    }
}

HRESULT WINAPI MFAllocateSerialWorkQueue(DWORD target, DWORD *queue)
{
    if (!queue)
        return E_POINTER;
    std::shared_ptr<winmedia::WorkQueue> targetQueue;
    const HRESULT hr = WorkQueues::instance().find(target, &targetQueue);
    return SUCCEEDED(hr) ? winmedia::allocate(std::make_shared<winmedia::SerialWorkQueue>(targetQueue), queue) : hr;
}

HRESULT WINAPI MFLockWorkQueue(DWORD queue)
{
    return WorkQueues::instance().lockQueue(queue);
}

HRESULT WINAPI MFUnlockWorkQueue(DWORD queue)
{
    return WorkQueues::instance().unlockQueue(queue);
}

HRESULT WINAPI MFPutWorkItem(DWORD queue, IMFAsyncCallback *callback, IUnknown *state)
{
    return winmedia::putNew(queue, 0, callback, state);
}

HRESULT WINAPI MFPutWorkItem2(DWORD queue, LONG priority, IMFAsyncCallback *callback, IUnknown *state)
{
    return winmedia::putNew(queue, priority, callback, state);
}

HRESULT WINAPI MFPutWorkItemEx(DWORD queue, IMFAsyncResult *result)
{
    return winmedia::putExisting(queue, 0, result);
}

HRESULT WINAPI MFPutWorkItemEx2(DWORD queue, LONG priority, IMFAsyncResult *result)
{
    return winmedia::putExisting(queue, priority, result);
}

HRESULT WINAPI MFInvokeCallback(IMFAsyncResult *result)
{
    if (!result)
        return E_POINTER;
    return winmedia::putExisting(static_cast<winmedia::AsyncResult *>(result)->wantedQueue(), 0, result);
}

HRESULT WINAPI MFScheduleWorkItemEx(IMFAsyncResult *result, INT64 timeout, MFWORKITEM_KEY *key)
{
    if (!result)
        return E_POINTER;
    if (timeout > 0)
        return E_INVALIDARG;
    winmedia::ScheduledItems::instance().add(winmedia::Ref<IMFAsyncResult>(result), -timeout, key);
    return S_OK;
}

HRESULT WINAPI MFScheduleWorkItem(IMFAsyncCallback *callback, IUnknown *state, INT64 timeout, MFWORKITEM_KEY *key)
{
    if (!callback)
        return E_POINTER;
    winmedia::Ref<IMFAsyncResult> result;
    const HRESULT hr = MFCreateAsyncResult(nullptr, callback, state, result.put());
    return SUCCEEDED(hr) ? MFScheduleWorkItemEx(result.get(), timeout, key) : hr;
}

HRESULT WINAPI MFCancelWorkItem(MFWORKITEM_KEY key)
{
    return winmedia::ScheduledItems::instance().cancel(key) ? S_OK : MF_E_NOT_FOUND;
}
