#include "tests/platform/AsyncSupport.h"

#include <string>
#include <thread>

using AsyncResult = StartedPlatform;

TEST_F(AsyncResult, CarriesObjectAndState)
{
    const CComPtr<IUnknown> object = makeToken();
    const CComPtr<IUnknown> state = makeToken();
    CComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(object, nullptr, state, &result), S_OK);
    CComPtr<IUnknown> found;
    EXPECT_EQ(result->GetObject(&found), S_OK);
    EXPECT_TRUE(found.IsEqualObject(object));
    found.Release();
    EXPECT_EQ(result->GetState(&found), S_OK);
    EXPECT_TRUE(found.IsEqualObject(state));
    EXPECT_EQ(result->GetStateNoAddRef(), state.p);
}

TEST_F(AsyncResult, SaysSo_WhenThereIsNoObjectOrState)
{
    CComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, &result), S_OK);
    CComPtr<IUnknown> found;
    EXPECT_EQ(result->GetObject(&found), E_POINTER);
    EXPECT_EQ(result->GetState(&found), E_POINTER);
    EXPECT_EQ(result->GetStateNoAddRef(), nullptr);
    EXPECT_TRUE(FAILED(MFCreateAsyncResult(nullptr, nullptr, nullptr, nullptr)));
}

TEST_F(AsyncResult, KeepsTheStatus)
{
    CComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, &result), S_OK);
    EXPECT_EQ(result->GetStatus(), S_OK);
    EXPECT_EQ(result->SetStatus(E_ABORT), S_OK);
    EXPECT_EQ(result->GetStatus(), E_ABORT);
}

TEST_F(AsyncResult, AnswersItsInterfaces)
{
    CComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, &result), S_OK);
    CComPtr<IMFAsyncResult> same;
    EXPECT_EQ(result.QueryInterface(&same), S_OK);
    EXPECT_EQ(same.p, result.p);
    CComPtr<IMFClock> clock;
    EXPECT_EQ(result.QueryInterface(&clock), E_NOINTERFACE);
    EXPECT_EQ(clock.p, nullptr);
}

TEST_F(AsyncResult, InvokeCallbackRunsOnAnotherThreadWithTheResult)
{
    Record<std::pair<std::thread::id, IMFAsyncResult *>> runs;
    const auto callback = makeCallback([&](IMFAsyncResult *passed) { runs.add({std::this_thread::get_id(), passed}); });
    CComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, callback, nullptr, &result), S_OK);
    ASSERT_EQ(MFInvokeCallback(result), S_OK);
    ASSERT_TRUE(runs.waitFor(1));
    EXPECT_NE(runs.entries()[0].first, std::this_thread::get_id());
    EXPECT_EQ(runs.entries()[0].second, result.p);
}

TEST_F(AsyncResult, InvokeCallbackUsesTheQueueThatTheCallbackAsksFor)
{
    DWORD queue = 0;
    ASSERT_EQ(MFAllocateWorkQueue(&queue), S_OK);
    Gate gate;
    Record<std::string> order;
    ASSERT_EQ(MFPutWorkItem(queue, makeCallback([&](IMFAsyncResult *) {
                                gate.wait();
                                order.add("free");
                            }),
                            nullptr),
              S_OK);
    const auto callback = makeCallback([&](IMFAsyncResult *) { order.add("invoked"); }, queue);
    CComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, callback, nullptr, &result), S_OK);
    ASSERT_EQ(MFInvokeCallback(result), S_OK);
    ASSERT_TRUE(drain(MFASYNC_CALLBACK_QUEUE_STANDARD)); // where it would have been invoked else
    gate.open();
    ASSERT_TRUE(order.waitFor(2));
    EXPECT_EQ(order.entries(), (std::vector<std::string>{"free", "invoked"}));
    EXPECT_EQ(MFUnlockWorkQueue(queue), S_OK);
}
