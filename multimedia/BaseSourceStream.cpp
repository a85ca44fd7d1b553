#include "hostfw/BaseSourceStream.h"

#include "multimedia/DeliveryScope.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <vector>

namespace
{

enum class StreamState { Stopped, Running, Paused };

} // namespace

class CBaseSourceStream::Impl
{
public:
    Impl(tvx::ISource *owner, DWORD id) : source(owner), identifier(id), events(new tvx::CBaseEventGenerator(nullptr))
    {
    }

    // The lock must be held.
    HRESULT adopt(IMFMediaType *type)
    {
        currentType = type;
        CComPtr<IMFMediaTypeHandler> handler;
        const HRESULT hr = descriptor ? descriptor->GetMediaTypeHandler(&handler) : MF_E_NOT_INITIALIZED;
        return SUCCEEDED(hr) ? handler->SetCurrentMediaType(type) : hr;
    }

    // The one kept already for the same device manager, or else this one; null for null. The lock must be held.
    CD3D11DeviceManager *keep(std::unique_ptr<CD3D11DeviceManager> wrapped)
    {
        if (!wrapped)
            return nullptr;
        for (const auto &kept : d3dManagers)
            if (kept->manager() == wrapped->manager())
                return kept.get();
        d3dManagers.push_back(std::move(wrapped));
        return d3dManagers.back().get();
    }

    // Whether samples, gaps and the end flow, and whether what is delivered to the stream on this thread is of this
    // run. The lock must be held.
    bool takesDeliveries(const tvx::ISourceStream *stream) const
    {
        return selected && state != StreamState::Stopped && !DeliveryScope::isFlushed(stream);
    }

    tvx::ISource *const source;
    const DWORD identifier;
    const CComPtr<tvx::CBaseEventGenerator> events;

    // Guarded by m_streamLock.
    CComPtr<IMFStreamDescriptor> descriptor;
    CComPtr<IMFMediaType> currentType;
    CD3D11DeviceManager *d3dManager = nullptr; // one of d3dManagers
    // All that were ever set: a frame may be under way with one when another is set or the stream is shut down.
    std::vector<std::unique_ptr<CD3D11DeviceManager>> d3dManagers;
    StreamState state = StreamState::Stopped;
    bool selected = false;
    bool ended = false;
    bool shutDown = false;
};

CBaseSourceStream::CBaseSourceStream(tvx::ISource *source, DWORD streamId,
                                     std::shared_ptr<tvx::ISampleRequestManager> requestManager)
    : CUnknown(L"CBaseSourceStream", source), m_requestManager(std::move(requestManager)),
      m_impl(std::make_unique<Impl>(source, streamId))
{
}

CBaseSourceStream::~CBaseSourceStream()
{
    if (m_requestManager)
        m_requestManager->Shutdown();
}

HRESULT CBaseSourceStream::QueryInterface(REFIID iid, void **out)
{
    return NonDelegatingQueryInterface(iid, out);
}

ULONG CBaseSourceStream::AddRef()
{
    return GetOwner()->AddRef();
}

ULONG CBaseSourceStream::Release()
{
    return GetOwner()->Release();
}

HRESULT CBaseSourceStream::NonDelegatingQueryInterface(REFIID iid, void **out)
{
    if (IsEqualIID(iid, __uuidof(IUnknown)) || IsEqualIID(iid, __uuidof(IMFMediaStream)) ||
        IsEqualIID(iid, __uuidof(IMFMediaEventGenerator)))
        return GetInterface(static_cast<IMFMediaStream *>(this), out);
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT CBaseSourceStream::GetEvent(DWORD flags, IMFMediaEvent **event)
{
    return m_impl->events->GetEvent(flags, event);
}

HRESULT CBaseSourceStream::BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state)
{
    return m_impl->events->BeginGetEvent(callback, state);
}

HRESULT CBaseSourceStream::EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event)
{
    return m_impl->events->EndGetEvent(result, event);
}

HRESULT CBaseSourceStream::QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                      const PROPVARIANT *value)
{
    return m_impl->events->QueueEvent(type, extendedType, status, value);
}

