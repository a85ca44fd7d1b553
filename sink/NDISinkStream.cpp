#include "sink/NDISinkStream.h"

#include "hostfw/HnsTime.h"
#include "plugin/Logging.h"
#include "sink/NDIMediaTypeHandler.h"
#include "sink/NDISinkMF.h"
#include "sink/SinkChecks.h"

#include <mferror.h>

#include <cstdint>

namespace
{

// PRESENTATION_CURRENT_POSITION and MF_QUALITY_NOTIFY_PROCESSING_LATENCY, which not every edition of mfidl.h has.
constexpr LONGLONG currentPosition = INT64_MAX;
constexpr GUID processingLatency = {0xf6b44af8, 0x604d, 0x46fe, {0xa9, 0x5d, 0x45, 0x47, 0x9b, 0x10, 0xc9, 0xbc}};

// Sample times come from anywhere: the difference may wrap, but must not be undefined.
LONGLONG difference(LONGLONG left, LONGLONG right)
{
    return static_cast<LONGLONG>(static_cast<ULONGLONG>(left) - static_cast<ULONGLONG>(right));
}

} // namespace

NDISinkStream::NDISinkStream(DWORD identifier, NDISinkMF *sink)
    : CUnknown(L"NDISinkStream", static_cast<IMFMediaSink *>(sink)), m_sink(sink), m_identifier(identifier)
{
    THROW_POINTER(m_sink);
    m_eventGenerator = CComPtr<tvx::CBaseEventGenerator>(new tvx::CBaseEventGenerator(nullptr));
}

NDISinkStream::~NDISinkStream() = default;

HRESULT NDISinkStream::QueryInterface(REFIID iid, void **out)
{
    if (IsEqualIID(iid, __uuidof(IMFStreamSink)) || IsEqualIID(iid, __uuidof(IMFMediaEventGenerator)) ||
        IsEqualIID(iid, __uuidof(IUnknown)))
        return GetInterface(static_cast<IMFStreamSink *>(this), out);
    return NonDelegatingQueryInterface(iid, out);
}

ULONG NDISinkStream::AddRef()
{
    return GetOwner()->AddRef();
}

ULONG NDISinkStream::Release()
{
    return GetOwner()->Release();
}

HRESULT NDISinkStream::GetEvent(DWORD flags, IMFMediaEvent **event)
{
    return m_eventGenerator->GetEvent(flags, event);
}

HRESULT NDISinkStream::BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state)
{
    return m_eventGenerator->BeginGetEvent(callback, state);
}

HRESULT NDISinkStream::EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event)
{
    return m_eventGenerator->EndGetEvent(result, event);
}

HRESULT NDISinkStream::QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status, const PROPVARIANT *value)
{
    return m_eventGenerator->QueueEvent(type, extendedType, status, value);
}

HRESULT NDISinkStream::GetMediaSink(IMFMediaSink **ppMediaSink)
{
    CHECK_POINTER(ppMediaSink);
    CHECK_POINTER(m_sink);
    return m_sink->QueryInterface(__uuidof(IMFMediaSink), reinterpret_cast<void **>(ppMediaSink));
}

HRESULT NDISinkStream::GetIdentifier(DWORD *pdwIdentifier)
{
    CHECK_ARGUMENT(pdwIdentifier);
    *pdwIdentifier = m_identifier;
    return S_OK;
}

HRESULT NDISinkStream::GetMediaTypeHandler(IMFMediaTypeHandler **ppHandler)
{
    const AutoLock lock(m_lock);
    if (checkFailed(*checkCategory, "m_mediaTypeHandler", m_mediaTypeHandler.get()))
        return E_POINTER;
    if (!ppHandler)
        return E_POINTER;
    *ppHandler = m_mediaTypeHandler.get();
    (*ppHandler)->AddRef();
    return S_OK;
}

HRESULT NDISinkStream::ProcessSample(IMFSample *pSample)
{
    CHECK_ARGUMENT(pSample);
    const AutoLock lock(m_lock);
    if (m_state != Started || m_requests == 0) {
        qCWarning(sinkCategory, "Invalid ProcessSample request (state: %d, requests: %u)", static_cast<int>(m_state),
                  m_requests);
        return MF_E_INVALIDREQUEST;
    }
    --m_requests;
    postSample(pSample);
    reportLatency(pSample);
    RequestSample();
    return S_OK;
}

HRESULT NDISinkStream::PlaceMarker(MFSTREAMSINK_MARKER_TYPE /*type*/, const PROPVARIANT * /*value*/,
                                   const PROPVARIANT * /*context*/)
{
    return S_OK;
}

HRESULT NDISinkStream::Flush()
{
    m_sink->flush();
    return S_OK;
}

