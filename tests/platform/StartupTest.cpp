#include "tests/platform/AsyncSupport.h"

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

// The suite has this name because such run before all others: an implementation that leaks an asynchronous result in
// one of those stays up for the rest of the process.

TEST(StartupDeathTest, RefusesAnotherVersionOfTheInterface)
{
    EXPECT_EQ(MFStartup((MF_SDK_VERSION << 16) | (MF_API_VERSION - 1), MFSTARTUP_FULL), MF_E_BAD_STARTUP_VERSION);
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
}

TEST(StartupDeathTest, QueuesNeedAStartedPlatform)
{
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    EXPECT_EQ(tryToAllocate(), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
}

TEST(StartupDeathTest, WorkItemsNeedAStartedPlatform)
{
    const auto callback = makeCallback([](IMFAsyncResult *) { ADD_FAILURE() << "ran without a platform"; });
    EXPECT_EQ(MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_STANDARD, callback, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(MFPutWorkItem2(MFASYNC_CALLBACK_QUEUE_MULTITHREADED, 1, callback, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(MFScheduleWorkItem(callback, nullptr, -1, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(MFCancelWorkItem(1), MF_E_SHUTDOWN);
}

TEST(StartupDeathTest, IsNotNeededToShutDown)
{
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
}

TEST(StartupDeathTest, IsCounted)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(tryToAllocate(), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
}

TEST(StartupDeathTest, ALockKeepsThePlatformUp)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    EXPECT_EQ(MFLockPlatform(), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(tryToAllocate(), S_OK);
    EXPECT_EQ(MFUnlockPlatform(), S_OK);
    EXPECT_EQ(tryToAllocate(), MF_E_SHUTDOWN);
}

// The last one: what has just run may keep the platform up for a moment.
TEST(StartupDeathTest, WorksAgainAfterShutdown)
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
