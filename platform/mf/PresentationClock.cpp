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

using StateSinks = std::vector<Ref<IMFClockStateSink>>;

// What a time source and the state sinks are told.
struct ClockChange {
    enum class Kind { Start, Stop, Pause, Restart, SetRate };

    Kind kind = Kind::Stop;
    MFTIME systemTime = 0;
    LONGLONG offset = 0; // of Start
    float rate = 1.0F;   // of SetRate

    HRESULT tell(IMFClockStateSink *sink) const
    {
        switch (kind) {
        case Kind::Start:
            return sink->OnClockStart(systemTime, offset);
        case Kind::Stop:
            return sink->OnClockStop(systemTime);
        case Kind::Pause:
            return sink->OnClockPause(systemTime);
        case Kind::Restart:
            return sink->OnClockRestart(systemTime);
        case Kind::SetRate:
            return sink->OnClockSetRate(systemTime, rate);
        }
        return E_UNEXPECTED;
    }
};

// Tells the time of its time source, and tells everyone who registered when it starts, stops, pauses or changes its
// rate. The time source hears first, on the thread that makes the change, and can refuse it; the state sinks hear
// afterwards on the standard work queue, change after change, each in the order in which the sinks were added.
//
// Threads: any; changes exclude each other. A time source must not change the clock from inside its notification.
class PresentationClock final : public ComObject<IMFPresentationClock, IMFRateControl, IMFShutdown>
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

private:
    class Notification;

    void *findInterface(REFIID iid) override;
    HRESULT timeSource(Ref<IMFPresentationTimeSource> *source);
    bool hasSink(IMFClockStateSink *sink);
    // Tells the time source, notes the change down and sends it to the sinks. m_changing must be held.
    HRESULT change(MFCLOCK_STATE state, ClockChange change);
    // m_mutex must be held, so that no change overtakes another.
    HRESULT notify(const StateSinks &sinks, const ClockChange &change);

    std::mutex m_changing; // held during a change; taken before m_mutex
    std::mutex m_mutex;
    // Guarded by m_mutex.
    Ref<IMFPresentationTimeSource> m_source;
    Ref<IMFClockStateSink> m_sourceSink;
    StateSinks m_sinks;
    MFCLOCK_STATE m_state = MFCLOCK_STATE_INVALID;
    ClockChange m_lastChange; // of the state
    float m_rate = 1.0F;
    bool m_shutDown = false;
};

// A change on its way to the sinks that were there when it happened.
class PresentationClock::Notification final : public ComObject<IMFAsyncCallback>
{
public:
    Notification(PresentationClock *clock, StateSinks sinks, const ClockChange &change)
        : m_clock(clock), m_sinks(std::move(sinks)), m_change(change)
    {
    }

