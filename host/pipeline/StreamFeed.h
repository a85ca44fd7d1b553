#pragma once

#include "host/pipeline/EventPump.h"
#include "host/pipeline/StartBacklog.h"

#include <mfidl.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace host
{

class SinkPort;

// One selected stream of a running source as the upstream end of a connection: asks the stream for as many samples as
// the sink waits for, and hands over samples, type changes, gaps and the end in the order in which the stream sends
// them.
//
// A live stream's samples are all offered to a sink that runs and has a pace; its port says which of them go.
//
// A stream whose sink is not there is drained, one sample at a time, and a live one also while its sink does not run: a
// live source captures all its streams at once, and what nobody takes would pile up in it. Of what had piled up when
// the stream was started the sink gets the last alone, when nothing follows it.
//
// attach() and detach() belong to the graph's thread, everything else runs on work queue threads, the callbacks too.
class StreamFeed : public std::enable_shared_from_this<StreamFeed>
{
public:
    struct Callbacks {
        std::function<void(HRESULT)> failed;
        // From now on samples are of that type; the sink has adopted it.
        std::function<void(IMFMediaType *)> typeChanged;
        // The sink has turned the stream's type down and is detached.
        std::function<void(HRESULT)> refused;
    };

    // `type`: that of the stream's first sample. `live`: the stream goes on whether somebody takes its samples or not.
    StreamFeed(IMFMediaType *type, bool live, Callbacks callbacks);
    ~StreamFeed();

    // Before the source starts: the type negotiated.
    void setType(IMFMediaType *type);
    // The source has made the stream.
    HRESULT open(IMFMediaStream *stream);
    // For good: a stream that the source announces on its way out stays closed.
    void close();

    // Makes the sink adopt the stream's type and gives it what the stream delivers from now on.
    HRESULT attach(const std::shared_ptr<SinkPort> &port);
    void detach();
    // Detaches that sink, if it is the one attached.
    void detach(const std::shared_ptr<SinkPort> &port);
    bool isAttachedTo(const std::shared_ptr<SinkPort> &port) const { return this->port() == port; }
    // The type of the samples that come now.
    CComPtr<IMFMediaType> type() const;
    // Asks the stream for what the sink misses.
    void ask();

    // Samples that a sink's port took since the feed was made.
    unsigned long long delivered() const { return m_delivered; }

private:
    // Where the next sample goes.
    struct Receiver {
        std::shared_ptr<SinkPort> port; // null: nowhere
        bool takesOffer = false;        // else a request was taken for the sample
    };

    void onEvent(MediaEventType type, IMFMediaEvent *event);
    void onSample(IMFMediaEvent *event);
    void onTypeChanged(IMFMediaEvent *event);
    void onMarker(IMFMediaEvent *event, MFSTREAMSINK_MARKER_TYPE marker);
    std::shared_ptr<SinkPort> port() const;
    void handOverLater(const CComPtr<IMFSample> &sample, const HnsTime &delay);
    // The last of the backlog, if there is one and, where one is named, it is that one.
    void handOverWaiting(IMFSample *only = nullptr);
    // This needs m_order held.
    void handOver(const Receiver &sink, IMFSample *sample);
    // These need m_lock held.
    unsigned wanted() const;
    // The sink, if it takes offers, or waits for a sample; from then on for one less.
    Receiver takeReceiver() const;

    const bool m_live;
    const Callbacks m_callbacks;
    std::atomic<unsigned long long> m_delivered{0};
    std::mutex m_order;        // held while samples are chosen and handed over; taken before m_lock
    mutable std::mutex m_lock; // guards what follows; not held while sinks are called or streams asked for samples
    EventPump m_pump;
    bool m_closed = false;
    CComPtr<IMFMediaStream> m_stream;
    CComPtr<IMFMediaType> m_type;
    std::shared_ptr<SinkPort> m_port;
    unsigned m_asked = 0;   // requests that the stream has not answered yet
    bool m_running = false; // from the stream's start to its end
    StartBacklog m_backlog;
    CComPtr<IMFSample> m_waiting; // the last of the backlog, as long as nothing has followed it
};

} // namespace host
