#pragma once

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "hostfw/CriticalSection.h"
#include "hostfw/EventGenerator.h"

#include <mfidl.h>

#include <memory>

class NDIMediaTypeHandler;
class NDISinkMF;

// What the video and the audio stream sink have in common: events, states, the budget of sample requests that paces
// the pipeline, and the rule that samples and type changes are dealt with on the sink's message queue and never on the
// thread that brings them.
//
// Made and owned by the media sink; COM references to the stream are references to the sink. Media Foundation's threads
// start, stop and feed it. On the queue's thread one thing happens at a time, so what only sendSample() and
// onMediaTypeChanged() touch needs no lock.
class NDISinkStream : public IMFStreamSink, public CUnknown
{
public:
    // Throws ComException without a sink. `sink` is not referenced: it outlives its streams.
    NDISinkStream(DWORD identifier, NDISinkMF *sink);
    ~NDISinkStream() override;

    // IUnknown: the stream answers for its own interfaces, the sink counts.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void **out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IMFMediaEventGenerator
    HRESULT STDMETHODCALLTYPE GetEvent(DWORD flags, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state) override;
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                         const PROPVARIANT *value) override;

    // IMFStreamSink
    HRESULT STDMETHODCALLTYPE GetMediaSink(IMFMediaSink **ppMediaSink) override;
    HRESULT STDMETHODCALLTYPE GetIdentifier(DWORD *pdwIdentifier) override;
    HRESULT STDMETHODCALLTYPE GetMediaTypeHandler(IMFMediaTypeHandler **ppHandler) override;
    // Takes one sample for each request; MF_E_INVALIDREQUEST for any other.
    HRESULT STDMETHODCALLTYPE ProcessSample(IMFSample *pSample) override;
    // Markers are not told back.
    HRESULT STDMETHODCALLTYPE PlaceMarker(MFSTREAMSINK_MARKER_TYPE type, const PROPVARIANT *value,
                                          const PROPVARIANT *context) override;
    HRESULT STDMETHODCALLTYPE Flush() override;

    // The media sink's side.
    // S_FALSE before there is a media type: the session is asked for one and has to start again.
    virtual HRESULT Start(MFTIME systemTime, LONGLONG clockStartOffset);
    virtual HRESULT Stop();
    // S_FALSE when as many requests as there may be are open.
    virtual HRESULT RequestSample();
    virtual HRESULT Shutdown();
    // For the latency report; may be null.
    HRESULT setPresentationClock(IMFPresentationClock *clock);

    // The type handler's side: the type is adopted on the queue, behind the samples before it.
    virtual HRESULT MediaTypeResolved(IMFMediaType *type);

protected:
    // Both run on the queue; the second with the stream's lock held.
    virtual HRESULT sendSample(IMFSample *sample) = 0;
    virtual HRESULT onMediaTypeChanged(IMFMediaType *type) = 0;

    // In 100 ns units; 0 for a sample without a time.
    static LONGLONG sampleTime(IMFSample *sample);

private:
    enum State : int {
        NoType = 0,  // no media type adopted yet
        Ready = 1,   // never started
        Started = 2, // samples are requested and taken
        Stopped = 3
    };

    void postSample(IMFSample *sample);
    void reportLatency(IMFSample *sample);
    HRESULT adoptMediaType(IMFMediaType *type);
    // `call` is the text to be logged when the event cannot be queued.
    HRESULT queueEvent(MediaEventType type, const char *call);

    CriticalSection m_lock; // taken behind the sink's lock, never before it

protected:
    NDISinkMF *const m_sink;

private:
    const DWORD m_identifier;
    State m_state = NoType;  // guarded by m_lock, like the next
    unsigned m_requests = 0; // asked for and not yet answered
    const unsigned m_maxRequests = 3;
    CComPtr<tvx::CBaseEventGenerator> m_eventGenerator; // made by the constructor
    CComPtr<IMFPresentationClock> m_clock;              // guarded by m_lock

protected:
    std::shared_ptr<NDIMediaTypeHandler> m_mediaTypeHandler; // set by the subclass's constructor
};
