#include "host/pipeline/EventPump.h"

#include "host/pipeline/AsyncCallback.h"
#include "host/pipeline/ComFactory.h"

#include <memory>
#include <mutex>
#include <utility>

namespace host
{

class EventPumpCallback : public AsyncCallback
{
public:
    EventPumpCallback(IMFMediaEventGenerator *generator, EventPump::Handler handler)
        : AsyncCallback(L"EventPumpCallback", nullptr),
          m_target(generator, std::make_shared<EventPump::Handler>(std::move(handler)))
    {
    }

    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *result) override
    {
        const auto [generator, handler] = current();
        if (!generator)
            return S_OK;
        CComPtr<IMFMediaEvent> event;
        if (FAILED(generator->EndGetEvent(result, &event))) {
            stop();
            return S_OK;
        }
        MediaEventType type = MEUnknown;
        event->GetType(&type);
        (*handler)(type, event);
        if (FAILED(next()))
            stop();
        return S_OK;
    }

    HRESULT next()
    {
        const CComPtr<IMFMediaEventGenerator> generator = current().first;
        return generator ? generator->BeginGetEvent(this, nullptr) : S_OK;
    }
    // The generator holds its subscriber, in some implementations beyond its shutdown, so this lets go of the
    // generator.
    void stop()
    {
        Target dropped;
        const std::lock_guard<std::mutex> guard(m_lock);
        std::swap(dropped, m_target);
    }

private:
    using Target = std::pair<CComPtr<IMFMediaEventGenerator>, std::shared_ptr<EventPump::Handler>>;

    Target current()
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_target;
    }

    std::mutex m_lock;
    Target m_target; // guarded by m_lock; empty once stopped
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
        m_callback->stop();
    m_callback.Release();
}

} // namespace host
