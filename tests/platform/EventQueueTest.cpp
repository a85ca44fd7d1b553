#include "tests/platform/AsyncSupport.h"

#include <thread>

namespace
{

class EventQueue : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFCreateEventQueue(&queue), S_OK);
    }
    void TearDown() override
    {
        queue->Shutdown();
        queue.Release();
        StartedPlatform::TearDown();
    }

    HRESULT send(MediaEventType type) { return queue->QueueEventParamVar(type, GUID_NULL, S_OK, nullptr); }

    CComPtr<IMFMediaEventQueue> queue;
};

MediaEventType typeOf(IMFMediaEvent *event)
{
    MediaEventType type = MEUnknown;
    EXPECT_EQ(event->GetType(&type), S_OK);
    return type;
}

} // namespace

TEST(MediaEvent, CarriesTypeExtendedTypeStatusAndValue)
{
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_I8;
    value.hVal.QuadPart = 42;
    CComPtr<IMFMediaEvent> event;
    ASSERT_EQ(MFCreateMediaEvent(MEQualityNotify, MF_EVENT_SOURCE_ACTUAL_START, E_ABORT, &value, &event), S_OK);
    GUID extendedType = GUID_NULL;
    HRESULT status = S_OK;
    PROPVARIANT found;
    PropVariantInit(&found);
    EXPECT_EQ(typeOf(event), static_cast<MediaEventType>(MEQualityNotify));
    EXPECT_EQ(event->GetExtendedType(&extendedType), S_OK);
    EXPECT_TRUE(IsEqualGUID(extendedType, MF_EVENT_SOURCE_ACTUAL_START));
    EXPECT_EQ(event->GetStatus(&status), S_OK);
    EXPECT_EQ(status, E_ABORT);
    EXPECT_EQ(event->GetValue(&found), S_OK);
    EXPECT_EQ(found.vt, VT_I8);
    EXPECT_EQ(found.hVal.QuadPart, 42);
}

TEST(MediaEvent, HasAnEmptyValue_WhenNoneIsGiven)
{
    CComPtr<IMFMediaEvent> event;
    ASSERT_EQ(MFCreateMediaEvent(MEEndOfStream, GUID_NULL, S_OK, nullptr, &event), S_OK);
    PROPVARIANT found;
    PropVariantInit(&found);
    EXPECT_EQ(event->GetValue(&found), S_OK);
    EXPECT_EQ(found.vt, VT_EMPTY);
}

TEST(MediaEvent, HoldsTheObjectThatIsItsValue)
{
    const CComPtr<IUnknown> token = makeToken();
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_UNKNOWN;
    value.punkVal = token;
    CComPtr<IMFMediaEvent> event;
    ASSERT_EQ(MFCreateMediaEvent(MEMediaSample, GUID_NULL, S_OK, &value, &event), S_OK);
    PROPVARIANT found;
    PropVariantInit(&found);
    ASSERT_EQ(event->GetValue(&found), S_OK);
    EXPECT_EQ(found.vt, VT_UNKNOWN);
    EXPECT_EQ(found.punkVal, token.p);
    PropVariantClear(&found);
}

TEST(MediaEvent, IsAnAttributeStore)
{
    CComPtr<IMFMediaEvent> event;
    ASSERT_EQ(MFCreateMediaEvent(MEEndOfStream, GUID_NULL, S_OK, nullptr, &event), S_OK);
    CComPtr<IMFAttributes> attributes;
    ASSERT_EQ(event.QueryInterface(&attributes), S_OK);
    EXPECT_EQ(attributes->SetUINT32(MF_EVENT_SOURCE_FAKE_START, 1), S_OK);
    UINT32 value = 0;
    EXPECT_EQ(event->GetUINT32(MF_EVENT_SOURCE_FAKE_START, &value), S_OK);
    EXPECT_EQ(value, 1U);
}

