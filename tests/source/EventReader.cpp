#include "tests/source/EventReader.h"

#include "hostfw/CUnknown.h"

#include <condition_variable>
#include <mutex>

namespace
{

class Subscriber : public IMFAsyncCallback, public CUnknown
{
public:
    explicit Subscriber(IMFMediaEventGenerator *generator) : CUnknown(L"Subscriber", nullptr), m_generator(generator) {}

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (IsEqualIID(iid, __uuidof(IMFAsyncCallback)))
            return GetInterface(static_cast<IMFAsyncCallback *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD *, DWORD *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *result) override
    {
        CComPtr<IMFMediaEvent> event;
        m_generator->EndGetEvent(result, &event);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_event = event;
        m_called = true;
        m_changed.notify_all();
        return S_OK;
    }

    CComPtr<IMFMediaEvent> wait(std::chrono::milliseconds deadline)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, deadline, [this] { return m_called; });
        return m_event;
    }

private:
    const CComPtr<IMFMediaEventGenerator> m_generator;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    CComPtr<IMFMediaEvent> m_event; // guarded by m_mutex, like the next
    bool m_called = false;
};

} // namespace

CComPtr<IMFMediaEvent> nextEvent(IMFMediaEventGenerator *generator, std::chrono::milliseconds deadline)
{
    const CComPtr<Subscriber> subscriber(new Subscriber(generator));
    if (FAILED(generator->BeginGetEvent(subscriber, nullptr)))
        return {};
    return subscriber->wait(deadline);
}
