#include "tests/platform/AsyncSupport.h"

using ScheduledWorkItem = StartedPlatform;
using Clock = std::chrono::steady_clock;

TEST_F(ScheduledWorkItem, RunsNotBeforeItsTime)
{
    Record<Clock::time_point> runs;
    const Clock::time_point before = Clock::now();
    ASSERT_EQ(
        MFScheduleWorkItem(makeCallback([&](IMFAsyncResult *) { runs.add(Clock::now()); }), nullptr, -60, nullptr),
        S_OK);
    ASSERT_TRUE(runs.waitFor(1));
    // The system's timers may come a tick (15.6 ms) early.
    EXPECT_GE(runs.entries()[0] - before, std::chrono::milliseconds(40));
}

TEST_F(ScheduledWorkItem, RunsInTheOrderOfTimes)
{
    constexpr int attempts = 10;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        Record<int> order;
        const Clock::time_point before = Clock::now();
        for (const int delay : {200, 1, 100})
            ASSERT_EQ(MFScheduleWorkItem(makeCallback([&order, delay](IMFAsyncResult *) { order.add(delay); }), nullptr,
                                         -delay, nullptr),
                      S_OK);
        // On a machine that was held up meanwhile the times may come in another order than the delays.
        const bool isInOrderOfDelays = Clock::now() - before < std::chrono::milliseconds(50);
        ASSERT_TRUE(order.waitFor(3));
        if (!isInOrderOfDelays)
            continue;
        EXPECT_EQ(order.entries(), (std::vector<int>{1, 100, 200}));
        return;
    }
    FAIL() << "held up at every attempt";
}

TEST_F(ScheduledWorkItem, PassesTheResultThatTheCallerMade)
{
    Record<IMFAsyncResult *> runs;
    CComPtr<IMFAsyncResult> result;
    const auto callback = makeCallback([&](IMFAsyncResult *passed) { runs.add(passed); });
    ASSERT_EQ(MFCreateAsyncResult(nullptr, callback, nullptr, &result), S_OK);
    MFWORKITEM_KEY key = 0;
    ASSERT_EQ(MFScheduleWorkItemEx(result, -1, &key), S_OK);
    ASSERT_TRUE(runs.waitFor(1));
    EXPECT_EQ(runs.entries()[0], result.p);
}

TEST_F(ScheduledWorkItem, DoesNotRun_WhenCancelledInTime)
{
    Record<int> runs;
    MFWORKITEM_KEY key = 0;
    const auto cancelled = makeCallback([&](IMFAsyncResult *result) {
        if (SUCCEEDED(result->GetStatus()))
            runs.add(1);
    });
    ASSERT_EQ(MFScheduleWorkItem(cancelled, nullptr, -300, &key), S_OK);
    ASSERT_EQ(MFCancelWorkItem(key), S_OK);
    ASSERT_EQ(MFScheduleWorkItem(makeCallback([&](IMFAsyncResult *) { runs.add(2); }), nullptr, -400, nullptr), S_OK);
    ASSERT_TRUE(runs.waitFor(1));
    EXPECT_EQ(runs.entries(), std::vector<int>{2});
}

TEST_F(ScheduledWorkItem, CancellingFindsNothing_WhenTheItemIsGone)
{
    MFWORKITEM_KEY key = 0;
    ASSERT_EQ(MFScheduleWorkItem(makeCallback([](IMFAsyncResult *) {}), nullptr, -60000, &key), S_OK);
    EXPECT_NE(key, 0U);
    EXPECT_EQ(MFCancelWorkItem(key), S_OK);
    EXPECT_EQ(MFCancelWorkItem(key), MF_E_NOT_FOUND);
    EXPECT_EQ(MFCancelWorkItem(key + 1000), MF_E_NOT_FOUND);
}
