#pragma once

#include "host/pipeline/EventPump.h"
#include "host/pipeline/Handover.h"

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
// Samples reach the sink as tracked samples of the port's own, so the port knows how many the sink holds and for how
// long. A sink that is not rateless sends at the declared rate and is late for good once it has been given too much: a
// live stream's samples go to it at a pace (see StreamPace), and a stream that can wait is asked for no more than two.
// A rateless sink paces its stream by its requests.
//
// Made and closed on the graph's thread; events and samples that come back arrive on other threads. Callbacks are
// called there too. Requests outlive a change of feed, so a sink goes on with a new source where the old one left it
// waiting.
class SinkPort : public std::enable_shared_from_this<SinkPort>
{
public:
    struct Callbacks {
        std::function<void(HRESULT)> failed;
        // The sink was started before it had adopted its type: the clock has to be started once more.
        std::function<void()> needsClock;
    };

    // The activity is that of the media sink, for all of its ports. The name is for the figures.
    SinkPort(IMFStreamSink *sink, Callbacks callbacks,
             std::shared_ptr<SinkActivity> activity = std::make_shared<SinkActivity>(), const QString &name = {});
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

    // Whether the sink runs on its clock, how many samples it waits for, and how many of them a stream that can wait is
    // to deliver now.
    bool isStarted() const { return m_started; }
    unsigned requests() const { return m_wanted; }
    unsigned wanted() const;
    // Takes one request off the count, for a sample that is about to be delivered; false when the sink waits for none.
    bool takeRequest();
    // For a request that was taken. S_FALSE when the sink has another feed by now, which is asked for a sample instead.
    HRESULT deliver(const StreamFeed &feed, IMFSample *sample);
    // Whether a live stream's samples are to be offered, all of them as they come.
    bool takesOffers() const { return m_paced && m_started; }
    // A live stream's next sample: goes to the sink now, or later, or is left out. S_FALSE when the sink has another
    // feed or has stopped.
    HRESULT offer(const StreamFeed &feed, IMFSample *sample);
    void placeMarker(const StreamFeed &feed, MFSTREAMSINK_MARKER_TYPE marker, const PROPVARIANT *value);

    PortFigures figures() const { return m_handover.figures(); }

private:
    void onEvent(MediaEventType type, IMFMediaEvent *event);
    void onReturn(const SampleLoans::Term &term);
    std::shared_ptr<StreamFeed> feed() const;
    // Has the sample that waits looked at again, and the feed asked for more, on another thread.
    void advanceLater(unsigned delay);
    void advance();
    // These need m_delivery held.
    void passOn();
    void passOnAtOnce();

    const CComPtr<IMFStreamSink> m_sink;
    const Callbacks m_callbacks;
    bool m_paced = false; // fixed from open() on
    Handover m_handover;
    EventPump m_pump;
    std::atomic<bool> m_started{false};
    std::atomic<unsigned> m_wanted{0};
    std::atomic<bool> m_hasOffers{false};    // the stream does not wait for samples to come back
    std::atomic<bool> m_recheckIsDue{false}; // advance() is on its way for the sample that waits
    std::mutex m_delivery;                   // held while a feed calls the sink; taken before m_lock
    mutable std::mutex m_lock;
    std::weak_ptr<StreamFeed> m_feed; // guarded by m_lock
    CComPtr<IMFMediaType> m_type;     // guarded by m_lock: adopted last
};

} // namespace host
