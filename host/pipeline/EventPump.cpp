#include "host/pipeline/EventPump.h"

#include "host/pipeline/ComFactory.h"
#include "hostfw/CUnknown.h"

#include <memory>
#include <mutex>

namespace host
{

class EventPumpCallback final : public IMFAsyncCallback, public CUnknown
{
public:
    EventPumpCallback(IMFMediaEventGenerator *generator, EventPump::Handler handler)
        : CUnknown(L"EventPumpCallback", nullptr), m_generator(generator),
          m_handler(std::make_shared<EventPump::Handler>(std::move(handler)))
    {
    }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (out && IsEqualIID(iid, __uuidof(IMFAsyncCallback)))
            return GetInterface(static_cast<IMFAsyncCallback *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }

    // IMFAsyncCallback
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD *, DWORD *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *result) override
    {
        CComPtr<IMFMediaEvent> event;
        if (FAILED(m_generator->EndGetEvent(result, &event)))
            return S_OK;
        const std::shared_ptr<EventPump::Handler> handler = currentHandler();
        if (!handler)
            return S_OK;
        MediaEventType type = MEUnknown;
        event->GetType(&type);
        (*handler)(type, event);
        next();
        return S_OK;
    }

    HRESULT next() { return m_generator->BeginGetEvent(this, nullptr); }
    void forgetHandler()
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_handler.reset();
    }

private:
    std::shared_ptr<EventPump::Handler> currentHandler()
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_handler;
    }

    const CComPtr<IMFMediaEventGenerator> m_generator;
    std::mutex m_lock;
    std::shared_ptr<EventPump::Handler> m_handler; // guarded by m_lock; null once stopped
};

EventPump::EventPump() = default;

EventPump::~EventPump()
{
    stop();
}

HRESULT EventPump::start(IMFMediaEventGenerator *generator, Handler handler)
{
    stop();
    m_callback = createObject<EventPumpCallback>(generator, std::move(handler));
    return m_callback ? m_callback->next() : E_OUTOFMEMORY;
}

void EventPump::stop()
{
    if (m_callback)
        m_callback->forgetHandler();
    m_callback.Release();
}

} // namespace host
