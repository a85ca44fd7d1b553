#include "tests/platform/AsyncSupport.h"

#include <cstdlib>

namespace
{

HRESULT tryToAllocate()
{
    DWORD queue = 0;
    const HRESULT hr = MFAllocateWorkQueue(&queue);
    if (SUCCEEDED(hr))
        MFUnlockWorkQueue(queue);
    return hr;
}

} // namespace

TEST(Startup, RefusesAnotherVersionOfTheInterface)
{
    EXPECT_EQ(MFStartup((MF_SDK_VERSION << 16) | (MF_API_VERSION - 1), MFSTARTUP_FULL), MF_E_BAD_STARTUP_VERSION);
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
}

TEST(Startup, QueuesNeedAStartedPlatform)
{
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    EXPECT_EQ(tryToAllocate(), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
}

TEST(Startup, WorkItemsNeedAStartedPlatform)
{
    const auto callback = makeCallback([](IMFAsyncResult *) { ADD_FAILURE() << "ran without a platform"; });
    EXPECT_EQ(MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_STANDARD, callback, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(MFPutWorkItem2(MFASYNC_CALLBACK_QUEUE_MULTITHREADED, 1, callback, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(MFScheduleWorkItem(callback, nullptr, -1, nullptr), MF_E_SHUTDOWN);
}

TEST(Startup, IsCounted)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(tryToAllocate(), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
}

TEST(Startup, WorksAgainAfterShutdown)
{
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
        Record<int> runs;
        const auto callback = makeCallback([&](IMFAsyncResult *) { runs.add(1); });
        EXPECT_EQ(MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_STANDARD, callback, nullptr), S_OK);
        EXPECT_TRUE(runs.waitFor(1));
        EXPECT_EQ(MFShutdown(), S_OK);
    }
}

TEST(Startup, ALockKeepsThePlatformUp)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    EXPECT_EQ(MFLockPlatform(), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(tryToAllocate(), S_OK);
    EXPECT_EQ(MFUnlockPlatform(), S_OK);
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
}

TEST(Startup, AWaitingWorkItemKeepsThePlatformUp)
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
            allocations.add(tryToAllocate());
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
TEST(StartupDeathTest, AProcessCanEndWithAPlatformThatIsStillUp)
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
