#pragma once

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "hostfw/CriticalSection.h"
#include "hostfw/D3D11DeviceManager.h"
#include "hostfw/EventGenerator.h"
#include "hostfw/ISource.h"
#include "hostfw/SampleRequestManager.h"

#include <list>
#include <memory>

// A stream of a CBaseSource: descriptor, event queue, state, and sample requests served through a request manager.
//
// Threads: any. The state is guarded by m_streamLock, which is taken after the source's lock, never before it, and is
// not held while the request manager or a subclass is called; QueueEvent is, so that events come in the order of the
// states they tell of. A sample, gap or end that a stop or a seek overtakes on its way is dropped. Ownership: the
// source owns the stream; AddRef and Release count on the source.
class MULTIMEDIA_EXPORT CBaseSourceStream : public tvx::ISourceStream, public CUnknown
{
public:
    // `source` is not referenced (it is the outer unknown) and owns the stream.
    CBaseSourceStream(tvx::ISource *source, DWORD streamId, std::shared_ptr<tvx::ISampleRequestManager> requestManager);
    ~CBaseSourceStream() override;

    // IUnknown: interfaces are the stream's own, references are the source's.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void **out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override;

    // IMFMediaEventGenerator
    HRESULT STDMETHODCALLTYPE GetEvent(DWORD flags, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state) override;
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                         const PROPVARIANT *value) override;

    // IMFMediaStream
    HRESULT STDMETHODCALLTYPE GetMediaSource(IMFMediaSource **source) override;
    HRESULT STDMETHODCALLTYPE GetStreamDescriptor(IMFStreamDescriptor **descriptor) override;
    HRESULT STDMETHODCALLTYPE RequestSample(IUnknown *token) override;

    // tvx::ISourceStream
    HRESULT Initialize() override;
    HRESULT Uninitialize() override;
    HRESULT SetMediaType(IMFMediaType *type) override; // calls setMediaType, then sets the descriptor's current type
    HRESULT MediaTypeChanged(IMFMediaType *type) override; // descriptor's current type, then MEStreamFormatChanged
    bool IsSelected() const override;
    HRESULT SetSelected(bool selected) override;
    bool IsEnded() const override;
    bool IsStopped() const override;
    HRESULT Start(const PROPVARIANT &position) override;
    HRESULT Stop() override;
    HRESULT Pause() override;
    HRESULT Seek(const PROPVARIANT &position) override; // E_NOTIMPL of OnSeek counts as done: a live stream has no past
    HRESULT SetRate(float rate) override;
    HRESULT SetThinMode(bool thin) override;
    HRESULT DeliverSample(IMFSample *sample, IUnknown *token) override;
    HRESULT NotifyEndOfStream() override;
    HRESULT NotifyGap(LONGLONG time) override;
    HRESULT NotifyStopped() override;
    LONGLONG GetDuration() const override;
    HRESULT GetShutdownStatus(MFSHUTDOWN_STATUS *status) override;
    HRESULT Shutdown() override;
    HRESULT SetD3DManager(IUnknown *manager) override;

protected:
    // Moves a stream that can be moved; called by Seek.
    virtual HRESULT OnSeek(const PROPVARIANT &position) = 0;
    // The subtypes of GetMediaTypes, in order.
    virtual std::list<GUID> GetSupportedFormats() const;
    // The types that the stream descriptor offers, preferred first.
    virtual std::list<CComPtr<IMFMediaType>> GetMediaTypes() const = 0;
    // Adopts a type: before anything flows, or because the consumer chose it.
    virtual HRESULT setMediaType(IMFMediaType *type) = 0;
    virtual HRESULT OnSelected();
    virtual HRESULT OnDeselected();

    // The manager set on the stream last, or null: none, or the stream is shut down. What it returned stays valid as
    // long as the stream lives, whatever is set on it meanwhile.
    CD3D11DeviceManager *GetD3DManager();

    const std::shared_ptr<tvx::ISampleRequestManager> m_requestManager;
    mutable CriticalSection m_streamLock;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};
