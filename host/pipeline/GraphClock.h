#pragma once

#include "hostfw/ComPtr.h"

#include <mfidl.h>

namespace host
{

// The presentation clock that all sinks of a graph run on, driven by the system time. Used on the graph's thread.
class GraphClock
{
public:
    GraphClock() = default;
    GraphClock(const GraphClock &) = delete;
    GraphClock &operator=(const GraphClock &) = delete;
    ~GraphClock();

    // Starts the clock at 0. When it runs already, starts it anew where it stands, so that sinks which have joined
    // since begin too.
    HRESULT start();
    // Stops every sink and gives the clock up; the next start() makes another one.
    void stop();
    bool isRunning() const { return m_running; }

    HRESULT addSink(IMFMediaSink *sink);
    // The sink hears no more of the clock. It keeps its reference to it until it is shut down.
    void removeSink(IMFMediaSink *sink);

private:
    HRESULT open();

    CComPtr<IMFPresentationClock> m_clock;
    bool m_running = false;
};

} // namespace host