    STDMETHODIMP GetParameters(DWORD *, DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(IMFAsyncResult *) override
    {
        for (const auto &sink : m_sinks) {
            if (m_clock->hasSink(sink.get()))
                m_change.tell(sink.get());
        }
        return S_OK;
    }

private:
    const Ref<PresentationClock> m_clock;
    const StateSinks m_sinks;
    const ClockChange m_change;
};

void *PresentationClock::findInterface(REFIID iid)
{
    if (IsEqualIID(iid, __uuidof(IMFClock)))
        return static_cast<IMFClock *>(this);
    return ComObject::findInterface(iid);
}

HRESULT PresentationClock::timeSource(Ref<IMFPresentationTimeSource> *source)
{
    const std::lock_guard lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    if (!m_source)
        return MF_E_CLOCK_NO_TIME_SOURCE;
    *source = m_source;
    return S_OK;
}

STDMETHODIMP PresentationClock::GetClockCharacteristics(DWORD *characteristics)
{
    Ref<IMFPresentationTimeSource> source;
    const HRESULT hr = timeSource(&source);
    return SUCCEEDED(hr) ? source->GetClockCharacteristics(characteristics) : hr;
}

STDMETHODIMP PresentationClock::GetCorrelatedTime(DWORD reserved, LONGLONG *clockTime, MFTIME *systemTime)
{
    Ref<IMFPresentationTimeSource> source;
    const HRESULT hr = timeSource(&source);
    return SUCCEEDED(hr) ? source->GetCorrelatedTime(reserved, clockTime, systemTime) : hr;
}

STDMETHODIMP PresentationClock::GetContinuityKey(DWORD *key)
{
    if (!key)
        return E_POINTER;
    *key = 0;
    return S_OK;
}

STDMETHODIMP PresentationClock::GetState(DWORD, MFCLOCK_STATE *state)
{
    if (!state)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    *state = m_state;
    return S_OK;
}

STDMETHODIMP PresentationClock::GetProperties(MFCLOCK_PROPERTIES *properties)
{
    Ref<IMFPresentationTimeSource> source;
    const HRESULT hr = timeSource(&source);
    return SUCCEEDED(hr) ? source->GetProperties(properties) : hr;
}

STDMETHODIMP PresentationClock::SetTimeSource(IMFPresentationTimeSource *newSource)
{
    if (!newSource)
        return E_INVALIDARG;
    Ref<IMFPresentationTimeSource> source(newSource);
    Ref<IMFClockStateSink> sink;
    const HRESULT hr = source->QueryInterface(__uuidof(IMFClockStateSink), reinterpret_cast<void **>(sink.put()));
    if (FAILED(hr))
        return hr;
    const std::lock_guard changing(m_changing);
    const std::lock_guard lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    std::swap(m_source, source);
    std::swap(m_sourceSink, sink);
    return S_OK;
}

STDMETHODIMP PresentationClock::GetTimeSource(IMFPresentationTimeSource **found)
{
    if (!found)
        return E_INVALIDARG;
    Ref<IMFPresentationTimeSource> source;
    const HRESULT hr = timeSource(&source);
    *found = source.detach();
    return hr;
}

STDMETHODIMP PresentationClock::GetTime(MFTIME *time)
{
    if (!time)
        return E_POINTER;
    MFTIME systemTime = 0;
    return GetCorrelatedTime(0, time, &systemTime);
}

STDMETHODIMP PresentationClock::AddClockStateSink(IMFClockStateSink *sink)
{
    if (!sink)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    const Ref<IMFClockStateSink> added(sink);
    if (std::any_of(m_sinks.begin(), m_sinks.end(), [sink](const auto &known) { return known.get() == sink; }))
        return E_INVALIDARG;
    try {
        m_sinks.push_back(added);
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    }
    // A sink that comes late hears of the state that the others know.
    if (m_state != MFCLOCK_STATE_INVALID)
        return notify({added}, m_lastChange);
    return S_OK;
}

STDMETHODIMP PresentationClock::RemoveClockStateSink(IMFClockStateSink *sink)
{
    if (!sink)
        return E_INVALIDARG;
    Ref<IMFClockStateSink> removed; // released without the lock
    const std::lock_guard lock(m_mutex);
    const auto found =
        std::find_if(m_sinks.begin(), m_sinks.end(), [sink](const auto &known) { return known.get() == sink; });
    if (found == m_sinks.end())
        return S_OK;
    removed = std::move(*found);
    m_sinks.erase(found);
    return S_OK;
}

bool PresentationClock::hasSink(IMFClockStateSink *sink)
{
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_sinks.begin(), m_sinks.end(), [sink](const auto &known) { return known.get() == sink; });
}

HRESULT PresentationClock::change(MFCLOCK_STATE state, ClockChange change)
{
    Ref<IMFClockStateSink> sourceSink;
    {
        const std::lock_guard lock(m_mutex);
        if (m_shutDown)
            return MF_E_SHUTDOWN;
        if (!m_source)
            return MF_E_CLOCK_NO_TIME_SOURCE;
        sourceSink = m_sourceSink;
    }
    change.systemTime = MFGetSystemTime();
    const HRESULT hr = change.tell(sourceSink.get());
    if (FAILED(hr))
        return hr;

    const std::lock_guard lock(m_mutex);
    if (change.kind == ClockChange::Kind::SetRate) {
        m_rate = change.rate;
    } else {
        m_state = state;
        m_lastChange = change;
    }
    return m_sinks.empty() ? S_OK : notify(m_sinks, change);
}

