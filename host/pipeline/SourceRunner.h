#pragma once

#include "host/pipeline/EventPump.h"
#include "host/pipeline/StreamFeed.h"

#include <mfidl.h>

#include <functional>
#include <map>
#include <memory>

namespace host
{

// A media source at work: starts it with a presentation descriptor, opens a feed for each stream that the source makes,
// and reports its end. Made, started and shut down on the graph's thread; events and callbacks on work queue threads.
class SourceRunner : public std::enable_shared_from_this<SourceRunner>
{
public:
    struct Callbacks {
        std::function<void(HRESULT)> failed;
        std::function<void()> ended;
    };

    SourceRunner(IMFMediaSource *source, IMFPresentationDescriptor *descriptor, Callbacks callbacks);
    ~SourceRunner();

    // Before start(): the feed that takes the stream of that identifier.
    void addFeed(DWORD streamId, std::shared_ptr<StreamFeed> feed);
    // Selects the streams that have a feed, deselects the others, and starts the source where it stands.
    HRESULT start();
    bool isStarted() const { return m_started; }
    // Stops and shuts the source down; no capture goes on after it.
    void shutdown();

    // Whether any sample has reached a sink.
    bool hasDelivered() const;

private:
    HRESULT selectStreams();
    void onEvent(MediaEventType type, IMFMediaEvent *event);
    void onStream(IMFMediaEvent *event);

    const CComPtr<IMFMediaSource> m_source;
    const CComPtr<IMFPresentationDescriptor> m_descriptor;
    const Callbacks m_callbacks;
    EventPump m_pump;
    std::map<DWORD, std::shared_ptr<StreamFeed>> m_feeds; // fixed once started
    bool m_started = false;
};

} // namespace host
