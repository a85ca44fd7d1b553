// The work queue functions of mfapi.h.

#include "platform/mf/AsyncResult.h"
#include "platform/mf/Platform.h"
#include "platform/mf/SerialWorkQueue.h"
#include "platform/mf/ThreadedWorkQueue.h"
#include "platform/mf/WorkerThreads.h"

#include <mfapi.h>
#include <mferror.h>

#include <new>

using namespace winmedia;

namespace
{

WorkQueueTable &queues()
{
    return Platform::instance().queues();
}

template <typename Queue, typename... Arguments>
HRESULT allocate(DWORD *id, Arguments &&...arguments)
{
    WorkerThreads::instance().joinFinished();
    try {
        return queues().add(std::make_shared<Queue>(std::forward<Arguments>(arguments)...), id);
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    }
}

} // namespace

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
        return allocate<ThreadedWorkQueue>(queue, "mf-queue", 1U);
    case MF_MULTITHREADED_WORKQUEUE:
        return allocate<ThreadedWorkQueue>(queue, "mf-queue-pool", poolThreads);
    case MF_WINDOW_WORKQUEUE: // there are no window messages
        return E_NOTIMPL;
    default:
        return E_INVALIDARG;
    }
}

HRESULT WINAPI MFAllocateSerialWorkQueue(DWORD target, DWORD *queue)
{
    if (!queue)
        return E_POINTER;
    std::shared_ptr<WorkQueue> targetQueue;
    const HRESULT hr = queues().find(target, &targetQueue);
    return SUCCEEDED(hr) ? allocate<SerialWorkQueue>(queue, std::move(targetQueue)) : hr;
}

HRESULT WINAPI MFLockWorkQueue(DWORD queue)
{
    return queues().lock(queue);
}

HRESULT WINAPI MFUnlockWorkQueue(DWORD queue)
{
    WorkerThreads::instance().joinFinished();
    return queues().unlock(queue);
}

HRESULT WINAPI MFPutWorkItemEx2(DWORD queue, LONG priority, IMFAsyncResult *result)
{
    if (!result)
        return E_POINTER;
    if (!callbackOf(result))
        return E_INVALIDARG;
    return queues().put(queue, {result, priority});
}

HRESULT WINAPI MFPutWorkItemEx(DWORD queue, IMFAsyncResult *result)
{
    return MFPutWorkItemEx2(queue, 0, result);
}

HRESULT WINAPI MFPutWorkItem2(DWORD queue, LONG priority, IMFAsyncCallback *callback, IUnknown *state)
{
    if (!callback)
        return E_POINTER;
    const Ref<AsyncResult> result = createObject<AsyncResult>(nullptr, callback, state);
    return result ? MFPutWorkItemEx2(queue, priority, result.get()) : E_OUTOFMEMORY;
}

HRESULT WINAPI MFPutWorkItem(DWORD queue, IMFAsyncCallback *callback, IUnknown *state)
{
    return MFPutWorkItem2(queue, 0, callback, state);
}

HRESULT WINAPI MFInvokeCallback(IMFAsyncResult *result)
{
    return result ? MFPutWorkItemEx2(queueOf(callbackOf(result)), 0, result) : E_POINTER;
}

HRESULT WINAPI MFScheduleWorkItemEx(IMFAsyncResult *result, INT64 timeout, MFWORKITEM_KEY *key)
{
    if (!result)
        return E_POINTER;
    if (!callbackOf(result))
        return E_INVALIDARG;
    // Delays are negative. A positive time out has passed long ago.
    const std::chrono::milliseconds delay(timeout >= 0 ? 0 : timeout == INT64_MIN ? INT64_MAX : -timeout);
    return Platform::instance().schedule(result, delay, key);
}

HRESULT WINAPI MFScheduleWorkItem(IMFAsyncCallback *callback, IUnknown *state, INT64 timeout, MFWORKITEM_KEY *key)
{
    if (!callback)
        return E_POINTER;
    const Ref<AsyncResult> result = createObject<AsyncResult>(nullptr, callback, state);
    return result ? MFScheduleWorkItemEx(result.get(), timeout, key) : E_OUTOFMEMORY;
}

HRESULT WINAPI MFCancelWorkItem(MFWORKITEM_KEY key)
{
    return Platform::instance().cancel(key);
}

HRESULT WINAPI MFAddPeriodicCallback(MFPERIODICCALLBACK, IUnknown *, DWORD *)
{
    return E_NOTIMPL;
}

HRESULT WINAPI MFRemovePeriodicCallback(DWORD)
{
    return E_NOTIMPL;
}
