#include "platform/mf/AsyncResult.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfobjects.h>

#include <condition_variable>
#include <deque>
#include <mutex>

namespace winmedia
{

namespace
{

// Events wait for one consumer: a blocked GetEvent(), or the subscriber of a BeginGetEvent(), which is called back on
// the work queue it asks for when there is an event, and takes it with EndGetEvent().
// Thread-safe. References that may be somebody's last are dropped without the lock held.
class EventQueue final : public ComObject<IMFMediaEventQueue>
{
public:
    // IMFMediaEventQueue
    STDMETHODIMP GetEvent(DWORD flags, IMFMediaEvent **event) override;
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state) override;
    STDMETHODIMP EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event) override;
    STDMETHODIMP QueueEvent(IMFMediaEvent *event) override;
    STDMETHODIMP QueueEventParamVar(MediaEventType type, REFGUID extendedType, HRESULT status,
                                    const PROPVARIANT *value) override;
    STDMETHODIMP QueueEventParamUnk(MediaEventType type, REFGUID extendedType, HRESULT status,
                                    IUnknown *object) override;
    STDMETHODIMP Shutdown() override;

private:
    // A BeginGetEvent() that has not been ended.
    struct Subscription {
        Ref<IMFAsyncResult> result;
        IMFAsyncCallback *callback = nullptr; // held by the result
        DWORD workQueue = MFASYNC_CALLBACK_QUEUE_STANDARD;
        bool calledBack = false;
    };

    // What a subscriber is told with. Told without the lock, which whoever is woken takes first thing.
    struct Call {
        Ref<IMFAsyncResult> result;
        DWORD workQueue = MFASYNC_CALLBACK_QUEUE_STANDARD;

        HRESULT make() const { return result ? MFPutWorkItemEx(workQueue, result.get()) : S_OK; }
    };

    HRESULT alreadySubscribed(IMFAsyncCallback *callback, IUnknown *state) const;
    // The call that is due when there is something to hear, once for a subscription; the lock must be held.
    Call takeCall();
    void takeFirst(IMFMediaEvent **event);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    std::deque<Ref<IMFMediaEvent>> m_events;
    Subscription m_subscription;
    bool m_shutDown = false;
};

STDMETHODIMP EventQueue::GetEvent(DWORD flags, IMFMediaEvent **event)
{
    if (!event)
        return E_POINTER;
    *event = nullptr;
    std::unique_lock lock(m_mutex);
    if (!(flags & MF_EVENT_FLAG_NO_WAIT))
        m_changed.wait(lock, [this] { return m_shutDown || m_subscription.result || !m_events.empty(); });
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    if (m_subscription.result)
        return MF_E_MULTIPLE_SUBSCRIBERS;
    if (m_events.empty())
        return MF_E_NO_EVENTS_AVAILABLE;
    takeFirst(event);
    return S_OK;
}

STDMETHODIMP EventQueue::BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state)
{
    if (!callback)
        return E_INVALIDARG;
    const DWORD workQueue = queueOf(callback);
    Ref<IMFAsyncResult> result; // outlives the lock
    Call call;
    {
        const std::lock_guard lock(m_mutex);
        if (m_shutDown)
            return MF_E_SHUTDOWN;
        if (m_subscription.result)
            return alreadySubscribed(callback, state);
        const HRESULT hr = MFCreateAsyncResult(nullptr, callback, state, result.put());
        if (FAILED(hr))
            return hr;
        m_subscription = {result, callback, workQueue, false};
        if (!m_events.empty())
            call = takeCall();
    }
    m_changed.notify_all(); // there is no second consumer
    return call.make();
}

HRESULT EventQueue::alreadySubscribed(IMFAsyncCallback *callback, IUnknown *state) const
{
    if (callback != m_subscription.callback)
        return MF_E_MULTIPLE_SUBSCRIBERS;
    return state == m_subscription.result->GetStateNoAddRef() ? MF_S_MULTIPLE_BEGIN : MF_E_MULTIPLE_BEGIN;
}

STDMETHODIMP EventQueue::EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event)
{
    if (!result || !event)
        return E_POINTER;
    *event = nullptr;
    Subscription ended; // released without the lock
    const std::lock_guard lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN; // the subscription went with the shutdown
    if (result != m_subscription.result.get() || m_events.empty())
        return E_FAIL;
    std::swap(ended, m_subscription);
    takeFirst(event);
    return S_OK;
}

STDMETHODIMP EventQueue::QueueEvent(IMFMediaEvent *event)
{
    if (!event)
        return E_INVALIDARG;
    Call call;
    {
        const std::lock_guard lock(m_mutex);
        if (m_shutDown)
            return MF_E_SHUTDOWN;
        try {
            m_events.emplace_back(event);
        } catch (const std::bad_alloc &) {
            return E_OUTOFMEMORY;
        }
        call = takeCall();
    }
    m_changed.notify_one();
    return call.make();
}

STDMETHODIMP EventQueue::QueueEventParamVar(MediaEventType type, REFGUID extendedType, HRESULT status,
                                            const PROPVARIANT *value)
{
    Ref<IMFMediaEvent> event;
    const HRESULT hr = MFCreateMediaEvent(type, extendedType, status, value, event.put());
    return SUCCEEDED(hr) ? QueueEvent(event.get()) : hr;
}

STDMETHODIMP EventQueue::QueueEventParamUnk(MediaEventType type, REFGUID extendedType, HRESULT status, IUnknown *object)
{
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_UNKNOWN;
    value.punkVal = object;
    return QueueEventParamVar(type, extendedType, status, &value);
}

STDMETHODIMP EventQueue::Shutdown()
{
    std::deque<Ref<IMFMediaEvent>> dropped; // released without the lock, like the subscription
    Subscription ended;
    Call call;
    {
        const std::lock_guard lock(m_mutex);
        if (m_shutDown)
            return MF_E_SHUTDOWN;
        m_shutDown = true;
        dropped.swap(m_events);
        call = takeCall();
        std::swap(ended, m_subscription);
    }
    m_changed.notify_all();
    call.make();
    return S_OK;
}

EventQueue::Call EventQueue::takeCall()
{
    if (!m_subscription.result || m_subscription.calledBack)
        return {};
    m_subscription.calledBack = true;
    return {m_subscription.result, m_subscription.workQueue};
}

void EventQueue::takeFirst(IMFMediaEvent **event)
{
    *event = m_events.front().detach();
    m_events.pop_front();
}

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateEventQueue(IMFMediaEventQueue **queue)
{
    if (!queue)
        return E_POINTER;
    *queue = winmedia::createObject<winmedia::EventQueue>().detach();
    return *queue ? S_OK : E_OUTOFMEMORY;
}