HRESULT NDISinkStream::Start(MFTIME /*systemTime*/, LONGLONG clockStartOffset)
{
    const AutoLock lock(m_lock);
    if (m_state == NoType) {
        const HRESULT hr =
            queueEvent(MEStreamSinkFormatChanged,
                       "m_eventGenerator->QueueEvent( MEStreamSinkFormatChanged, GUID_NULL, ((HRESULT)0L), 0)");
        return FAILED(hr) ? hr : S_FALSE;
    }
    if (clockStartOffset == currentPosition)
        return S_OK; // goes on where it is
    m_state = Started;
    m_requests = 0;
    const HRESULT hr = queueEvent(MEStreamSinkStarted,
                                  "m_eventGenerator->QueueEvent( MEStreamSinkStarted, GUID_NULL, ((HRESULT)0L), 0)");
    if (FAILED(hr))
        return hr;
    RequestSample();
    return S_OK;
}

HRESULT NDISinkStream::Stop()
{
    const AutoLock lock(m_lock);
    if (m_state == NoType)
        return HRESULT_FROM_WIN32(ERROR_INVALID_STATE);
    const HRESULT hr = queueEvent(MEStreamSinkStopped,
                                  "m_eventGenerator->QueueEvent( MEStreamSinkStopped, GUID_NULL, ((HRESULT)0L), 0)");
    if (FAILED(hr))
        return hr;
    m_state = Stopped;
    return S_OK;
}

HRESULT NDISinkStream::RequestSample()
{
    const AutoLock lock(m_lock);
    if (m_state != Started)
        return HRESULT_FROM_WIN32(ERROR_INVALID_STATE);
    if (m_requests >= m_maxRequests)
        return S_FALSE;
    const HRESULT hr =
        queueEvent(MEStreamSinkRequestSample,
                   "m_eventGenerator->QueueEvent( MEStreamSinkRequestSample, GUID_NULL, ((HRESULT)0L), 0)");
    if (FAILED(hr))
        return hr;
    ++m_requests;
    qCDebug(sinkCategory, "Sample requested... (total requests: %u)", m_requests);
    return S_OK;
}

HRESULT NDISinkStream::Shutdown()
{
    const AutoLock lock(m_lock);
    m_clock.Release();
    return m_eventGenerator->Shutdown();
}

HRESULT NDISinkStream::MediaTypeResolved(IMFMediaType *type)
{
    m_sink->push([reference = CComPtr<IMFStreamSink>(this), this, resolved = CComPtr<IMFMediaType>(type)] {
        return adoptMediaType(resolved);
    });
    return S_OK;
}

HRESULT NDISinkStream::setPresentationClock(IMFPresentationClock *clock)
{
    const AutoLock lock(m_lock);
    if (m_clock != clock)
        m_clock = clock;
    return S_OK;
}

LONGLONG NDISinkStream::sampleTime(IMFSample *sample)
{
    LONGLONG time = 0;
    return SUCCEEDED(sample->GetSampleTime(&time)) ? time : 0;
}

void NDISinkStream::postSample(IMFSample *sample)
{
    // The job carries its references as bare pointers: a function that owns two CComPtr does not fit into
    // std::function's own storage, and this one is pushed for sample after sample.
    CComPtr<IMFStreamSink> givenStream(this);
    CComPtr<IMFSample> givenSample(sample);
    const HRESULT hr = m_sink->push([this, sample] {
        CComPtr<IMFStreamSink> stream;
        stream.Attach(this);
        CComPtr<IMFSample> owned;
        owned.Attach(sample);
        return sendSample(sample);
    });
    if (FAILED(hr))
        return;
    givenStream.Detach();
    givenSample.Detach();
}

void NDISinkStream::reportLatency(IMFSample *sample)
{
    MFTIME clockTime = 0;
    if (!m_clock || FAILED(m_clock->GetTime(&clockTime)))
        return;
    PROPVARIANT latency;
    PropVariantInit(&latency);
    latency.vt = VT_I8;
    latency.hVal.QuadPart = difference(clockTime, sampleTime(sample));
    m_eventGenerator->QueueEvent(MEQualityNotify, processingLatency, S_OK, &latency);
    const auto microseconds = static_cast<float>(HnsTime(latency.hVal.QuadPart).toMicroseconds());
    qCDebug(sinkCategory, "Latency: %.2f ms", static_cast<double>(microseconds / 1000.0F));
}

HRESULT NDISinkStream::adoptMediaType(IMFMediaType *type)
{
    const AutoLock lock(m_lock);
    CHECK_HR(onMediaTypeChanged(type));
    if (m_state == NoType)
        m_state = Ready;
    return S_OK;
}

HRESULT NDISinkStream::queueEvent(MediaEventType type, const char *call)
{
    const HRESULT hr = m_eventGenerator->QueueEvent(type, GUID_NULL, S_OK, nullptr);
    checkFailed(*checkCategory, call, hr);
    return hr;
}
