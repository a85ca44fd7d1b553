#pragma once

#include "host/monitor/MonitorTypeHandler.h"
#include "host/monitor/SampleConsumer.h"

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "hostfw/EventGenerator.h"
#include "hostfw/MessageQueue.h"

#include <mfidl.h>

#include <memory>
#include <mutex>

namespace host
{

// A stream sink of the monitor. Samples and type changes go to the consumer in order, on the sink's queue; a sample is
// asked for whenever one has been consumed, so a slow consumer slows the stream down instead of piling samples up.
//
// Owned by its media sink, on whose references its own count. Thread-safe.
class MonitorStream : public IMFStreamSink, public CUnknown
{
public:
    MonitorStream(IMFMediaSink *sink, DWORD identifier, const std::shared_ptr<SampleConsumer> &consumer,
                  const tvx::MFMessageQueue &queue);
    ~MonitorStream() override;

    HRESULT start();
    HRESULT stop();
    void shutdown();

    // IUnknown: interfaces of its own, references of the media sink.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void **out) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }

    // IMFMediaEventGenerator
    HRESULT STDMETHODCALLTYPE GetEvent(DWORD flags, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state) override;
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                         const PROPVARIANT *value) override;

    // IMFStreamSink
    HRESULT STDMETHODCALLTYPE GetMediaSink(IMFMediaSink **sink) override;
    HRESULT STDMETHODCALLTYPE GetIdentifier(DWORD *identifier) override;
    HRESULT STDMETHODCALLTYPE GetMediaTypeHandler(IMFMediaTypeHandler **handler) override;
    HRESULT STDMETHODCALLTYPE ProcessSample(IMFSample *sample) override;
    HRESULT STDMETHODCALLTYPE PlaceMarker(MFSTREAMSINK_MARKER_TYPE type, const PROPVARIANT *value,
                                          const PROPVARIANT *context) override;
    HRESULT STDMETHODCALLTYPE Flush() override;

private:
    HRESULT adoptType(IMFMediaType *type);
    HRESULT send(MediaEventType type);
    void request(unsigned run);

    IMFMediaSink *const m_sink; // owns this stream
    const DWORD m_identifier;
    const std::shared_ptr<SampleConsumer> m_consumer;
    const tvx::MFMessageQueue m_queue;
    MonitorTypeHandler m_handler;
    CComPtr<tvx::CBaseEventGenerator> m_events;
    std::mutex m_lock; // guards what follows
    bool m_started = false;
    bool m_shutDown = false;
    unsigned m_requests = 0; // sent and not answered yet
    unsigned m_run = 0;      // counts the starts, so that work of an earlier run asks for nothing
};

} // namespace host