TEST_F(EventQueue, GivesEventsInTheOrderTheyCame)
{
    for (const MediaEventType type : {MESourceStarted, MEStreamStarted, MEEndOfStream})
        ASSERT_EQ(send(type), S_OK);
    for (const MediaEventType type : {MESourceStarted, MEStreamStarted, MEEndOfStream}) {
        CComPtr<IMFMediaEvent> event;
        ASSERT_EQ(queue->GetEvent(0, &event), S_OK);
        EXPECT_EQ(typeOf(event), type);
    }
}

TEST_F(EventQueue, DoesNotWait_WhenToldNotTo)
{
    CComPtr<IMFMediaEvent> event;
    EXPECT_EQ(queue->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event), MF_E_NO_EVENTS_AVAILABLE);
    ASSERT_EQ(send(MESourceStarted), S_OK);
    EXPECT_EQ(queue->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event), S_OK);
}

TEST_F(EventQueue, GivesTheVeryEventThatWasQueued)
{
    CComPtr<IMFMediaEvent> event;
    CComPtr<IMFMediaEvent> found;
    ASSERT_EQ(MFCreateMediaEvent(MEEndOfStream, GUID_NULL, S_OK, nullptr, &event), S_OK);
    ASSERT_EQ(queue->QueueEvent(event), S_OK);
    ASSERT_EQ(queue->GetEvent(0, &found), S_OK);
    EXPECT_EQ(found.p, event.p);
}

TEST_F(EventQueue, MakesEventsWithAnObject)
{
    const CComPtr<IUnknown> token = makeToken();
    ASSERT_EQ(queue->QueueEventParamUnk(MENewStream, GUID_NULL, S_OK, token), S_OK);
    CComPtr<IMFMediaEvent> event;
    ASSERT_EQ(queue->GetEvent(0, &event), S_OK);
    PROPVARIANT value;
    PropVariantInit(&value);
    ASSERT_EQ(event->GetValue(&value), S_OK);
    EXPECT_EQ(value.vt, VT_UNKNOWN);
    EXPECT_EQ(value.punkVal, token.p);
    PropVariantClear(&value);
}

TEST_F(EventQueue, AWaitingCallGetsTheEvent_WhenItComes)
{
    Record<HRESULT> results;
    std::thread consumer([&] {
        CComPtr<IMFMediaEvent> event;
        results.add(queue->GetEvent(0, &event));
    });
    EXPECT_EQ(send(MEEndOfStream), S_OK);
    EXPECT_TRUE(results.waitFor(1));
    queue->Shutdown();
    consumer.join();
    EXPECT_EQ(results.entries()[0], S_OK);
}

TEST_F(EventQueue, CallsTheSubscriberBack_WhenAnEventComes)
{
    Record<std::pair<HRESULT, MediaEventType>> events;
    const CComPtr<IUnknown> state = makeToken();
    const auto callback = makeCallback([&](IMFAsyncResult *result) {
        EXPECT_EQ(result->GetStateNoAddRef(), state.p);
        CComPtr<IMFMediaEvent> event;
        const HRESULT hr = queue->EndGetEvent(result, &event);
        events.add({hr, SUCCEEDED(hr) ? typeOf(event) : MediaEventType(MEUnknown)});
    });
    ASSERT_EQ(queue->BeginGetEvent(callback, state), S_OK);
    ASSERT_EQ(send(MEEndOfStream), S_OK);
    ASSERT_TRUE(events.waitFor(1));
    EXPECT_EQ(events.entries()[0], std::make_pair(S_OK, MediaEventType(MEEndOfStream)));
}

TEST_F(EventQueue, CallsTheSubscriberBack_WhenAnEventIsThereAlready)
{
    Record<HRESULT> results;
    const auto callback = makeCallback([&](IMFAsyncResult *result) {
        CComPtr<IMFMediaEvent> event;
        results.add(queue->EndGetEvent(result, &event));
    });
    ASSERT_EQ(send(MEEndOfStream), S_OK);
    ASSERT_EQ(queue->BeginGetEvent(callback, nullptr), S_OK);
    ASSERT_TRUE(results.waitFor(1));
    EXPECT_EQ(results.entries()[0], S_OK);
}

