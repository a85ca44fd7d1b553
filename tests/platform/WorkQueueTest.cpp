#include "tests/platform/WorkQueueSupport.h"

#include <thread>

TEST_F(WorkQueue, PassesTheStateToTheCallback)
{
    const CComPtr<IUnknown> state = makeToken();
    Record<IUnknown *> states;
    const auto callback = makeCallback([&](IMFAsyncResult *result) { states.add(result->GetStateNoAddRef()); });
    ASSERT_EQ(MFPutWorkItem(queue, callback, state), S_OK);
    ASSERT_TRUE(states.waitFor(1));
    EXPECT_EQ(states.entries()[0], state.p);
}

TEST_F(WorkQueue, RunsAResultThatTheCallerMade)
{
    Record<IMFAsyncResult *> runs;
    const auto callback = makeCallback([&](IMFAsyncResult *result) { runs.add(result); });
    CComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, callback, nullptr, &result), S_OK);
    ASSERT_EQ(MFPutWorkItemEx(queue, result), S_OK);
    ASSERT_EQ(MFPutWorkItemEx2(queue, 1, result), S_OK);
    ASSERT_TRUE(runs.waitFor(2));
    EXPECT_EQ(runs.entries(), (std::vector<IMFAsyncResult *>{result, result}));
}

TEST_F(WorkQueue, ReleasesCallbackAndState_WhenTheItemHasRun)
{
    Record<int> ends;
    const auto state = makeCallback([](IMFAsyncResult *) {}, 0, [&] { ends.add(1); });
    {
        auto passed = makeCallback([](IMFAsyncResult *) {}, 0, [&] { ends.add(2); });
        ASSERT_EQ(MFPutWorkItem(queue, passed, nullptr), S_OK);
    }
    EXPECT_TRUE(ends.waitFor(1));
    EXPECT_EQ(ends.entries()[0], 2);
}

TEST_F(WorkQueue, KeepsTheOrderOfItemsOfOnePriority)
{
    Record<int> order;
    std::vector<int> expected;
    for (int number = 0; number < 200; ++number) {
        expected.push_back(number);
        ASSERT_EQ(
            MFPutWorkItem(queue, makeCallback([&order, number](IMFAsyncResult *) { order.add(number); }), nullptr),
            S_OK);
    }
    ASSERT_TRUE(order.waitFor(expected.size()));
    EXPECT_EQ(order.entries(), expected);
}

TEST_F(WorkQueue, RunsHigherPrioritiesFirst_WhenSeveralItemsWait)
{
    Gate gate;
    Record<LONG> order;
    ASSERT_NO_FATAL_FAILURE(block(gate));
    for (const LONG priority : {-1, 0, 1, 0, -1, 1}) {
        ASSERT_EQ(MFPutWorkItem2(queue, priority,
                                 makeCallback([&order, priority](IMFAsyncResult *) { order.add(priority); }), nullptr),
                  S_OK);
    }
    gate.open();
    ASSERT_TRUE(order.waitFor(6));
    EXPECT_EQ(order.entries(), (std::vector<LONG>{1, 1, 0, 0, -1, -1}));
}

TEST_F(WorkQueue, RunsOneItemAtATimeAwayFromTheCaller)
{
    constexpr size_t count = 200;
    std::atomic<int> inside{0};
    Record<int> found;
    const auto callback = makeCallback([&, caller = std::this_thread::get_id()](IMFAsyncResult *) {
        EXPECT_NE(std::this_thread::get_id(), caller);
        const int others = inside++;
        std::this_thread::yield();
        --inside;
        found.add(others);
    });
    for (size_t number = 0; number < count; ++number)
        ASSERT_EQ(MFPutWorkItem(queue, callback, nullptr), S_OK);
    ASSERT_TRUE(found.waitFor(count));
    EXPECT_EQ(found.entries(), std::vector<int>(count, 0));
}

TEST_F(WorkQueue, PutsItemsFromItsOwnThread)
{
    Record<int> runs;
    const auto second = makeCallback([&](IMFAsyncResult *) { runs.add(2); });
    const auto first = makeCallback([&](IMFAsyncResult *) {
        EXPECT_EQ(MFPutWorkItem(queue, second, nullptr), S_OK);
        runs.add(1);
    });
    ASSERT_EQ(MFPutWorkItem(queue, first, nullptr), S_OK);
    ASSERT_TRUE(runs.waitFor(2));
    EXPECT_EQ(runs.entries(), (std::vector<int>{1, 2}));
}

TEST_F(WorkQueue, RunsItemsAtTheSameTime_WhenItHasSeveralThreads)
{
    DWORD pool = 0;
    ASSERT_EQ(MFAllocateWorkQueueEx(MF_MULTITHREADED_WORKQUEUE, &pool), S_OK);
    Gate both[2];
    Record<bool> met;
    for (int me = 0; me < 2; ++me) {
        ASSERT_EQ(MFPutWorkItem(pool, makeCallback([&, me](IMFAsyncResult *) {
                                    both[me].open();
                                    met.add(both[1 - me].wait());
                                }),
                                nullptr),
                  S_OK);
    }
    ASSERT_TRUE(met.waitFor(2));
    EXPECT_EQ(met.entries(), (std::vector<bool>{true, true}));
    EXPECT_EQ(MFUnlockWorkQueue(pool), S_OK);
}

