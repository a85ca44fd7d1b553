#include "recording/Histogram.h"

#include <gtest/gtest.h>

namespace
{

using recording::Histogram;

TEST(Histogram, IsZeroWhenEmpty)
{
    const Histogram histogram;
    EXPECT_EQ(histogram.count(), 0U);
    EXPECT_EQ(histogram.quantile(0.5), 0.0);
    EXPECT_EQ(histogram.maximum(), 0.0);
}

TEST(Histogram, FindsQuantilesToATenthOfAMillisecond)
{
    Histogram histogram;
    for (int value = 1; value <= 100; ++value)
        histogram.add(value);
    EXPECT_NEAR(histogram.quantile(0.5), 50.0, 0.11);
    EXPECT_NEAR(histogram.quantile(0.95), 95.0, 0.11);
    EXPECT_NEAR(histogram.quantile(0.0), 1.0, 0.11);
    EXPECT_EQ(histogram.quantile(1.0), 100.0);
    EXPECT_EQ(histogram.maximum(), 100.0);
}

TEST(Histogram, IsExactToOnePercentAbove250Milliseconds)
{
    for (const double value : {251.0, 1000.0, 7777.0, 60000.0}) {
        Histogram histogram;
        histogram.add(value);
        histogram.add(value * 2.0);
        EXPECT_NEAR(histogram.quantile(0.5), value, value * 0.01);
    }
}

TEST(Histogram, KeepsTheMaximumOfValuesBeyondItsBins)
{
    Histogram histogram;
    histogram.add(1e9);
    EXPECT_EQ(histogram.maximum(), 1e9);
    EXPECT_LE(histogram.quantile(0.5), 1e9);
}

TEST(Histogram, CountsNegativeValuesAsTheSmallest)
{
    Histogram histogram;
    histogram.add(-5.0);
    EXPECT_EQ(histogram.count(), 1U);
    EXPECT_EQ(histogram.maximum(), -5.0);
    EXPECT_EQ(histogram.quantile(0.5), -5.0);
}

} // namespace
