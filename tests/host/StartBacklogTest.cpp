#include "host/pipeline/StartBacklog.h"

#include <gtest/gtest.h>

namespace
{

using host::StartBacklog;

constexpr long long FrameTime = 166667;
constexpr long long Millisecond = 10000;
constexpr long long Begin = 1000 * Millisecond;

} // namespace

TEST(StartBacklog, HoldsWhatComesAtOnceAndEndsWithTheFirstSampleThatWasWaitedFor)
{
    StartBacklog backlog;
    for (int sample = 0; sample < 4; ++sample)
        EXPECT_TRUE(backlog.contains(Begin + sample * Millisecond, FrameTime)) << sample;
    EXPECT_FALSE(backlog.contains(Begin + 3 * Millisecond + FrameTime, FrameTime));
}

TEST(StartBacklog, IsOverForGood)
{
    StartBacklog backlog;
    backlog.contains(Begin, FrameTime);
    ASSERT_FALSE(backlog.contains(Begin + FrameTime, FrameTime));
    EXPECT_FALSE(backlog.contains(Begin + FrameTime, FrameTime));
}

TEST(StartBacklog, TakesASampleForWaitedForThatComesAfterHalfTheTimeOfTheOneBefore)
{
    StartBacklog backlog;
    backlog.contains(Begin, 2 * FrameTime);
    EXPECT_TRUE(backlog.contains(Begin + FrameTime - Millisecond, 4 * FrameTime));
    EXPECT_FALSE(backlog.contains(Begin + 3 * FrameTime, FrameTime));
}

TEST(StartBacklog, HoldsNoSamplesWithoutADuration)
{
    EXPECT_FALSE(StartBacklog().contains(Begin, 0));
    EXPECT_FALSE(StartBacklog().contains(Begin, -1));
}

TEST(StartBacklog, EndsThoughAStreamGoesOnFasterThanItsSamplesLast)
{
    StartBacklog backlog;
    int samples = 0;
    while (samples < 1000 && backlog.contains(Begin + samples * Millisecond, FrameTime))
        ++samples;
    EXPECT_EQ(samples, 64);
}
