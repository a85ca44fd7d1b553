#include "hostfw/EventGenerator.h"
#include "hostfw/ComPtr.h"
#include "tests/multimedia/Recorded.h"
#include "tests/support/FunctionCallback.h"

#include <gtest/gtest.h>

#include <mferror.h>

namespace
{

class EventGenerator : public testing::Test
{
protected:
    const CComPtr<tvx::CBaseEventGenerator> m_events{new tvx::CBaseEventGenerator(nullptr)};
};

} // namespace

TEST_F(EventGenerator, GivesEventsInTheOrderTheyWereQueued)
{
    m_events->QueueEvent(MEStreamStarted, GUID_NULL, S_OK, nullptr);
    m_events->QueueEvent(MEStreamStopped, GUID_NULL, E_ABORT, nullptr);
    CComPtr<IMFMediaEvent> event;
    MediaEventType type = MEUnknown;
    HRESULT status = S_FALSE;
    ASSERT_EQ(m_events->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event), S_OK);
    event->GetType(&type);
    EXPECT_EQ(type, static_cast<MediaEventType>(MEStreamStarted));
    event.Release();
    ASSERT_EQ(m_events->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event), S_OK);
    event->GetType(&type);
    event->GetStatus(&status);
    EXPECT_EQ(type, static_cast<MediaEventType>(MEStreamStopped));
    EXPECT_EQ(status, E_ABORT);
}

TEST_F(EventGenerator, CallsASubscriberBack)
{
    Recorded<HRESULT> results;
    const CComPtr<IMFAsyncCallback> subscriber(new FunctionCallback([&](IMFAsyncResult *result) {
        CComPtr<IMFMediaEvent> event;
        results.add(m_events->EndGetEvent(result, &event));
    }));
    ASSERT_EQ(m_events->BeginGetEvent(subscriber, nullptr), S_OK);
    m_events->QueueEvent(MEStreamStarted, GUID_NULL, S_OK, nullptr);
    ASSERT_TRUE(results.waitForCount(1));
    EXPECT_EQ(results.values().front(), S_OK);
}

TEST_F(EventGenerator, RefusesEverythingAfterShutdown)
{
    const CComPtr<IMFAsyncCallback> subscriber(new FunctionCallback([](IMFAsyncResult *) {}));
    ASSERT_EQ(m_events->Shutdown(), S_OK);
    CComPtr<IMFMediaEvent> event;
    EXPECT_EQ(m_events->GetEvent(0, &event), MF_E_SHUTDOWN);
    EXPECT_EQ(m_events->BeginGetEvent(subscriber, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(m_events->QueueEvent(MEStreamStarted, GUID_NULL, S_OK, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(m_events->Shutdown(), MF_E_SHUTDOWN);
}

TEST_F(EventGenerator, KnowsWhetherItIsShutDown)
{
    MFSHUTDOWN_STATUS status = MFSHUTDOWN_INITIATED;
    EXPECT_EQ(m_events->GetShutdownStatus(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_events->GetShutdownStatus(&status), MF_E_INVALIDREQUEST);
    m_events->Shutdown();
    ASSERT_EQ(m_events->GetShutdownStatus(&status), S_OK);
    EXPECT_EQ(status, MFSHUTDOWN_COMPLETED);
}

TEST_F(EventGenerator, OffersEventsAndShutdown)
{
    CComPtr<IMFMediaEventGenerator> events;
    CComPtr<IMFShutdown> shutdown;
    EXPECT_EQ(m_events->QueryInterface(__uuidof(IMFMediaEventGenerator), reinterpret_cast<void **>(&events)), S_OK);
    EXPECT_EQ(m_events->QueryInterface(__uuidof(IMFShutdown), reinterpret_cast<void **>(&shutdown)), S_OK);
}
