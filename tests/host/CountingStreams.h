#pragma once

// A stream and a stream sink that count how they are called and say what a test has them say.

#include "host/pipeline/ComFactory.h"
#include "hostfw/ComPtr.h"
#include "hostfw/EventGenerator.h"

#include <mfidl.h>

#include <atomic>

// The events of a stream or a stream sink.
template <typename Interface>
class EventSource : public Interface, public CUnknown
{
public:
    EventSource() : CUnknown(L"EventSource", nullptr), m_events(new tvx::CBaseEventGenerator(nullptr)) {}

    DECLARE_IUNKNOWN
    STDMETHODIMP GetEvent(DWORD flags, IMFMediaEvent **event) override { return m_events->GetEvent(flags, event); }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state) override
    {
        return m_events->BeginGetEvent(callback, state);
    }
    STDMETHODIMP EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event) override
    {
        return m_events->EndGetEvent(result, event);
    }
    STDMETHODIMP QueueEvent(MediaEventType type, REFGUID extended, HRESULT status, const PROPVARIANT *value) override
    {
        return m_events->QueueEvent(type, extended, status, value);
    }
    void tell(MediaEventType type) { QueueEvent(type, GUID_NULL, S_OK, nullptr); }

private:
    const CComPtr<tvx::CBaseEventGenerator> m_events;
};

// Takes every type.
class WillingHandler : public IMFMediaTypeHandler, public CUnknown
{
public:
    WillingHandler() : CUnknown(L"WillingHandler", nullptr) {}

    DECLARE_IUNKNOWN
    STDMETHODIMP IsMediaTypeSupported(IMFMediaType *, IMFMediaType **) override { return S_OK; }
    STDMETHODIMP GetMediaTypeCount(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetMediaTypeByIndex(DWORD, IMFMediaType **) override { return E_NOTIMPL; }
    STDMETHODIMP SetCurrentMediaType(IMFMediaType *) override { return S_OK; }
    STDMETHODIMP GetCurrentMediaType(IMFMediaType **) override { return E_NOTIMPL; }
    STDMETHODIMP GetMajorType(GUID *) override { return E_NOTIMPL; }
};

class CountingSink : public EventSource<IMFStreamSink>
{
public:
    STDMETHODIMP GetMediaSink(IMFMediaSink **) override { return E_NOTIMPL; }
    STDMETHODIMP GetIdentifier(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetMediaTypeHandler(IMFMediaTypeHandler **handler) override
    {
        *handler = host::createObject<WillingHandler>().Detach();
        return S_OK;
    }
    STDMETHODIMP ProcessSample(IMFSample *) override { return ++samples, S_OK; }
    STDMETHODIMP PlaceMarker(MFSTREAMSINK_MARKER_TYPE, const PROPVARIANT *, const PROPVARIANT *) override
    {
        return ++markers, S_OK;
    }
    STDMETHODIMP Flush() override { return S_OK; }

    std::atomic<int> samples{0};
    std::atomic<int> markers{0};
};

class CountingStream : public EventSource<IMFMediaStream>
{
public:
    STDMETHODIMP GetMediaSource(IMFMediaSource **) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamDescriptor(IMFStreamDescriptor **) override { return E_NOTIMPL; }
    STDMETHODIMP RequestSample(IUnknown *) override { return ++requests, S_OK; }

    std::atomic<int> requests{0};
};
