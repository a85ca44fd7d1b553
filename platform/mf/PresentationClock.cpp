#include "platform/com/ComObject.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace winmedia
{

namespace
{

// Tells the time of its time source, and tells everyone who registered when it starts, stops, pauses or changes its
// rate. The time source hears first. Sinks are called on the thread that changes the state, without the lock held.
class PresentationClock : public ComObject<IMFPresentationClock, IMFRateControl, IMFShutdown>
{
public:
    // IMFClock
    STDMETHODIMP GetClockCharacteristics(DWORD *characteristics) override;
    STDMETHODIMP GetCorrelatedTime(DWORD reserved, LONGLONG *clockTime, MFTIME *systemTime) override;
    STDMETHODIMP GetContinuityKey(DWORD *key) override;
    STDMETHODIMP GetState(DWORD reserved, MFCLOCK_STATE *state) override;
    STDMETHODIMP GetProperties(MFCLOCK_PROPERTIES *properties) override;

    // IMFPresentationClock
    STDMETHODIMP SetTimeSource(IMFPresentationTimeSource *source) override;
    STDMETHODIMP GetTimeSource(IMFPresentationTimeSource **source) override;
    STDMETHODIMP GetTime(MFTIME *time) override;
    STDMETHODIMP AddClockStateSink(IMFClockStateSink *sink) override;
    STDMETHODIMP RemoveClockStateSink(IMFClockStateSink *sink) override;
    STDMETHODIMP Start(LONGLONG offset) override;
    STDMETHODIMP Stop() override;
    STDMETHODIMP Pause() override;

    // IMFRateControl
    STDMETHODIMP SetRate(BOOL thin, float rate) override;
    STDMETHODIMP GetRate(BOOL *thin, float *rate) override;

    // IMFShutdown
    STDMETHODIMP Shutdown() override;
    STDMETHODIMP GetShutdownStatus(MFSHUTDOWN_STATUS *status) override;

protected:
    void *findInterface(REFIID iid) override;

private:
    HRESULT source(Ref<IMFPresentationTimeSource> *source);
    template <typename Notification>
    HRESULT change(MFCLOCK_STATE state, Notification &&notify);

    std::mutex m_mutex; // guards everything below
    Ref<IMFPresentationTimeSource> m_source;
    Ref<IMFClockStateSink> m_sourceSink;
    std::vector<Ref<IMFClockStateSink>> m_sinks;
    MFCLOCK_STATE m_state = MFCLOCK_STATE_INVALID;
    LONGLONG m_startOffset = 0;
    float m_rate = 1.0F;
    bool m_shutDown = false;
};

void *PresentationClock::findInterface(REFIID iid)
{
    if (IsEqualIID(iid, __uuidof(IMFClock)))
        return static_cast<IMFClock *>(this);
    return ComObject::findInterface(iid);
}

HRESULT PresentationClock::source(Ref<IMFPresentationTimeSource> *found)
{
    const std::lock_guard lock(m_mutex);
    if (!m_source)
        return MF_E_CLOCK_NO_TIME_SOURCE;
    *found = m_source;
    return S_OK;
}

HRESULT PresentationClock::GetClockCharacteristics(DWORD *characteristics)
{
    Ref<IMFPresentationTimeSource> timeSource;
    const HRESULT hr = source(&timeSource);
    return SUCCEEDED(hr) ? timeSource->GetClockCharacteristics(characteristics) : hr;
}

HRESULT PresentationClock::GetCorrelatedTime(DWORD reserved, LONGLONG *clockTime, MFTIME *systemTime)
{
    Ref<IMFPresentationTimeSource> timeSource;
    const HRESULT hr = source(&timeSource);
    return SUCCEEDED(hr) ? timeSource->GetCorrelatedTime(reserved, clockTime, systemTime) : hr;
}

HRESULT PresentationClock::GetContinuityKey(DWORD *key)
{
    if (!key)
        return E_POINTER;
    *key = 0;
    return S_OK;
}

HRESULT PresentationClock::GetState(DWORD, MFCLOCK_STATE *state)
{
    if (!state)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    *state = m_state;
    return S_OK;
}

HRESULT PresentationClock::GetProperties(MFCLOCK_PROPERTIES *properties)
{
    Ref<IMFPresentationTimeSource> timeSource;
    const HRESULT hr = source(&timeSource);
    return SUCCEEDED(hr) ? timeSource->GetProperties(properties) : hr;
}

HRESULT PresentationClock::SetTimeSource(IMFPresentationTimeSource *timeSource)
{
    if (!timeSource)
        return E_INVALIDARG;
    Ref<IMFClockStateSink> sink;
    const HRESULT hr = timeSource->QueryInterface(__uuidof(IMFClockStateSink), reinterpret_cast<void **>(sink.put()));
    if (FAILED(hr))
        return hr;
    const std::lock_guard lock(m_mutex);
    m_source = timeSource;
    m_sourceSink = sink;
    return S_OK;
}

HRESULT PresentationClock::GetTimeSource(IMFPresentationTimeSource **timeSource)
{
    if (!timeSource)
        return E_INVALIDARG;
    Ref<IMFPresentationTimeSource> found;
    const HRESULT hr = source(&found);
    if (SUCCEEDED(hr))
        *timeSource = found.detach();
    return hr;
}

HRESULT PresentationClock::GetTime(MFTIME *time)
{
    if (!time)
        return E_POINTER;
    MFTIME systemTime = 0;
    return GetCorrelatedTime(0, time, &systemTime);
}

HRESULT PresentationClock::AddClockStateSink(IMFClockStateSink *sink)
{
    if (!sink)
        return E_INVALIDARG;
    std::unique_lock lock(m_mutex);
    for (const auto &known : m_sinks)
        if (known.get() == sink)
            return E_INVALIDARG;
    m_sinks.emplace_back(sink);
    const MFCLOCK_STATE state = m_state;
    const LONGLONG offset = m_startOffset;
    lock.unlock();
    // A sink that comes late hears of the state that the others know.
    if (state == MFCLOCK_STATE_RUNNING)
        sink->OnClockStart(MFGetSystemTime(), offset);
    else if (state == MFCLOCK_STATE_PAUSED)
        sink->OnClockPause(MFGetSystemTime());
    return S_OK;
}

HRESULT PresentationClock::RemoveClockStateSink(IMFClockStateSink *sink)
{
    if (!sink)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    m_sinks.erase(
        std::remove_if(m_sinks.begin(), m_sinks.end(), [sink](const auto &known) { return known.get() == sink; }),
        m_sinks.end());
    return S_OK;
}

template <typename Notification>
HRESULT PresentationClock::change(MFCLOCK_STATE state, Notification &&notify)
{
    std::unique_lock lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    if (!m_source)
        return MF_E_CLOCK_NO_TIME_SOURCE;
    const auto timeSource = m_sourceSink;
    const auto sinks = m_sinks;
    const MFTIME now = MFGetSystemTime();
    lock.unlock();

    const HRESULT hr = notify(timeSource.get(), now);
    if (FAILED(hr))
        return hr;
    lock.lock();
    m_state = state;
    lock.unlock();
    for (const auto &sink : sinks)
        notify(sink.get(), now);
    return S_OK;
}

HRESULT PresentationClock::Start(LONGLONG offset)
{
    MFCLOCK_STATE state = MFCLOCK_STATE_INVALID;
    {
        const std::lock_guard lock(m_mutex);
        state = m_state;
        m_startOffset = offset;
    }
    if (state == MFCLOCK_STATE_PAUSED && offset == PRESENTATION_CURRENT_POSITION)
        return change(MFCLOCK_STATE_RUNNING,
                      [](IMFClockStateSink *sink, MFTIME now) { return sink->OnClockRestart(now); });
    return change(MFCLOCK_STATE_RUNNING,
                  [offset](IMFClockStateSink *sink, MFTIME now) { return sink->OnClockStart(now, offset); });
}

HRESULT PresentationClock::Stop()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_source && m_state == MFCLOCK_STATE_STOPPED)
            return MF_E_CLOCK_STATE_ALREADY_SET;
    }
    return change(MFCLOCK_STATE_STOPPED, [](IMFClockStateSink *sink, MFTIME now) { return sink->OnClockStop(now); });
}

