#include "hostfw/BaseSource.h"

#include "hostfw/ComException.h"
#include "hostfw/MessageQueue.h"

#include <mfapi.h>
#include <mferror.h>

#include <map>
#include <new>
#include <vector>

namespace
{

enum class SourceState { Stopped, Started, Paused };

// What Start, Stop and Pause hand to their asynchronous halves, as the state of the async result.
// {2F4E6E0B-7B2C-4E83-9C39-5D0C1E7B8A4D}
constexpr IID operationIid = {0x2f4e6e0b, 0x7b2c, 0x4e83, {0x9c, 0x39, 0x5d, 0x0c, 0x1e, 0x7b, 0x8a, 0x4d}};

class Operation : public IUnknown, public CUnknown
{
public:
    Operation(IMFPresentationDescriptor *startDescriptor, const PROPVARIANT &startPosition)
        : CUnknown(L"Operation", nullptr), descriptor(startDescriptor)
    {
        PropVariantInit(&position);
        PropVariantCopy(&position, &startPosition);
    }
    ~Operation() override { PropVariantClear(&position); }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (IsEqualIID(iid, operationIid))
            return GetInterface(static_cast<IUnknown *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }

    static CComPtr<Operation> of(IMFAsyncResult *result)
    {
        CComPtr<Operation> operation;
        CComPtr<IUnknown> state;
        CComPtr<IUnknown> face;
        if (result && SUCCEEDED(result->GetState(&state)) &&
            SUCCEEDED(state->QueryInterface(operationIid, reinterpret_cast<void **>(&face))))
            operation = static_cast<Operation *>(face.p);
        return operation;
    }

    const CComPtr<IMFPresentationDescriptor> descriptor;
    PROPVARIANT position;
};

PROPVARIANT unknownValue(IUnknown *object)
{
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_UNKNOWN;
    value.punkVal = object;
    return value;
}

} // namespace

class CBaseSource::Impl
{
public:
    explicit Impl(DWORD sourceCharacteristics)
        : characteristics(sourceCharacteristics), operations(tvx::MFMessageQueue::Type::Shared, 0)
    {
    }

    // Runs `hook` on the work queue after the operations before it.
    HRESULT post(CBaseSource *source, HRESULT (CBaseSource::*hook)(IMFAsyncResult *),
                 const CComPtr<Operation> &operation)
    {
        CComPtr<IMFAsyncResult> result;
        const HRESULT hr = MFCreateAsyncResult(nullptr, nullptr, operation, &result);
        if (FAILED(hr))
            return hr;
        return operations.push([reference = CComPtr<IMFMediaSource>(source), source, hook, result] {
            // What waited when the source was shut down has nothing left to do.
            const HRESULT done = (source->*hook)(result);
            return done == MF_E_SHUTDOWN ? S_OK : done;
        });
    }

    // A start or a seek, as `event` says, which tells of its outcome.
    HRESULT begin(CBaseSource &source, IMFAsyncResult *result, MediaEventType event)
    {
        const CComPtr<Operation> operation = Operation::of(result);
        if (!operation)
            return E_INVALIDARG;
        const AutoLock lock(source.m_lock);
        if (shutDown)
            return MF_E_SHUTDOWN;
        presentationEnded = false;
        const HRESULT hr = source.SelectStreams(operation->descriptor, operation->position, event == MESourceSeeked);
        if (SUCCEEDED(hr))
            state = SourceState::Started;
        else
            wanted = state;
        const HRESULT queued = source.QueueEvent(event, GUID_NULL, hr, &operation->position);
        return FAILED(hr) ? hr : queued;
    }

    const DWORD characteristics;
    const tvx::MFMessageQueue operations;
    CComPtr<IMFAttributes> attributes;

    // Guarded by m_lock.
    std::list<std::shared_ptr<tvx::ISourceStream>> streams;
    std::map<DWORD, CComPtr<IMFAttributes>> streamAttributes;
    // Streams that are shut down. References on them count on the source, so they live as long as it does.
    std::list<std::shared_ptr<tvx::ISourceStream>> retired;
    std::list<tvx::ISourceStream *> announced; // streams that MENewStream was sent for
    CComPtr<IMFPresentationDescriptor> descriptor;
    SourceState wanted = SourceState::Stopped; // as the last call of Start, Stop or Pause asked
    SourceState state = SourceState::Stopped;  // as the asynchronous halves have come
    bool presentationEnded = false;            // MEEndOfPresentation was sent since the last start, seek or stop
    bool enabled = true;
    bool shutDown = false;
};

