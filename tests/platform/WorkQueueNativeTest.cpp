// What the documentation leaves open and the native platform promises: unlocking never waits and never loses anything.

#include "tests/platform/WorkQueueSupport.h"

#include <cstdlib>

TEST_F(WorkQueue, FinishesOrReleasesWhatWaits_WhenItIsUnlocked)
{
    constexpr size_t count = 100;
    Gate gate;
    Record<int> ends;
    ASSERT_NO_FATAL_FAILURE(block(gate));
    for (size_t number = 0; number < count; ++number)
        ASSERT_EQ(MFPutWorkItem(queue, makeCallback([](IMFAsyncResult *) {}, 0, [&] { ends.add(1); }), nullptr), S_OK);
    EXPECT_EQ(MFUnlockWorkQueue(std::exchange(queue, 0)), S_OK);
    gate.open();
    EXPECT_TRUE(ends.waitFor(count));
}

TEST_F(WorkQueue, CanBeUnlockedOnItsOwnThread)
{
    Record<HRESULT> unlocked;
    const auto callback = makeCallback([&](IMFAsyncResult *) { unlocked.add(MFUnlockWorkQueue(queue)); });
    ASSERT_EQ(MFPutWorkItem(queue, callback, nullptr), S_OK);
    ASSERT_TRUE(unlocked.waitFor(1));
    EXPECT_EQ(unlocked.entries()[0], S_OK);
    queue = 0;
}

TEST_F(WorkQueue, ASerialOneFinishesWhatWaits_WhenItAndItsTargetAreUnlocked)
{
    constexpr size_t count = 50;
    DWORD target = 0;
    DWORD serial = 0;
    ASSERT_EQ(MFAllocateWorkQueueEx(MF_MULTITHREADED_WORKQUEUE, &target), S_OK);
    ASSERT_EQ(MFAllocateSerialWorkQueue(target, &serial), S_OK);
    Gate gate;
    Gate entered;
    Record<int> ends;
    ASSERT_EQ(MFPutWorkItem(serial, makeCallback([&](IMFAsyncResult *) {
                                entered.open();
                                gate.wait();
                            }),
                            nullptr),
              S_OK);
    ASSERT_TRUE(entered.wait());
    for (size_t number = 0; number < count; ++number)
        ASSERT_EQ(MFPutWorkItem(serial, makeCallback([](IMFAsyncResult *) {}, 0, [&] { ends.add(1); }), nullptr), S_OK);
    EXPECT_EQ(MFUnlockWorkQueue(target), S_OK);
    EXPECT_EQ(MFUnlockWorkQueue(serial), S_OK);
    gate.open();
    EXPECT_TRUE(ends.waitFor(count));
}

TEST_F(WorkQueue, CancellingAScheduledItemReleasesItsCallback)
{
    Record<int> ends;
    MFWORKITEM_KEY key = 0;
    ASSERT_EQ(MFScheduleWorkItem(makeCallback([](IMFAsyncResult *) {}, 0, [&] { ends.add(1); }), nullptr, -60000, &key),
              S_OK);
    ASSERT_EQ(MFCancelWorkItem(key), S_OK);
    EXPECT_TRUE(ends.waitFor(1));
}

TEST(StartupNative, AWaitingWorkItemKeepsThePlatformUp)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    Gate entered;
    Gate leave;
    Record<HRESULT> allocations;
    DWORD queue = 0;
    ASSERT_EQ(MFAllocateWorkQueue(&queue), S_OK);
    {
        const auto blocker = makeCallback([&](IMFAsyncResult *) {
            entered.open();
            leave.wait();
            DWORD another = 0;
            allocations.add(MFAllocateWorkQueue(&another));
            MFUnlockWorkQueue(another);
        });
        ASSERT_EQ(MFPutWorkItem(queue, blocker, nullptr), S_OK);
    }
    ASSERT_TRUE(entered.wait());
    EXPECT_EQ(MFShutdown(), S_OK);
    leave.open();
    ASSERT_TRUE(allocations.waitFor(1));
    EXPECT_EQ(allocations.entries().front(), S_OK);
    // Nothing of the test may run on when it is over.
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
}

// The process must end, and end well, whatever its queues are at.
TEST(WorkQueueDeathTest, AProcessCanEndWithAPlatformThatIsStillUp)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto endInTheMiddle = [] {
        MFStartup(MF_VERSION, MFSTARTUP_LITE);
        static Record<int> runs;
        DWORD queues[3] = {};
        MFAllocateWorkQueue(&queues[0]);
        MFAllocateWorkQueueEx(MF_MULTITHREADED_WORKQUEUE, &queues[1]);
        MFAllocateSerialWorkQueue(MFASYNC_CALLBACK_QUEUE_MULTITHREADED, &queues[2]);
        for (const DWORD queue : queues)
            MFPutWorkItem(queue, makeCallback([](IMFAsyncResult *) { runs.add(1); }), nullptr);
        MFUnlockWorkQueue(queues[0]);
        MFScheduleWorkItem(makeCallback([](IMFAsyncResult *) {}), nullptr, -60000, nullptr);
        std::exit(runs.waitFor(3) ? 0 : 1);
    };
    EXPECT_EXIT(endInTheMiddle(), testing::ExitedWithCode(0), "");
}