TEST_F(EventQueue, TakesOneRequestAtATime)
{
    const auto ignore = [](IMFAsyncResult *) {};
    const auto callback = makeCallback(ignore);
    const auto other = makeCallback(ignore);
    const CComPtr<IUnknown> state = makeToken();
    CComPtr<IMFMediaEvent> event;
    ASSERT_EQ(queue->BeginGetEvent(callback, nullptr), S_OK);
    EXPECT_EQ(queue->BeginGetEvent(callback, nullptr), MF_S_MULTIPLE_BEGIN);
    EXPECT_EQ(queue->BeginGetEvent(callback, state), MF_E_MULTIPLE_BEGIN);
    EXPECT_EQ(queue->BeginGetEvent(other, nullptr), MF_E_MULTIPLE_SUBSCRIBERS);
    EXPECT_EQ(queue->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event), MF_E_MULTIPLE_SUBSCRIBERS);
    EXPECT_EQ(queue->GetEvent(0, &event), MF_E_MULTIPLE_SUBSCRIBERS);
}

TEST_F(EventQueue, RefusesMissingArguments)
{
    EXPECT_TRUE(FAILED(queue->BeginGetEvent(nullptr, nullptr)));
    CComPtr<IMFAsyncResult> foreign;
    CComPtr<IMFMediaEvent> event;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, &foreign), S_OK);
    ASSERT_EQ(send(MEEndOfStream), S_OK);
    EXPECT_TRUE(FAILED(queue->EndGetEvent(foreign, &event)));
}

TEST_F(EventQueue, DeliversEveryEventInOrder_WhenTheSubscriberAsksAgainAndAgain)
{
    constexpr UINT32 count = 1000;
    Record<UINT32> numbers;
    // Asks for the next event from inside; the last one ends the chain.
    IMFAsyncCallback *self = nullptr;
    const auto callback = makeCallback([&](IMFAsyncResult *result) {
        CComPtr<IMFMediaEvent> event;
        ASSERT_EQ(queue->EndGetEvent(result, &event), S_OK);
        PROPVARIANT value;
        PropVariantInit(&value);
        ASSERT_EQ(event->GetValue(&value), S_OK);
        if (value.ulVal + 1 < count) {
            ASSERT_EQ(queue->BeginGetEvent(self, nullptr), S_OK);
        }
        numbers.add(value.ulVal);
    });
    self = callback;
    ASSERT_EQ(queue->BeginGetEvent(callback, nullptr), S_OK);
    std::vector<UINT32> expected;
    for (UINT32 number = 0; number < count; ++number) {
        PROPVARIANT value;
        PropVariantInit(&value);
        value.vt = VT_UI4;
        value.ulVal = number;
        ASSERT_EQ(queue->QueueEventParamVar(MEMediaSample, GUID_NULL, S_OK, &value), S_OK);
        expected.push_back(number);
    }
    ASSERT_TRUE(numbers.waitFor(count));
    EXPECT_EQ(numbers.entries(), expected);
}