HRESULT CBaseSourceStream::GetMediaSource(IMFMediaSource **source)
{
    if (!source)
        return E_POINTER;
    const AutoLock lock(m_streamLock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    return m_impl->source->QueryInterface(__uuidof(IMFMediaSource), reinterpret_cast<void **>(source));
}

HRESULT CBaseSourceStream::GetStreamDescriptor(IMFStreamDescriptor **descriptor)
{
    if (!descriptor)
        return E_POINTER;
    const AutoLock lock(m_streamLock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    if (!m_impl->descriptor)
        return MF_E_NOT_INITIALIZED;
    return m_impl->descriptor.CopyTo(descriptor);
}

HRESULT CBaseSourceStream::RequestSample(IUnknown *token)
{
    {
        const AutoLock lock(m_streamLock);
        if (m_impl->shutDown)
            return MF_E_SHUTDOWN;
        if (!m_impl->selected)
            return MF_E_INVALIDREQUEST;
        if (m_impl->state == StreamState::Stopped)
            return MF_E_MEDIA_SOURCE_WRONGSTATE;
        if (m_impl->ended)
            return MF_E_END_OF_STREAM;
    }
    return m_requestManager->RequestSample(token);
}

HRESULT CBaseSourceStream::Initialize()
{
    const std::list<CComPtr<IMFMediaType>> types = GetMediaTypes();
    std::vector<IMFMediaType *> pointers(types.begin(), types.end());
    CComPtr<IMFStreamDescriptor> descriptor;
    HRESULT hr =
        MFCreateStreamDescriptor(m_impl->identifier, static_cast<DWORD>(pointers.size()), pointers.data(), &descriptor);
    if (FAILED(hr))
        return hr;
    CComPtr<IMFMediaTypeHandler> handler;
    hr = descriptor->GetMediaTypeHandler(&handler);
    if (SUCCEEDED(hr))
        hr = handler->SetCurrentMediaType(pointers.front());
    if (FAILED(hr))
        return hr;
    const AutoLock lock(m_streamLock);
    m_impl->descriptor = descriptor;
    m_impl->currentType = pointers.front();
    return S_OK;
}

HRESULT CBaseSourceStream::Uninitialize()
{
    const AutoLock lock(m_streamLock);
    m_impl->descriptor.Release();
    m_impl->currentType.Release();
    m_impl->d3dManager = nullptr;
    return S_OK;
}

HRESULT CBaseSourceStream::SetMediaType(IMFMediaType *type)
{
    if (!type)
        return E_POINTER;
    {
        const AutoLock lock(m_streamLock);
        if (m_impl->shutDown)
            return MF_E_SHUTDOWN;
        if (m_impl->currentType == type)
            return S_OK;
    }
    const HRESULT hr = setMediaType(type);
    if (FAILED(hr))
        return hr;
    const AutoLock lock(m_streamLock);
    return m_impl->adopt(type);
}

HRESULT CBaseSourceStream::MediaTypeChanged(IMFMediaType *type)
{
    if (!type)
        return E_POINTER;
    {
        const AutoLock lock(m_streamLock);
        if (m_impl->shutDown)
            return MF_E_SHUTDOWN;
        m_impl->adopt(type);
    }
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_UNKNOWN;
    value.punkVal = type;
    return QueueEvent(MEStreamFormatChanged, GUID_NULL, S_OK, &value);
}

bool CBaseSourceStream::IsSelected() const
{
    const AutoLock lock(m_streamLock);
    return m_impl->selected;
}

HRESULT CBaseSourceStream::SetSelected(bool selected)
{
    {
        const AutoLock lock(m_streamLock);
        if (m_impl->shutDown)
            return MF_E_SHUTDOWN;
        if (m_impl->selected == selected)
            return S_OK;
        m_impl->selected = selected;
    }
    if (selected)
        return OnSelected();
    if (!IsStopped())
        Stop();
    return OnDeselected();
}

bool CBaseSourceStream::IsEnded() const
{
    const AutoLock lock(m_streamLock);
    return m_impl->ended;
}

bool CBaseSourceStream::IsStopped() const
{
    const AutoLock lock(m_streamLock);
    return m_impl->state == StreamState::Stopped;
}

HRESULT CBaseSourceStream::Start(const PROPVARIANT &position)
{
    const AutoLock lock(m_streamLock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    if (m_impl->state == StreamState::Stopped)
        m_impl->ended = false;
    m_impl->state = StreamState::Running;
    return QueueEvent(MEStreamStarted, GUID_NULL, S_OK, &position);
}

HRESULT CBaseSourceStream::Stop()
{
    {
        const AutoLock lock(m_streamLock);
        if (m_impl->shutDown)
            return MF_E_SHUTDOWN;
        m_impl->state = StreamState::Stopped;
    }
    const HRESULT hr = m_requestManager->Flush();
    if (FAILED(hr))
        return hr;
    const AutoLock lock(m_streamLock);
    return QueueEvent(MEStreamStopped, GUID_NULL, S_OK, nullptr);
}

HRESULT CBaseSourceStream::Pause()
{
    const AutoLock lock(m_streamLock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    if (m_impl->state == StreamState::Stopped)
        return MF_E_INVALID_STATE_TRANSITION;
    m_impl->state = StreamState::Paused;
    return QueueEvent(MEStreamPaused, GUID_NULL, S_OK, nullptr);
}

HRESULT CBaseSourceStream::Seek(const PROPVARIANT &position)
{
    HRESULT hr = OnSeek(position);
    if (FAILED(hr) && hr != E_NOTIMPL)
        return hr;
    // Nothing of the old position comes after MEStreamSeeked, and an ended stream takes requests again.
    hr = m_requestManager->Flush();
    if (FAILED(hr))
        return hr;
    const AutoLock lock(m_streamLock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    m_impl->ended = false;
    m_impl->state = StreamState::Running;
    return QueueEvent(MEStreamSeeked, GUID_NULL, S_OK, &position);
}

HRESULT CBaseSourceStream::SetRate(float rate)
{
    return rate == 1.0F ? S_OK : MF_E_UNSUPPORTED_RATE;
}

HRESULT CBaseSourceStream::SetThinMode(bool thin)
{
    return thin ? MF_E_THINNING_UNSUPPORTED : S_OK;
}

HRESULT CBaseSourceStream::DeliverSample(IMFSample *sample, IUnknown *token)
{
    if (!sample)
        return E_POINTER;
    if (token) {
        const HRESULT hr = sample->SetUnknown(MFSampleExtension_Token, token);
        if (FAILED(hr))
            return hr;
    }
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_UNKNOWN;
    value.punkVal = sample;
    const AutoLock lock(m_streamLock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    if (!m_impl->takesDeliveries(this))
        return S_FALSE;
    return QueueEvent(MEMediaSample, GUID_NULL, S_OK, &value);
}

HRESULT CBaseSourceStream::NotifyEndOfStream()
{
    {
        const AutoLock lock(m_streamLock);
        if (m_impl->shutDown)
            return MF_E_SHUTDOWN;
        if (m_impl->ended || !m_impl->takesDeliveries(this))
            return S_FALSE;
        m_impl->ended = true;
        const HRESULT hr = QueueEvent(MEEndOfStream, GUID_NULL, S_OK, nullptr);
        if (FAILED(hr))
            return hr;
    }
    return m_impl->source->NotifyEndOfStream(this);
}

HRESULT CBaseSourceStream::NotifyGap(LONGLONG time)
{
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_I8;
    value.hVal.QuadPart = time;
    const AutoLock lock(m_streamLock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    if (!m_impl->takesDeliveries(this))
        return S_FALSE;
    return QueueEvent(MEStreamTick, GUID_NULL, S_OK, &value);
}

HRESULT CBaseSourceStream::NotifyStopped()
{
    return m_impl->source->NotifyStopped(this);
}

LONGLONG CBaseSourceStream::GetDuration() const
{
    return 0;
}

HRESULT CBaseSourceStream::GetShutdownStatus(MFSHUTDOWN_STATUS *status)
{
    if (!status)
        return E_INVALIDARG;
    const AutoLock lock(m_streamLock);
    if (!m_impl->shutDown)
        return MF_E_INVALIDREQUEST;
    *status = MFSHUTDOWN_COMPLETED;
    return S_OK;
}

HRESULT CBaseSourceStream::Shutdown()
{
    {
        const AutoLock lock(m_streamLock);
        if (m_impl->shutDown)
            return MF_E_SHUTDOWN;
        m_impl->shutDown = true;
        m_impl->state = StreamState::Stopped;
    }
    m_requestManager->Shutdown();
    Uninitialize();
    return m_impl->events->Shutdown();
}

HRESULT CBaseSourceStream::SetD3DManager(IUnknown *manager)
{
    std::unique_ptr<CD3D11DeviceManager> wrapped;
    if (manager) {
        wrapped = std::make_unique<CD3D11DeviceManager>(manager);
        if (FAILED(wrapped->valid()))
            return wrapped->valid();
    }
    const AutoLock lock(m_streamLock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    m_impl->d3dManager = m_impl->keep(std::move(wrapped));
    return S_OK;
}

std::list<GUID> CBaseSourceStream::GetSupportedFormats() const
{
    std::list<GUID> formats;
    for (const auto &type : GetMediaTypes()) {
        GUID subtype = GUID_NULL;
        if (type && SUCCEEDED(type->GetGUID(MF_MT_SUBTYPE, &subtype)))
            formats.push_back(subtype);
    }
    return formats;
}

HRESULT CBaseSourceStream::OnSelected()
{
    return S_OK;
}

HRESULT CBaseSourceStream::OnDeselected()
{
    return S_OK;
}

CD3D11DeviceManager *CBaseSourceStream::GetD3DManager()
{
    const AutoLock lock(m_streamLock);
    return m_impl->d3dManager;
}
