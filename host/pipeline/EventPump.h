#pragma once

#include "hostfw/ComPtr.h"

#include <mfobjects.h>

#include <functional>

namespace host
{

class EventPumpCallback;

// Takes the events of a generator one after another, in order, and passes each to a handler on Media Foundation's
// standard work queue. Ends by itself when the generator is shut down.
//
// The handler outlives stop() for as long as a call of it is under way, so it must hold what it uses by weak pointers.
class EventPump
{
public:
    using Handler = std::function<void(MediaEventType type, IMFMediaEvent *event)>;

    EventPump();
    EventPump(const EventPump &) = delete;
    EventPump &operator=(const EventPump &) = delete;
    ~EventPump();

    HRESULT start(IMFMediaEventGenerator *generator, Handler handler);
    // No call of the handler begins after this.
    void stop();

private:
    CComPtr<EventPumpCallback> m_callback;
};

} // namespace host