CBaseSource::CBaseSource(HRESULT &hr, const DWORD &characteristics)
    : CUnknown(L"CBaseSource", nullptr), m_impl(std::make_unique<Impl>(characteristics))
{
    try {
        m_pEventGenerator = new tvx::CBaseEventGenerator(nullptr);
        hr = MFCreateAttributes(&m_impl->attributes, 0);
    } catch (const ComException &exception) {
        hr = exception.getErrorCode();
    } catch (const std::bad_alloc &) {
        hr = E_OUTOFMEMORY;
    }
}

CBaseSource::~CBaseSource()
{
    for (const auto &stream : m_impl->streams)
        stream->Shutdown();
}

HRESULT CBaseSource::NonDelegatingQueryInterface(REFIID iid, void **out)
{
    if (IsEqualIID(iid, __uuidof(IMFMediaSource)) || IsEqualIID(iid, __uuidof(IMFMediaSourceEx)) ||
        IsEqualIID(iid, __uuidof(IMFMediaEventGenerator)))
        return GetInterface(static_cast<IMFMediaSourceEx *>(this), out);
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT CBaseSource::GetEvent(DWORD flags, IMFMediaEvent **event)
{
    return m_pEventGenerator ? m_pEventGenerator->GetEvent(flags, event) : MF_E_NOT_INITIALIZED;
}

HRESULT CBaseSource::BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state)
{
    return m_pEventGenerator ? m_pEventGenerator->BeginGetEvent(callback, state) : MF_E_NOT_INITIALIZED;
}

HRESULT CBaseSource::EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event)
{
    return m_pEventGenerator ? m_pEventGenerator->EndGetEvent(result, event) : MF_E_NOT_INITIALIZED;
}

HRESULT CBaseSource::QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status, const PROPVARIANT *value)
{
    return m_pEventGenerator ? m_pEventGenerator->QueueEvent(type, extendedType, status, value) : MF_E_NOT_INITIALIZED;
}

HRESULT CBaseSource::GetCharacteristics(DWORD *characteristics)
{
    if (!characteristics)
        return E_POINTER;
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    *characteristics = m_impl->characteristics;
    return S_OK;
}

HRESULT CBaseSource::CreatePresentationDescriptor(IMFPresentationDescriptor **descriptor)
{
    if (!descriptor)
        return E_POINTER;
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    if (!m_impl->descriptor)
        return MF_E_NOT_INITIALIZED;
    return m_impl->descriptor->Clone(descriptor);
}

HRESULT CBaseSource::Start(IMFPresentationDescriptor *descriptor, const GUID *timeFormat, const PROPVARIANT *position)
{
    if (!descriptor || !position)
        return E_INVALIDARG;
    if (timeFormat && !IsEqualGUID(*timeFormat, GUID_NULL))
        return MF_E_UNSUPPORTED_TIME_FORMAT;
    if (position->vt != VT_EMPTY && position->vt != VT_I8)
        return MF_E_UNSUPPORTED_TIME_FORMAT;
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    if (!IsEnabled())
        return MF_E_INVALIDREQUEST;
    if (!m_impl->descriptor)
        return MF_E_NOT_INITIALIZED;
    const bool seek = m_impl->wanted != SourceState::Stopped && position->vt == VT_I8;
    const CComPtr<Operation> operation(new Operation(descriptor, *position));
    const HRESULT hr = m_impl->post(this, seek ? &CBaseSource::OnSeek : &CBaseSource::OnStart, operation);
    if (SUCCEEDED(hr))
        m_impl->wanted = SourceState::Started;
    return hr;
}

HRESULT CBaseSource::Stop()
{
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    const HRESULT hr = m_impl->post(this, &CBaseSource::OnStop, CComPtr<Operation>());
    if (SUCCEEDED(hr))
        m_impl->wanted = SourceState::Stopped;
    return hr;
}

HRESULT CBaseSource::Pause()
{
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    if (m_impl->wanted != SourceState::Started)
        return MF_E_INVALID_STATE_TRANSITION;
    const HRESULT hr = m_impl->post(this, &CBaseSource::OnPause, CComPtr<Operation>());
    if (SUCCEEDED(hr))
        m_impl->wanted = SourceState::Paused;
    return hr;
}

