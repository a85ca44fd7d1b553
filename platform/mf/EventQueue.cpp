#include "platform/com/ComObject.h"

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

// Events wait for one consumer: a blocked GetEvent(), or a BeginGetEvent() whose callback is invoked when there is one.
class EventQueue : public ComObject<IMFMediaEventQueue>
{
public:
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
    void take(IMFMediaEvent **event);
    // Calls the waiting subscriber back; the lock must be held.
    void notifySubscriber();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Ref<IMFMediaEvent>> m_events; // guarded by m_mutex, like all below
    Ref<IMFAsyncResult> m_subscription;
    Ref<IMFAsyncCallback> m_subscriber;
    Ref<IUnknown> m_subscriberState;
    bool m_notified = false;
    bool m_shutDown = false;
};

HRESULT EventQueue::GetEvent(DWORD flags, IMFMediaEvent **event)
{
    if (!event)
        return E_POINTER;
    std::unique_lock lock(m_mutex);
    if (!m_shutDown && m_subscription)
        return MF_E_MULTIPLE_SUBSCRIBERS;
    if (!(flags & MF_EVENT_FLAG_NO_WAIT))
        m_wake.wait(lock, [this] { return m_shutDown || !m_events.empty(); });
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    if (m_events.empty())
        return MF_E_NO_EVENTS_AVAILABLE;
    take(event);
    return S_OK;
}

HRESULT EventQueue::BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state)
{
    if (!callback)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    if (m_subscription) {
        if (callback != m_subscriber.get())
            return MF_E_MULTIPLE_SUBSCRIBERS;
        return state == m_subscriberState.get() ? MF_S_MULTIPLE_BEGIN : MF_E_MULTIPLE_BEGIN;
    }
    const HRESULT hr = MFCreateAsyncResult(nullptr, callback, state, m_subscription.put());
    if (FAILED(hr))
        return hr;
    m_subscriber = callback;
    m_subscriberState = state;
    m_notified = false;
    if (!m_events.empty())
        notifySubscriber();
    return S_OK;
}

HRESULT EventQueue::EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event)
{
    if (!result || !event)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    if (result != m_subscription.get())
        return E_FAIL;
    m_subscription.reset();
    m_subscriber.reset();
    m_subscriberState.reset();
    m_notified = false;
    if (m_events.empty())
        return E_FAIL;
    take(event);
    return S_OK;
}

HRESULT EventQueue::QueueEvent(IMFMediaEvent *event)
{
    if (!event)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    m_events.emplace_back(event);
    if (m_subscription)
        notifySubscriber();
    else
        m_wake.notify_one();
    return S_OK;
}

HRESULT EventQueue::QueueEventParamVar(MediaEventType type, REFGUID extendedType, HRESULT status,
                                       const PROPVARIANT *value)
{
    Ref<IMFMediaEvent> event;
    const HRESULT hr = MFCreateMediaEvent(type, extendedType, status, value, event.put());
    return SUCCEEDED(hr) ? QueueEvent(event.get()) : hr;
}

HRESULT EventQueue::QueueEventParamUnk(MediaEventType type, REFGUID extendedType, HRESULT status, IUnknown *object)
{
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_UNKNOWN;
    value.punkVal = object;
    return QueueEventParamVar(type, extendedType, status, &value);
}

HRESULT EventQueue::Shutdown()
{
    std::deque<Ref<IMFMediaEvent>> dropped;
    const std::lock_guard lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    m_shutDown = true;
    dropped.swap(m_events);
    if (m_subscription)
        notifySubscriber();
    m_wake.notify_all();
    return S_OK;
}

void EventQueue::take(IMFMediaEvent **event)
{
    *event = m_events.front().detach();
    m_events.pop_front();
}

void EventQueue::notifySubscriber()
{
    if (m_notified)
        return;
    m_notified = true;
    MFInvokeCallback(m_subscription.get());
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