HRESULT PresentationClock::Pause()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_source && m_state == MFCLOCK_STATE_PAUSED)
            return MF_E_CLOCK_STATE_ALREADY_SET;
        if (m_source && m_state != MFCLOCK_STATE_RUNNING)
            return MF_E_INVALIDREQUEST;
    }
    return change(MFCLOCK_STATE_PAUSED, [](IMFClockStateSink *sink, MFTIME now) { return sink->OnClockPause(now); });
}

HRESULT PresentationClock::SetRate(BOOL thin, float rate)
{
    if (thin)
        return MF_E_THINNING_UNSUPPORTED;
    MFCLOCK_STATE state = MFCLOCK_STATE_INVALID;
    {
        const std::lock_guard lock(m_mutex);
        state = m_state;
    }
    const HRESULT hr =
        change(state, [rate](IMFClockStateSink *sink, MFTIME now) { return sink->OnClockSetRate(now, rate); });
    if (SUCCEEDED(hr)) {
        const std::lock_guard lock(m_mutex);
        m_rate = rate;
    }
    return hr;
}

HRESULT PresentationClock::GetRate(BOOL *thin, float *rate)
{
    if (!rate)
        return E_INVALIDARG;
    if (thin)
        *thin = FALSE;
    const std::lock_guard lock(m_mutex);
    *rate = m_rate;
    return S_OK;
}

HRESULT PresentationClock::Shutdown()
{
    std::vector<Ref<IMFClockStateSink>> dropped;
    const std::lock_guard lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    m_shutDown = true;
    dropped.swap(m_sinks);
    return S_OK;
}

HRESULT PresentationClock::GetShutdownStatus(MFSHUTDOWN_STATUS *status)
{
    if (!status)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    *status = MFSHUTDOWN_COMPLETED;
    return m_shutDown ? S_OK : MF_E_INVALIDREQUEST;
}

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreatePresentationClock(IMFPresentationClock **clock)
{
    if (!clock)
        return E_POINTER;
    *clock = winmedia::createObject<winmedia::PresentationClock>().detach();
    return *clock ? S_OK : E_OUTOFMEMORY;
}

HRESULT WINAPI MFShutdownObject(IUnknown *object)
{
    if (!object)
        return E_INVALIDARG;
    winmedia::Ref<IMFShutdown> shutdown;
    if (SUCCEEDED(object->QueryInterface(__uuidof(IMFShutdown), reinterpret_cast<void **>(shutdown.put()))))
        shutdown->Shutdown();
    return S_OK;
}

HRESULT WINAPI MFGetService(IUnknown *object, REFGUID service, REFIID iid, void **out)
{
    if (!object)
        return E_POINTER;
    winmedia::Ref<IMFGetService> services;
    const HRESULT hr = object->QueryInterface(__uuidof(IMFGetService), reinterpret_cast<void **>(services.put()));
    return SUCCEEDED(hr) ? services->GetService(service, iid, out) : MF_E_UNSUPPORTED_SERVICE;
}
