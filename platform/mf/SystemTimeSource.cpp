#include "platform/com/ComObject.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <chrono>
#include <cstdint>
#include <mutex>

namespace winmedia
{

namespace
{

constexpr UINT64 frequency = 10'000'000; // Hz: 100 ns units

// What the clocks below tell alike.
template <typename... Interfaces>
class ClockBase : public ComObject<Interfaces...>
{
public:
    STDMETHODIMP GetContinuityKey(DWORD *key) override
    {
        if (!key)
            return E_POINTER;
        *key = 0;
        return S_OK;
    }
    STDMETHODIMP GetProperties(MFCLOCK_PROPERTIES *properties) override
    {
        if (!properties)
            return E_POINTER;
        *properties = {};
        properties->qwClockFrequency = frequency;
        properties->dwClockTolerance = MFCLOCK_TOLERANCE_UNKNOWN;
        properties->dwClockJitter = 1;
        return S_OK;
    }
};

// The system's clock itself, which always runs and tells what MFGetSystemTime() tells.
class SystemClock final : public ClockBase<IMFClock>
{
public:
    STDMETHODIMP GetClockCharacteristics(DWORD *characteristics) override
    {
        if (!characteristics)
            return E_POINTER;
        *characteristics = MFCLOCK_CHARACTERISTICS_FLAG_FREQUENCY_10MHZ | MFCLOCK_CHARACTERISTICS_FLAG_ALWAYS_RUNNING |
                           MFCLOCK_CHARACTERISTICS_FLAG_IS_SYSTEM_CLOCK;
        return S_OK;
    }
    STDMETHODIMP GetCorrelatedTime(DWORD, LONGLONG *clockTime, MFTIME *systemTime) override
    {
        if (!clockTime || !systemTime)
            return E_POINTER;
        *clockTime = *systemTime = MFGetSystemTime();
        return S_OK;
    }
    STDMETHODIMP GetState(DWORD, MFCLOCK_STATE *state) override
    {
        if (!state)
            return E_POINTER;
        *state = MFCLOCK_STATE_RUNNING;
        return S_OK;
    }
};

// Time that follows the system's clock at the rate set, from where it was started.
class SystemTimeSource final : public ClockBase<IMFPresentationTimeSource, IMFClockStateSink>
{
public:
    STDMETHODIMP GetClockCharacteristics(DWORD *characteristics) override
    {
        if (!characteristics)
            return E_POINTER;
        *characteristics = MFCLOCK_CHARACTERISTICS_FLAG_FREQUENCY_10MHZ | MFCLOCK_CHARACTERISTICS_FLAG_IS_SYSTEM_CLOCK;
        return S_OK;
    }
    STDMETHODIMP GetCorrelatedTime(DWORD, LONGLONG *clockTime, MFTIME *systemTime) override
    {
        if (!clockTime || !systemTime)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        *systemTime = MFGetSystemTime();
        *clockTime = timeAt(*systemTime);
        return S_OK;
    }
    STDMETHODIMP GetState(DWORD, MFCLOCK_STATE *state) override
    {
        if (!state)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        *state = m_state;
        return S_OK;
    }
    STDMETHODIMP GetUnderlyingClock(IMFClock **clock) override
    {
        if (!clock)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        if (!m_clock)
            m_clock = createObject<SystemClock>();
        if (!m_clock)
            return E_OUTOFMEMORY;
        *clock = m_clock.get();
        (*clock)->AddRef();
        return S_OK;
    }

    STDMETHODIMP OnClockStart(MFTIME systemTime, LONGLONG offset) override
    {
        const std::lock_guard lock(m_mutex);
        if (offset != PRESENTATION_CURRENT_POSITION)
            m_time = offset;
        else if (m_state == MFCLOCK_STATE_RUNNING)
            m_time = timeAt(systemTime);
        m_since = systemTime;
        m_state = MFCLOCK_STATE_RUNNING;
        return S_OK;
    }
    STDMETHODIMP OnClockStop(MFTIME) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == MFCLOCK_STATE_INVALID)
            return S_OK; // nothing to stop yet
        m_time = 0;
        m_state = MFCLOCK_STATE_STOPPED;
        return S_OK;
    }
    STDMETHODIMP OnClockPause(MFTIME systemTime) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == MFCLOCK_STATE_PAUSED || m_state == MFCLOCK_STATE_STOPPED)
            return MF_E_INVALIDREQUEST;
        m_time = timeAt(systemTime);
        m_state = MFCLOCK_STATE_PAUSED;
        return S_OK;
    }
    STDMETHODIMP OnClockRestart(MFTIME systemTime) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_state != MFCLOCK_STATE_PAUSED)
            return MF_E_INVALIDREQUEST;
        m_since = systemTime;
        m_state = MFCLOCK_STATE_RUNNING;
        return S_OK;
    }
    STDMETHODIMP OnClockSetRate(MFTIME systemTime, float rate) override
    {
        if (rate == 0.0F)
            return MF_E_UNSUPPORTED_RATE;
        const std::lock_guard lock(m_mutex);
        m_time = timeAt(systemTime);
        m_since = systemTime;
        m_rate = rate;
        return S_OK;
    }

private:
    LONGLONG timeAt(MFTIME systemTime) const
    {
        if (m_state != MFCLOCK_STATE_RUNNING)
            return m_time;
        const LONGLONG elapsed = systemTime - m_since;
        return m_time + (m_rate == 1.0F ? elapsed : static_cast<LONGLONG>(static_cast<double>(elapsed) * m_rate));
    }

    std::mutex m_mutex; // guards everything below
    MFCLOCK_STATE m_state = MFCLOCK_STATE_INVALID;
    LONGLONG m_time = 0; // when it was last set, and while it does not run
    MFTIME m_since = 0;
    float m_rate = 1.0F;
    Ref<SystemClock> m_clock; // made for the first who asks
};

} // namespace

} // namespace winmedia

MFTIME WINAPI MFGetSystemTime()
{
    using namespace std::chrono;
    using HundredNanoseconds = duration<std::int64_t, std::ratio<1, winmedia::frequency>>;
    return duration_cast<HundredNanoseconds>(steady_clock::now().time_since_epoch()).count();
}

HRESULT WINAPI MFCreateSystemTimeSource(IMFPresentationTimeSource **source)
{
    if (!source)
        return E_POINTER;
    *source = winmedia::createObject<winmedia::SystemTimeSource>().detach();
    return *source ? S_OK : E_OUTOFMEMORY;
}