HRESULT CBaseSource::Shutdown()
{
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    if (m_impl->wanted != SourceState::Stopped || m_impl->state != SourceState::Stopped)
        OnStop(nullptr);
    m_impl->shutDown = true;
    m_impl->wanted = SourceState::Stopped;
    Uninitialize();
    return m_pEventGenerator ? m_pEventGenerator->Shutdown() : S_OK;
}

HRESULT CBaseSource::GetSourceAttributes(IMFAttributes **attributes)
{
    if (!attributes)
        return E_POINTER;
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    return m_impl->attributes.CopyTo(attributes);
}

HRESULT CBaseSource::GetStreamAttributes(DWORD streamId, IMFAttributes **attributes)
{
    if (!attributes)
        return E_POINTER;
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    const auto entry = m_impl->streamAttributes.find(streamId);
    if (entry == m_impl->streamAttributes.end())
        return MF_E_INVALIDSTREAMNUMBER;
    return entry->second.CopyTo(attributes);
}

HRESULT CBaseSource::SetD3DManager(IUnknown *manager)
{
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    for (const auto &stream : m_impl->streams) {
        const HRESULT hr = stream->SetD3DManager(manager);
        if (FAILED(hr))
            return hr;
    }
    return S_OK;
}

HRESULT CBaseSource::NotifyEndOfStream(tvx::ISourceStream *stream)
{
    if (!stream)
        return E_POINTER;
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    // A stopped stream may have come too late with its end: it counts no more.
    if (m_impl->presentationEnded || !stream->IsSelected() || stream->IsStopped())
        return S_OK;
    for (const auto &other : m_impl->streams)
        if (other->IsSelected() && !other->IsEnded())
            return S_OK;
    const HRESULT hr = EndOfStream();
    m_impl->presentationEnded = SUCCEEDED(hr);
    return hr;
}

HRESULT CBaseSource::NotifyStopped(tvx::ISourceStream * /*stream*/)
{
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    for (const auto &stream : m_impl->streams)
        if (stream->IsSelected() && !stream->IsStopped())
            return S_OK;
    m_impl->wanted = SourceState::Stopped;
    m_impl->state = SourceState::Stopped;
    return QueueEvent(MESourceStopped, GUID_NULL, S_OK, nullptr);
}

void CBaseSource::Disable()
{
    const AutoLock lock(m_lock);
    m_impl->enabled = false;
}

bool CBaseSource::IsEnabled() const
{
    const AutoLock lock(m_lock);
    return m_impl->enabled;
}

HRESULT CBaseSource::Initialize(std::list<std::shared_ptr<tvx::ISourceStream>> &streams)
{
    if (streams.empty())
        return E_INVALIDARG;
    const AutoLock lock(m_lock);
    if (m_impl->descriptor)
        return MF_E_ALREADY_INITIALIZED;
    std::vector<CComPtr<IMFStreamDescriptor>> descriptors;
    std::vector<IMFStreamDescriptor *> pointers;
    for (const auto &stream : streams) {
        HRESULT hr = stream->Initialize();
        CComPtr<IMFStreamDescriptor> descriptor;
        CComPtr<IMFAttributes> attributes;
        DWORD identifier = 0;
        if (SUCCEEDED(hr))
            hr = stream->GetStreamDescriptor(&descriptor);
        if (SUCCEEDED(hr))
            hr = descriptor->GetStreamIdentifier(&identifier);
        if (SUCCEEDED(hr))
            hr = MFCreateAttributes(&attributes, 0);
        if (FAILED(hr))
            return hr;
        m_impl->streamAttributes[identifier] = attributes;
        pointers.push_back(descriptor);
        descriptors.push_back(std::move(descriptor));
    }
    m_impl->streams = streams;
    return InitPresentationDescriptor(pointers.data(), static_cast<DWORD>(pointers.size()));
}

HRESULT CBaseSource::Uninitialize()
{
    const AutoLock lock(m_lock);
    for (const auto &stream : m_impl->streams)
        stream->Shutdown();
    m_impl->retired.splice(m_impl->retired.end(), m_impl->streams);
    m_impl->announced.clear();
    m_impl->descriptor.Release();
    return S_OK;
}

