#include "host/monitor/MonitorSink.h"

#include <mferror.h>

namespace host
{

MonitorSink::MonitorSink(const std::vector<std::shared_ptr<SampleConsumer>> &consumers)
    : CUnknown(L"MonitorSink", nullptr)
{
    // Looking at a sample may take long (recording writes to a disk), so each stream has a thread of its own.
    for (const std::shared_ptr<SampleConsumer> &consumer : consumers)
        m_streams.push_back(std::make_unique<MonitorStream>(this, static_cast<DWORD>(m_streams.size()), consumer,
                                                            tvx::MFMessageQueue(tvx::MFMessageQueue::Type::Serial, 0)));
}

MonitorSink::~MonitorSink() = default;

HRESULT MonitorSink::NonDelegatingQueryInterface(REFIID iid, void **out)
{
    if (IsEqualIID(iid, __uuidof(IMFMediaSink)))
        return GetInterface(static_cast<IMFMediaSink *>(this), out);
    if (IsEqualIID(iid, __uuidof(IMFClockStateSink)))
        return GetInterface(static_cast<IMFClockStateSink *>(this), out);
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT MonitorSink::GetCharacteristics(DWORD *characteristics)
{
    if (!characteristics)
        return E_POINTER;
    *characteristics = MEDIASINK_FIXED_STREAMS | MEDIASINK_RATELESS;
    return S_OK;
}

HRESULT MonitorSink::AddStreamSink(DWORD, IMFMediaType *, IMFStreamSink **)
{
    return MF_E_STREAMSINKS_FIXED;
}

HRESULT MonitorSink::RemoveStreamSink(DWORD)
{
    return MF_E_STREAMSINKS_FIXED;
}

HRESULT MonitorSink::GetStreamSinkCount(DWORD *count)
{
    if (!count)
        return E_POINTER;
    *count = static_cast<DWORD>(m_streams.size());
    return S_OK;
}

HRESULT MonitorSink::GetStreamSinkByIndex(DWORD index, IMFStreamSink **stream)
{
    if (!stream)
        return E_POINTER;
    *stream = nullptr;
    if (index >= m_streams.size())
        return MF_E_INVALIDINDEX;
    *stream = m_streams[index].get();
    (*stream)->AddRef();
    return S_OK;
}

HRESULT MonitorSink::GetStreamSinkById(DWORD id, IMFStreamSink **stream)
{
    const HRESULT hr = GetStreamSinkByIndex(id, stream);
    return hr == MF_E_INVALIDINDEX ? MF_E_INVALIDSTREAMNUMBER : hr;
}

HRESULT MonitorSink::SetPresentationClock(IMFPresentationClock *clock)
{
    CComPtr<IMFPresentationClock> old;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_shutDown)
            return MF_E_SHUTDOWN;
        if (m_clock == clock)
            return S_OK;
        old = m_clock;
        m_clock = clock;
    }
    if (old)
        old->RemoveClockStateSink(this);
    return clock ? clock->AddClockStateSink(this) : S_OK;
}

HRESULT MonitorSink::GetPresentationClock(IMFPresentationClock **clock)
{
    if (!clock)
        return E_POINTER;
    const std::lock_guard<std::mutex> guard(m_lock);
    *clock = nullptr;
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    return m_clock ? m_clock.CopyTo(clock) : MF_E_NO_CLOCK;
}

HRESULT MonitorSink::Shutdown()
{
    SetPresentationClock(nullptr);
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_shutDown)
            return MF_E_SHUTDOWN;
        m_shutDown = true;
    }
    for (const std::unique_ptr<MonitorStream> &stream : m_streams)
        stream->shutdown();
    return S_OK;
}

HRESULT MonitorSink::OnClockStart(MFTIME, LONGLONG)
{
    return forEachStream(&MonitorStream::start);
}

HRESULT MonitorSink::OnClockStop(MFTIME)
{
    return forEachStream(&MonitorStream::stop);
}

HRESULT MonitorSink::OnClockPause(MFTIME)
{
    return forEachStream(&MonitorStream::stop);
}

HRESULT MonitorSink::OnClockRestart(MFTIME)
{
    return forEachStream(&MonitorStream::start);
}

HRESULT MonitorSink::OnClockSetRate(MFTIME, float)
{
    return S_OK; // samples are looked at as they come, at any rate
}

HRESULT MonitorSink::forEachStream(HRESULT (MonitorStream::*operation)())
{
    HRESULT result = S_OK;
    for (const std::unique_ptr<MonitorStream> &stream : m_streams) {
        const HRESULT hr = (stream.get()->*operation)();
        if (FAILED(hr))
            result = hr;
    }
    return result;
}

} // namespace host