TEST_F(WorkQueue, StandardQueuesNeedNoAllocation)
{
    const DWORD queues[] = {MFASYNC_CALLBACK_QUEUE_STANDARD,
                            MFASYNC_CALLBACK_QUEUE_RT,
                            MFASYNC_CALLBACK_QUEUE_IO,
                            MFASYNC_CALLBACK_QUEUE_TIMER,
                            MFASYNC_CALLBACK_QUEUE_MULTITHREADED,
                            MFASYNC_CALLBACK_QUEUE_LONG_FUNCTION};
    Record<int> runs;
    for (const DWORD standard : queues) {
        EXPECT_EQ(MFPutWorkItem(standard, makeCallback([&](IMFAsyncResult *) { runs.add(1); }), nullptr), S_OK);
        EXPECT_EQ(MFLockWorkQueue(standard), S_OK);
        EXPECT_EQ(MFUnlockWorkQueue(standard), S_OK);
    }
    EXPECT_TRUE(runs.waitFor(std::size(queues)));
}

TEST_F(WorkQueue, RefusesIdentifiersThatNoQueueHas)
{
    const auto callback = makeCallback([](IMFAsyncResult *) { ADD_FAILURE() << "ran nowhere"; });
    for (const DWORD unknown : {0U, 6U, 99U, 0xffff1234U}) {
        EXPECT_EQ(MFPutWorkItem(unknown, callback, nullptr), MF_E_INVALID_WORKQUEUE) << unknown;
        EXPECT_EQ(MFPutWorkItem2(unknown, 1, callback, nullptr), MF_E_INVALID_WORKQUEUE) << unknown;
    }
    EXPECT_EQ(MFLockWorkQueue(0xffff1234U), MF_E_INVALID_WORKQUEUE);
    EXPECT_EQ(MFUnlockWorkQueue(0xffff1234U), MF_E_INVALID_WORKQUEUE);
}

TEST_F(WorkQueue, ItsIdentifierIsPrivateAndInvalidAfterTheLastUnlock)
{
    DWORD mine = 0;
    ASSERT_EQ(MFAllocateWorkQueue(&mine), S_OK);
    EXPECT_NE(mine & MFASYNC_CALLBACK_QUEUE_PRIVATE_MASK, 0U);
    EXPECT_NE(mine, queue);
    ASSERT_EQ(MFLockWorkQueue(mine), S_OK);
    ASSERT_EQ(MFUnlockWorkQueue(mine), S_OK);
    Record<int> runs;
    const auto callback = makeCallback([&](IMFAsyncResult *) { runs.add(1); });
    EXPECT_EQ(MFPutWorkItem(mine, callback, nullptr), S_OK);
    EXPECT_TRUE(runs.waitFor(1));
    ASSERT_EQ(MFUnlockWorkQueue(mine), S_OK);
    EXPECT_EQ(MFPutWorkItem(mine, callback, nullptr), MF_E_INVALID_WORKQUEUE);
    EXPECT_EQ(MFUnlockWorkQueue(mine), MF_E_INVALID_WORKQUEUE);
}

TEST_F(WorkQueue, DoesNotGiveAnIdentifierOutAgainSoon)
{
    DWORD first = 0;
    DWORD second = 0;
    ASSERT_EQ(MFAllocateWorkQueue(&first), S_OK);
    ASSERT_EQ(MFUnlockWorkQueue(first), S_OK);
    ASSERT_EQ(MFAllocateWorkQueue(&second), S_OK);
    EXPECT_NE(first, second);
    EXPECT_EQ(MFUnlockWorkQueue(second), S_OK);
}

TEST_F(WorkQueue, ManyQueuesComeAndGo)
{
    Record<int> runs;
    const auto callback = makeCallback([&](IMFAsyncResult *) { runs.add(1); });
    for (int round = 0; round < 100; ++round) {
        DWORD brief = 0;
        ASSERT_EQ(MFAllocateWorkQueue(&brief), S_OK);
        ASSERT_EQ(MFPutWorkItem(brief, callback, nullptr), S_OK);
        ASSERT_TRUE(runs.waitFor(static_cast<size_t>(round) + 1));
        ASSERT_EQ(MFUnlockWorkQueue(brief), S_OK);
    }
}

TEST_F(WorkQueue, TakesItemsOfManyThreads)
{
    constexpr int producers = 8;
    constexpr int items = 500;
    Record<int> runs;
    const auto callback = makeCallback([&](IMFAsyncResult *) { runs.add(1); });
    std::vector<std::thread> threads;
    for (int producer = 0; producer < producers; ++producer) {
        threads.emplace_back([&] {
            for (int item = 0; item < items; ++item)
                EXPECT_EQ(MFPutWorkItem(queue, callback, nullptr), S_OK);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_TRUE(runs.waitFor(producers * items));
}