HRESULT PresentationClock::notify(const StateSinks &sinks, const ClockChange &change)
{
    const auto notification = createObject<Notification>(this, sinks, change);
    return notification ? MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_STANDARD, notification.get(), nullptr) : E_OUTOFMEMORY;
}

STDMETHODIMP PresentationClock::Start(LONGLONG offset)
{
    const std::lock_guard changing(m_changing);
    MFCLOCK_STATE state = MFCLOCK_STATE_INVALID;
    GetState(0, &state);
    ClockChange start;
    start.kind = state == MFCLOCK_STATE_PAUSED && offset == PRESENTATION_CURRENT_POSITION ? ClockChange::Kind::Restart
                                                                                          : ClockChange::Kind::Start;
    start.offset = offset;
    return change(MFCLOCK_STATE_RUNNING, start);
}

STDMETHODIMP PresentationClock::Stop()
{
    const std::lock_guard changing(m_changing);
    MFCLOCK_STATE state = MFCLOCK_STATE_INVALID;
    GetState(0, &state);
    if (state == MFCLOCK_STATE_STOPPED)
        return MF_E_CLOCK_STATE_ALREADY_SET;
    ClockChange stop;
    stop.kind = ClockChange::Kind::Stop;
    return change(MFCLOCK_STATE_STOPPED, stop);
}

STDMETHODIMP PresentationClock::Pause()
{
    const std::lock_guard changing(m_changing);
    Ref<IMFPresentationTimeSource> source;
    const HRESULT hr = timeSource(&source);
    if (FAILED(hr))
        return hr;
    MFCLOCK_STATE state = MFCLOCK_STATE_INVALID;
    GetState(0, &state);
    if (state == MFCLOCK_STATE_PAUSED)
        return MF_E_CLOCK_STATE_ALREADY_SET;
    if (state == MFCLOCK_STATE_STOPPED)
        return MF_E_INVALIDREQUEST;
    ClockChange pause;
    pause.kind = ClockChange::Kind::Pause;
    return change(MFCLOCK_STATE_PAUSED, pause);
}

STDMETHODIMP PresentationClock::SetRate(BOOL thin, float rate)
{
    if (thin)
        return MF_E_THINNING_UNSUPPORTED;
    const std::lock_guard changing(m_changing);
    ClockChange setRate;
    setRate.kind = ClockChange::Kind::SetRate;
    setRate.rate = rate;
    return change(MFCLOCK_STATE_INVALID, setRate);
}

STDMETHODIMP PresentationClock::GetRate(BOOL *thin, float *rate)
{
    if (!rate)
        return E_INVALIDARG;
    if (thin)
        *thin = FALSE;
    const std::lock_guard lock(m_mutex);
    *rate = m_rate;
    return S_OK;
}

STDMETHODIMP PresentationClock::Shutdown()
{
    // Released without the locks; the sinks usually hold the clock.
    StateSinks sinks;
    Ref<IMFPresentationTimeSource> source;
    Ref<IMFClockStateSink> sourceSink;
    const std::lock_guard changing(m_changing);
    const std::lock_guard lock(m_mutex);
    m_shutDown = true;
    sinks.swap(m_sinks);
    std::swap(source, m_source);
    std::swap(sourceSink, m_sourceSink);
    return S_OK;
}

STDMETHODIMP PresentationClock::GetShutdownStatus(MFSHUTDOWN_STATUS *status)
{
    if (!status)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    if (!m_shutDown)
        return MF_E_INVALIDREQUEST;
    *status = MFSHUTDOWN_COMPLETED;
    return S_OK;
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
