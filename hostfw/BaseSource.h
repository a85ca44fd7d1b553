#pragma once

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "hostfw/CriticalSection.h"
#include "hostfw/EventGenerator.h"
#include "hostfw/ISource.h"

#include <list>
#include <memory>

// A media source with the plumbing done: presentation descriptor, event queue, asynchronous start, stop and pause,
// stream selection, end of presentation, shutdown.
//
// States: stopped, started, paused, shut down. Start, Stop and Pause check their arguments and the state, and carry the
// work out on Media Foundation's standard work queue through OnStart, OnStop and OnPause, one after another, in the
// order they were called. Shutdown of a started source runs OnStop first, with a null result. Threads: any; every
// operation holds m_lock. Streams are called with the lock held and must not call back into the source from other
// threads while they do. Ownership: the source owns its streams by shared pointers; their COM references count as
// references on the source.
class MULTIMEDIA_EXPORT CBaseSource : public tvx::ISource, public CUnknown
{
public:
    // `characteristics`: MFMEDIASOURCE_CHARACTERISTICS. `hr` receives the failure of making the event queue or the
    // attribute store, else S_OK. A source without an event queue can only be shut down and released.
    CBaseSource(HRESULT &hr, const DWORD &characteristics);
    ~CBaseSource() override;

    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override;

    // IMFMediaEventGenerator
    HRESULT STDMETHODCALLTYPE GetEvent(DWORD flags, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state) override;
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                         const PROPVARIANT *value) override;

    // IMFMediaSource
    HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD *characteristics) override;
    HRESULT STDMETHODCALLTYPE CreatePresentationDescriptor(IMFPresentationDescriptor **descriptor) override;
    HRESULT STDMETHODCALLTYPE Start(IMFPresentationDescriptor *descriptor, const GUID *timeFormat,
                                    const PROPVARIANT *position) override;
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Shutdown() override;

    // IMFMediaSourceEx
    HRESULT STDMETHODCALLTYPE GetSourceAttributes(IMFAttributes **attributes) override;
    HRESULT STDMETHODCALLTYPE GetStreamAttributes(DWORD streamId, IMFAttributes **attributes) override;
    HRESULT STDMETHODCALLTYPE SetD3DManager(IUnknown *manager) override;

    // tvx::ISource
    HRESULT NotifyEndOfStream(tvx::ISourceStream *stream) override;
    HRESULT NotifyStopped(tvx::ISourceStream *stream) override;
    void Disable() override;

protected:
    // Takes the source's streams, initialises them and builds the presentation descriptor. MF_E_ALREADY_INITIALIZED the
    // second time, E_INVALIDARG for an empty list.
    virtual HRESULT Initialize(std::list<std::shared_ptr<tvx::ISourceStream>> &streams);
    // Shuts the streams down and takes them out of the presentation. They live as long as the source all the same.
    virtual HRESULT Uninitialize();
    // Builds the descriptor of `count` streams, all selected.
    virtual HRESULT InitPresentationDescriptor(IMFStreamDescriptor **streamDescriptors, DWORD count);

    // The asynchronous halves of Start, Stop and Pause; `result` carries the operation, null from Shutdown.
    virtual HRESULT OnStart(IMFAsyncResult *result);
    virtual HRESULT OnStop(IMFAsyncResult *result);
    virtual HRESULT OnSeek(IMFAsyncResult *result);
    virtual HRESULT OnPause(IMFAsyncResult *result);

    // Starts, seeks or deselects each stream as the descriptor says, and sends the stream events of a start.
    virtual HRESULT SelectStreams(IMFPresentationDescriptor *descriptor, const PROPVARIANT &position, bool seek);
    // Every selected stream has ended: sends MEEndOfPresentation.
    virtual HRESULT EndOfStream();
    virtual bool IsEnabled() const;

    // Guards everything below.
    mutable CriticalSection m_lock;
    CComPtr<tvx::CBaseEventGenerator> m_pEventGenerator;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};