HRESULT CBaseSource::InitPresentationDescriptor(IMFStreamDescriptor **streamDescriptors, DWORD count)
{
    CComPtr<IMFPresentationDescriptor> descriptor;
    HRESULT hr = MFCreatePresentationDescriptor(count, streamDescriptors, &descriptor);
    for (DWORD index = 0; SUCCEEDED(hr) && index < count; ++index)
        hr = descriptor->SelectStream(index);
    if (FAILED(hr))
        return hr;
    const AutoLock lock(m_lock);
    m_impl->descriptor = descriptor;
    return S_OK;
}

HRESULT CBaseSource::OnStart(IMFAsyncResult *result)
{
    return m_impl->begin(*this, result, MESourceStarted);
}

HRESULT CBaseSource::OnSeek(IMFAsyncResult *result)
{
    return m_impl->begin(*this, result, MESourceSeeked);
}

HRESULT CBaseSource::OnStop(IMFAsyncResult *result)
{
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    HRESULT hr = S_OK;
    for (const auto &stream : m_impl->streams) {
        if (!stream->IsSelected())
            continue;
        const HRESULT stopped = stream->Stop();
        if (FAILED(stopped))
            hr = stopped;
    }
    m_impl->presentationEnded = false;
    m_impl->state = SourceState::Stopped;
    if (!result)
        return hr;
    const HRESULT queued = QueueEvent(MESourceStopped, GUID_NULL, hr, nullptr);
    return FAILED(hr) ? hr : queued;
}

HRESULT CBaseSource::OnPause(IMFAsyncResult * /*result*/)
{
    const AutoLock lock(m_lock);
    if (m_impl->shutDown)
        return MF_E_SHUTDOWN;
    HRESULT hr = S_OK;
    for (const auto &stream : m_impl->streams) {
        if (!stream->IsSelected())
            continue;
        const HRESULT paused = stream->Pause();
        if (FAILED(paused))
            hr = paused;
    }
    if (SUCCEEDED(hr))
        m_impl->state = SourceState::Paused;
    else
        m_impl->wanted = m_impl->state;
    const HRESULT queued = QueueEvent(MESourcePaused, GUID_NULL, hr, nullptr);
    return FAILED(hr) ? hr : queued;
}

HRESULT CBaseSource::SelectStreams(IMFPresentationDescriptor *descriptor, const PROPVARIANT &position, bool seek)
{
    DWORD count = 0;
    HRESULT hr = descriptor->GetStreamDescriptorCount(&count);
    if (FAILED(hr))
        return hr;
    if (count != m_impl->streams.size())
        return E_INVALIDARG;

    DWORD index = 0;
    for (const auto &stream : m_impl->streams) {
        BOOL selected = FALSE;
        CComPtr<IMFStreamDescriptor> streamDescriptor;
        hr = descriptor->GetStreamDescriptorByIndex(index++, &selected, &streamDescriptor);
        if (FAILED(hr))
            return hr;
        const bool wasRunning = stream->IsSelected() && !stream->IsStopped();
        hr = stream->SetSelected(selected != FALSE);
        if (FAILED(hr))
            return hr;
        if (!selected)
            continue;

        CComPtr<IMFMediaTypeHandler> handler;
        CComPtr<IMFMediaType> type;
        hr = streamDescriptor->GetMediaTypeHandler(&handler);
        if (SUCCEEDED(hr))
            hr = handler->GetCurrentMediaType(&type);
        if (SUCCEEDED(hr))
            hr = stream->SetMediaType(type);
        if (FAILED(hr))
            return hr;

        bool known = false;
        for (const tvx::ISourceStream *const other : m_impl->announced)
            known = known || other == stream.get();
        if (!known)
            m_impl->announced.push_back(stream.get());
        const PROPVARIANT value = unknownValue(stream.get());
        hr = QueueEvent(known ? MEUpdatedStream : MENewStream, GUID_NULL, S_OK, &value);
        if (SUCCEEDED(hr))
            hr = seek && wasRunning ? stream->Seek(position) : stream->Start(position);
        if (FAILED(hr))
            return hr;
    }
    return S_OK;
}

HRESULT CBaseSource::EndOfStream()
{
    return QueueEvent(MEEndOfPresentation, GUID_NULL, S_OK, nullptr);
}
