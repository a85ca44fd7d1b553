#include "tests/source/EventReader.h"

#include "tests/support/FunctionCallback.h"

#include <future>
#include <memory>
#include <utility>

CComPtr<IMFMediaEvent> nextEvent(IMFMediaEventGenerator *generator, std::chrono::milliseconds deadline)
{
    // An event that comes after the deadline is heard by nobody, but has where to go.
    const auto heard = std::make_shared<std::promise<CComPtr<IMFMediaEvent>>>();
    const CComPtr<IMFMediaEventGenerator> events(generator);
    const CComPtr<IMFAsyncCallback> subscriber(new FunctionCallback([heard, events](IMFAsyncResult *result) {
        CComPtr<IMFMediaEvent> event;
        events->EndGetEvent(result, &event);
        heard->set_value(std::move(event)); // nothing is left here that would keep its sample from coming back
    }));
    if (FAILED(generator->BeginGetEvent(subscriber, nullptr)))
        return {};
    std::future<CComPtr<IMFMediaEvent>> event = heard->get_future();
    return event.wait_for(deadline) == std::future_status::ready ? event.get() : CComPtr<IMFMediaEvent>();
}
