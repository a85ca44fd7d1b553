// What is documented of event queues and not kept by every system: a subscriber is called back on the queue it asks
// for, and when the event queue is shut down; a call that waits for an event ends when a subscriber comes.

#include "tests/platform/AsyncSupport.h"

#include <string>
#include <thread>

TEST(EventQueueNative, CallsBackOnTheQueueThatTheSubscriberAsksFor)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    CComPtr<IMFMediaEventQueue> queue;
    ASSERT_EQ(MFCreateEventQueue(&queue), S_OK);
    DWORD workQueue = 0;
    ASSERT_EQ(MFAllocateWorkQueue(&workQueue), S_OK);
    Gate gate;
    Record<std::string> order;
    ASSERT_EQ(MFPutWorkItem(workQueue, makeCallback([&](IMFAsyncResult *) {
                                gate.wait();
                                order.add("free");
                            }),
                            nullptr),
              S_OK);
    const auto callback = makeCallback([&](IMFAsyncResult *) { order.add("called back"); }, workQueue);
    ASSERT_EQ(queue->BeginGetEvent(callback, nullptr), S_OK);
    ASSERT_EQ(queue->QueueEventParamVar(MEEndOfStream, GUID_NULL, S_OK, nullptr), S_OK);
    ASSERT_TRUE(drain(MFASYNC_CALLBACK_QUEUE_STANDARD)); // where it would have been called back else
    gate.open();
    ASSERT_TRUE(order.waitFor(2));
    EXPECT_EQ(order.entries(), (std::vector<std::string>{"free", "called back"}));
    EXPECT_EQ(queue->Shutdown(), S_OK);
    EXPECT_EQ(MFUnlockWorkQueue(workQueue), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
}

TEST(EventQueueShutdownNative, CallsTheSubscriberBackWithTheNews)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    CComPtr<IMFMediaEventQueue> queue;
    ASSERT_EQ(MFCreateEventQueue(&queue), S_OK);
    Record<HRESULT> results;
    const auto callback = makeCallback([&](IMFAsyncResult *result) {
        CComPtr<IMFMediaEvent> event;
        results.add(queue->EndGetEvent(result, &event));
    });
    ASSERT_EQ(queue->BeginGetEvent(callback, nullptr), S_OK);
    ASSERT_EQ(queue->Shutdown(), S_OK);
    ASSERT_TRUE(results.waitFor(1));
    EXPECT_EQ(results.entries()[0], MF_E_SHUTDOWN);
    EXPECT_EQ(MFShutdown(), S_OK);
}

TEST(EventQueueShutdownNative, ASubscriberHearsOfItOnce_WhenEventsKeepComing)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    for (int round = 0; round < 50; ++round) {
        CComPtr<IMFMediaEventQueue> queue;
        ASSERT_EQ(MFCreateEventQueue(&queue), S_OK);
        Record<HRESULT> shutdowns;
        IMFAsyncCallback *self = nullptr;
        const auto callback = makeCallback([&](IMFAsyncResult *result) {
            CComPtr<IMFMediaEvent> event;
            HRESULT hr = queue->EndGetEvent(result, &event);
            if (SUCCEEDED(hr))
                hr = queue->BeginGetEvent(self, nullptr);
            if (FAILED(hr))
                shutdowns.add(hr);
        });
        self = callback;
        ASSERT_EQ(queue->BeginGetEvent(callback, nullptr), S_OK);
        std::thread producer([&] {
            for (int event = 0; event < 20; ++event)
                queue->QueueEventParamVar(MEMediaSample, GUID_NULL, S_OK, nullptr);
        });
        EXPECT_EQ(queue->Shutdown(), S_OK);
        producer.join();
        ASSERT_TRUE(shutdowns.waitFor(1));
        EXPECT_EQ(shutdowns.entries(), std::vector<HRESULT>{MF_E_SHUTDOWN});
    }
    EXPECT_EQ(MFShutdown(), S_OK);
}

TEST(EventQueueShutdownNative, IsOnce)
{
    CComPtr<IMFMediaEventQueue> queue;
    ASSERT_EQ(MFCreateEventQueue(&queue), S_OK);
    EXPECT_EQ(queue->Shutdown(), S_OK);
    EXPECT_EQ(queue->Shutdown(), MF_E_SHUTDOWN);
}

TEST(EventQueueNative, AWaitingCallGivesWayToASubscriber)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    CComPtr<IMFMediaEventQueue> queue;
    ASSERT_EQ(MFCreateEventQueue(&queue), S_OK);
    Record<HRESULT> results;
    std::thread consumer([&] {
        CComPtr<IMFMediaEvent> event;
        results.add(queue->GetEvent(0, &event));
    });
    EXPECT_EQ(queue->BeginGetEvent(makeCallback([](IMFAsyncResult *) {}), nullptr), S_OK);
    EXPECT_TRUE(results.waitFor(1));
    EXPECT_EQ(queue->Shutdown(), S_OK);
    consumer.join();
    EXPECT_EQ(results.entries(), std::vector<HRESULT>{MF_E_MULTIPLE_SUBSCRIBERS});
    EXPECT_EQ(MFShutdown(), S_OK);
}
