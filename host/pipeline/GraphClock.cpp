#include "host/pipeline/GraphClock.h"

namespace host
{

GraphClock::~GraphClock()
{
    stop();
}

HRESULT GraphClock::start()
{
    HRESULT hr = open();
    if (FAILED(hr))
        return hr;
    MFTIME position = 0;
    if (m_running)
        m_clock->GetTime(&position);
    hr = m_clock->Start(position);
    m_running = m_running || SUCCEEDED(hr);
    return hr;
}

void GraphClock::stop()
{
    if (!m_clock)
        return;
    if (m_running)
        m_clock->Stop();
    m_running = false;
    CComPtr<IMFShutdown> shutdown;
    if (SUCCEEDED(m_clock.QueryInterface(&shutdown)))
        shutdown->Shutdown();
    m_clock.Release();
}

HRESULT GraphClock::addSink(IMFMediaSink *sink)
{
    const HRESULT hr = open();
    return FAILED(hr) ? hr : sink->SetPresentationClock(m_clock);
}

void GraphClock::removeSink(IMFMediaSink *sink)
{
    CComPtr<IMFClockStateSink> listener;
    if (m_clock && SUCCEEDED(sink->QueryInterface(__uuidof(IMFClockStateSink), reinterpret_cast<void **>(&listener))))
        m_clock->RemoveClockStateSink(listener);
}

HRESULT GraphClock::open()
{
    if (m_clock)
        return S_OK;
    CComPtr<IMFPresentationClock> clock;
    HRESULT hr = MFCreatePresentationClock(&clock);
    if (FAILED(hr))
        return hr;
    CComPtr<IMFPresentationTimeSource> time;
    hr = MFCreateSystemTimeSource(&time);
    if (FAILED(hr))
        return hr;
    hr = clock->SetTimeSource(time);
    if (FAILED(hr))
        return hr;
    m_clock = clock;
    return S_OK;
}

} // namespace host
