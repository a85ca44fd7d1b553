#include "host/monitor/MonitorStream.h"

#include "host/pipeline/ComFactory.h"

#include <mferror.h>

namespace host
{

namespace
{
// One sample being looked at and one on its way.
constexpr unsigned RequestsAhead = 2;
} // namespace

MonitorStream::MonitorStream(IMFMediaSink *sink, DWORD identifier, const std::shared_ptr<SampleConsumer> &consumer,
                             const tvx::MFMessageQueue &queue)
    : CUnknown(L"MonitorStream", sink), m_sink(sink), m_identifier(identifier), m_consumer(consumer), m_queue(queue),
      m_handler(static_cast<IMFStreamSink *>(this), consumer, [this](IMFMediaType *type) { return adoptType(type); }),
      m_events(createObject<tvx::CBaseEventGenerator>(nullptr))
{
}

MonitorStream::~MonitorStream() = default;

HRESULT MonitorStream::adoptType(IMFMediaType *type)
{
    return m_queue.push([reference = CComPtr<IMFMediaSink>(m_sink), this, adopted = CComPtr<IMFMediaType>(type)] {
        m_consumer->typeChanged(adopted);
        return S_OK;
    });
}

HRESULT MonitorStream::start()
{
    unsigned run = 0;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_shutDown)
            return MF_E_SHUTDOWN;
        m_started = true;
        m_requests = 0;
        run = ++m_run;
    }
    const HRESULT hr = send(MEStreamSinkStarted);
    if (FAILED(hr))
        return hr;
    for (unsigned count = 0; count < RequestsAhead; ++count)
        request(run);
    return S_OK;
}

HRESULT MonitorStream::stop()
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_shutDown)
            return MF_E_SHUTDOWN;
        m_started = false;
        m_requests = 0;
    }
    return send(MEStreamSinkStopped);
}

void MonitorStream::shutdown()
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_shutDown = true;
        m_started = false;
    }
    m_events->Shutdown();
}

HRESULT MonitorStream::QueryInterface(REFIID iid, void **out)
{
    if (!out)
        return E_POINTER;
    if (IsEqualIID(iid, __uuidof(IMFStreamSink)) || IsEqualIID(iid, __uuidof(IMFMediaEventGenerator)) ||
        IsEqualIID(iid, __uuidof(IUnknown)))
        return GetInterface(static_cast<IMFStreamSink *>(this), out);
    *out = nullptr;
    return E_NOINTERFACE;
}

HRESULT MonitorStream::GetEvent(DWORD flags, IMFMediaEvent **event)
{
    return m_events->GetEvent(flags, event);
}

HRESULT MonitorStream::BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state)
{
    return m_events->BeginGetEvent(callback, state);
}

HRESULT MonitorStream::EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event)
{
    return m_events->EndGetEvent(result, event);
}

HRESULT MonitorStream::QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status, const PROPVARIANT *value)
{
    return m_events->QueueEvent(type, extendedType, status, value);
}

HRESULT MonitorStream::GetMediaSink(IMFMediaSink **sink)
{
    if (!sink)
        return E_POINTER;
    *sink = m_sink;
    m_sink->AddRef();
    return S_OK;
}

HRESULT MonitorStream::GetIdentifier(DWORD *identifier)
{
    if (!identifier)
        return E_POINTER;
    *identifier = m_identifier;
    return S_OK;
}

HRESULT MonitorStream::GetMediaTypeHandler(IMFMediaTypeHandler **handler)
{
    if (!handler)
        return E_POINTER;
    *handler = &m_handler;
    m_handler.AddRef();
    return S_OK;
}

HRESULT MonitorStream::ProcessSample(IMFSample *sample)
{
    if (!sample)
        return E_POINTER;
    const HnsTime arrival = steadyNow();
    unsigned run = 0;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_shutDown)
            return MF_E_SHUTDOWN;
        if (!m_started || m_requests == 0)
            return MF_E_INVALIDREQUEST;
        --m_requests;
        run = m_run;
    }
    return m_queue.push([self = CComPtr<MonitorStream>(this), sample = CComPtr<IMFSample>(sample), arrival, run] {
        self->m_consumer->sample(sample, arrival);
        self->request(run);
        return S_OK;
    });
}

HRESULT MonitorStream::PlaceMarker(MFSTREAMSINK_MARKER_TYPE, const PROPVARIANT *, const PROPVARIANT *)
{
    return send(MEStreamSinkMarker);
}

HRESULT MonitorStream::Flush()
{
    return S_OK;
}

HRESULT MonitorStream::send(MediaEventType type)
{
    return m_events->QueueEvent(type, GUID_NULL, S_OK, nullptr);
}

void MonitorStream::request(unsigned run)
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (!m_started || run != m_run)
            return;
        ++m_requests;
    }
    send(MEStreamSinkRequestSample);
}

} // namespace host
