// Not every system calls back who waits for an event of a queue that is shut down.

#include "hostfw/ComPtr.h"
#include "hostfw/EventGenerator.h"
#include "tests/multimedia/Recorded.h"
#include "tests/support/FunctionCallback.h"

#include <gtest/gtest.h>

#include <mferror.h>

TEST(EventGeneratorShutdown, IsToldToASubscriber)
{
    const CComPtr<tvx::CBaseEventGenerator> events(new tvx::CBaseEventGenerator(nullptr));
    Recorded<HRESULT> results;
    const CComPtr<IMFAsyncCallback> subscriber(new FunctionCallback([&](IMFAsyncResult *result) {
        CComPtr<IMFMediaEvent> event;
        results.add(events->EndGetEvent(result, &event));
    }));
    ASSERT_EQ(events->BeginGetEvent(subscriber, nullptr), S_OK);
    events->Shutdown();
    ASSERT_TRUE(results.waitForCount(1));
    EXPECT_EQ(results.values().front(), MF_E_SHUTDOWN);
}
