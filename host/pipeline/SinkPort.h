#pragma once

#include "host/pipeline/EventPump.h"

#include <mfidl.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace host
{

class StreamFeed;

// A stream sink as the downstream end of a connection: counts the samples it asks for and tells the feed about them.
//
// Made and closed on the graph's thread; events arrive on work queue threads. Callbacks are called there too. Requests
// outlive a change of feed, so a sink goes on with a new source where the old one left it waiting.
class SinkPort : public std::enable_shared_from_this<SinkPort>
{
public:
    struct Callbacks {
        std::function<void(HRESULT)> failed;
        // The sink was started before it had adopted its type: the clock has to be started once more.
        std::function<void()> needsClock;
    };

    SinkPort(IMFStreamSink *sink, Callbacks callbacks);
    ~SinkPort();

    HRESULT open();
    void close();

    IMFStreamSink *sink() const { return m_sink; }

    // Makes the sink take samples of that type; the sink's refusal is passed on.
    HRESULT adopt(IMFMediaType *type);
    // From now on types, samples and markers are taken from that feed alone. What another one is just handing over is
    // through when this returns.
    void setFeed(const std::shared_ptr<StreamFeed> &feed);
    HRESULT adoptFrom(const StreamFeed &feed, IMFMediaType *type);

    // Whether the sink runs on its clock, and how many samples it waits for.
    bool isStarted() const { return m_started; }
    unsigned wanted() const { return m_wanted; }
    // Takes one request off the count, for a sample that is about to be delivered; false when the sink waits for none.
    bool takeRequest();
    // For a request that was taken. S_FALSE when the sink has another feed by now, which is asked for a sample instead.
    HRESULT deliver(const StreamFeed &feed, IMFSample *sample);
    void placeMarker(const StreamFeed &feed, MFSTREAMSINK_MARKER_TYPE marker, const PROPVARIANT *value);

private:
    void onEvent(MediaEventType type, IMFMediaEvent *event);
    std::shared_ptr<StreamFeed> feed() const;

    const CComPtr<IMFStreamSink> m_sink;
    const Callbacks m_callbacks;
    EventPump m_pump;
    std::atomic<bool> m_started{false};
    std::atomic<unsigned> m_wanted{0};
    std::mutex m_delivery; // held while a feed calls the sink; taken before m_lock
    mutable std::mutex m_lock;
    std::weak_ptr<StreamFeed> m_feed; // guarded by m_lock
    CComPtr<IMFMediaType> m_type;     // guarded by m_lock: adopted last
};

} // namespace host