TEST_F(EventQueue, EverythingFails_AfterShutdown)
{
    ASSERT_EQ(send(MEEndOfStream), S_OK);
    EXPECT_EQ(queue->Shutdown(), S_OK);
    CComPtr<IMFMediaEvent> event;
    CComPtr<IMFAsyncResult> result;
    const auto callback = makeCallback([](IMFAsyncResult *) { ADD_FAILURE() << "called back"; });
    ASSERT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, &result), S_OK);
    EXPECT_EQ(queue->GetEvent(0, &event), MF_E_SHUTDOWN);
    EXPECT_EQ(queue->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event), MF_E_SHUTDOWN);
    EXPECT_EQ(queue->BeginGetEvent(callback, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(queue->EndGetEvent(result, &event), MF_E_SHUTDOWN);
    EXPECT_EQ(send(MEEndOfStream), MF_E_SHUTDOWN);
    EXPECT_EQ(queue->QueueEventParamUnk(MENewStream, GUID_NULL, S_OK, nullptr), MF_E_SHUTDOWN);
}

TEST_F(EventQueue, ShutdownReleasesTheEventsThatWait)
{
    Record<int> ends;
    const auto object = [&] { return makeCallback([](IMFAsyncResult *) {}, 0, [&] { ends.add(1); }); };
    ASSERT_EQ(queue->QueueEventParamUnk(MENewStream, GUID_NULL, S_OK, object()), S_OK);
    ASSERT_EQ(queue->Shutdown(), S_OK);
    EXPECT_TRUE(ends.waitFor(1));
}

TEST_F(EventQueue, LetsASubscriberGoThatHasNotEndedItsRequest)
{
    Record<int> calls;
    Record<int> ends;
    ASSERT_EQ(
        queue->BeginGetEvent(makeCallback([&](IMFAsyncResult *) { calls.add(1); }, 0, [&] { ends.add(1); }), nullptr),
        S_OK);
    ASSERT_EQ(queue->QueueEventParamVar(MEEndOfStream, GUID_NULL, S_OK, nullptr), S_OK);
    ASSERT_TRUE(calls.waitFor(1));
    EXPECT_TRUE(ends.entries().empty());
    EXPECT_EQ(queue->Shutdown(), S_OK);
    EXPECT_TRUE(ends.waitFor(1));
    EXPECT_EQ(calls.entries().size(), 1U);
}

TEST_F(EventQueue, ARequestThatIsEndedLateHearsOfTheShutdown)
{
    Record<CComPtr<IMFAsyncResult>> requests;
    const auto callback = makeCallback([&](IMFAsyncResult *result) { requests.add(CComPtr<IMFAsyncResult>(result)); });
    ASSERT_EQ(queue->BeginGetEvent(callback, nullptr), S_OK);
    ASSERT_EQ(send(MEEndOfStream), S_OK);
    ASSERT_TRUE(requests.waitFor(1));
    ASSERT_EQ(queue->Shutdown(), S_OK);
    CComPtr<IMFMediaEvent> event;
    EXPECT_EQ(queue->EndGetEvent(requests.entries()[0], &event), MF_E_SHUTDOWN);
    EXPECT_FALSE(event);
}

// What a subscriber owns may be the last to know the queue, and shuts it down as it goes.
TEST_F(EventQueue, ASubscriberMayShutTheQueueDownAsItGoes)
{
    Record<HRESULT> results;
    Record<int> ends;
    {
        const auto callback = makeCallback(
            [&](IMFAsyncResult *result) {
                CComPtr<IMFMediaEvent> event;
                results.add(queue->EndGetEvent(result, &event));
            },
            0,
            [&] {
                queue->Shutdown();
                ends.add(1);
            });
        ASSERT_EQ(queue->BeginGetEvent(callback, nullptr), S_OK);
    }
    ASSERT_EQ(send(MEEndOfStream), S_OK);
    ASSERT_TRUE(ends.waitFor(1));
    EXPECT_EQ(results.entries(), std::vector<HRESULT>{S_OK});
    EXPECT_EQ(send(MEEndOfStream), MF_E_SHUTDOWN);
}

TEST(EventQueueShutdown, WakesEveryoneWhoWaits)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    for (int round = 0; round < 50; ++round) {
        CComPtr<IMFMediaEventQueue> queue;
        ASSERT_EQ(MFCreateEventQueue(&queue), S_OK);
        Record<HRESULT> lastResults;
        std::vector<std::thread> threads;
        for (int consumer = 0; consumer < 2; ++consumer) {
            threads.emplace_back([&] {
                HRESULT hr = S_OK;
                while (SUCCEEDED(hr)) {
                    CComPtr<IMFMediaEvent> event;
                    hr = queue->GetEvent(0, &event);
                }
                lastResults.add(hr);
            });
        }
        threads.emplace_back([&] {
            HRESULT hr = S_OK;
            while (SUCCEEDED(hr))
                hr = queue->QueueEventParamVar(MEMediaSample, GUID_NULL, S_OK, nullptr);
            lastResults.add(hr);
        });
        EXPECT_EQ(queue->Shutdown(), S_OK);
        ASSERT_TRUE(lastResults.waitFor(threads.size()));
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(lastResults.entries(), std::vector<HRESULT>(threads.size(), MF_E_SHUTDOWN));
    }
    EXPECT_EQ(MFShutdown(), S_OK);
}
