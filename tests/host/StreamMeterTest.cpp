#include "host/monitor/StreamMeter.h"

#include <gtest/gtest.h>

namespace
{

using host::StreamFigures;
using host::StreamMeter;

constexpr long long Ms = 10000;
constexpr long long Frame = 40 * Ms;

// Frames from `first` to `last`, arriving `lag` after their time.
void addFrames(StreamMeter &meter, int first, int last, long long lag)
{
    for (int frame = first; frame <= last; ++frame)
        meter.addSample(frame * Frame + lag, frame * Frame, Frame);
}

TEST(StreamMeter, FindsNoGapInAnEvenStream)
{
    StreamMeter meter;
    addFrames(meter, 0, 99, 5 * Ms);
    const StreamFigures figures = meter.figures(100 * Frame);
    EXPECT_EQ(figures.samples, 100U);
    EXPECT_EQ(figures.gaps, 0U);
    EXPECT_EQ(figures.restarts, 0U);
    EXPECT_NEAR(figures.rate, 25.0, 0.001);
    EXPECT_NEAR(figures.lagMs, 5.0, 0.001);
    EXPECT_EQ(figures.jitterMaxMs, 0.0);
}

TEST(StreamMeter, CountsAGapAndTheTimeThatIsMissing)
{
    StreamMeter meter;
    addFrames(meter, 0, 9, 0);
    addFrames(meter, 13, 20, 0);
    const StreamFigures figures = meter.figures(21 * Frame);
    EXPECT_EQ(figures.gaps, 1U);
    EXPECT_DOUBLE_EQ(figures.missingMs, 120.0);
}

TEST(StreamMeter, ForgivesADurationRoundedDown)
{
    StreamMeter meter;
    for (long long frame = 0; frame < 1000; ++frame)
        meter.addSample(frame * 333667, frame * 333667, 333666);
    EXPECT_EQ(meter.figures(0).gaps, 0U);
}

TEST(StreamMeter, TakesTimeThatRunsBackwardsForANewBeginning)
{
    StreamMeter meter;
    addFrames(meter, 100, 109, 0);
    addFrames(meter, 0, 9, 1000 * Ms);
    const StreamFigures figures = meter.figures(0);
    EXPECT_EQ(figures.restarts, 1U);
    EXPECT_EQ(figures.gaps, 0U);
    // The best arrival so far counts from the new beginning.
    EXPECT_EQ(figures.jitterMaxMs, 0.0);
}

TEST(StreamMeter, MeasuresJitterAboveTheBestArrival)
{
    StreamMeter meter;
    for (int frame = 0; frame < 100; ++frame)
        meter.addSample(frame * Frame + (frame % 10 == 9 ? 15 : 5) * Ms, frame * Frame, Frame);
    const StreamFigures figures = meter.figures(0);
    EXPECT_NEAR(figures.jitterMedianMs, 0.05, 0.06);
    EXPECT_NEAR(figures.jitter95Ms, 10.0, 0.11);
    EXPECT_NEAR(figures.jitterMaxMs, 10.0, 0.001);
}

TEST(StreamMeter, HasNoRateTwoSecondsAfterTheLastSample)
{
    StreamMeter meter;
    addFrames(meter, 0, 9, 0);
    EXPECT_GT(meter.figures(9 * Frame + 1999 * Ms).rate, 0.0);
    EXPECT_EQ(meter.figures(9 * Frame + 2000 * Ms).rate, 0.0);
}

TEST(StreamMeter, FollowsAChangeOfRateWithinItsWindow)
{
    StreamMeter meter;
    addFrames(meter, 0, 99, 0);
    for (int frame = 0; frame < 64; ++frame)
        meter.addSample(100 * Frame + frame * 20 * Ms, 100 * Frame + frame * 20 * Ms, 20 * Ms);
    EXPECT_NEAR(meter.figures(100 * Frame + 64 * 20 * Ms).rate, 50.0, 0.001);
}

} // namespace
