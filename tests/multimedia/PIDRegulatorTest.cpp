#include "hostfw/PIDRegulator.h"

#include <gtest/gtest.h>

TEST(PIDRegulator, AnswersInProportion)
{
    PIDRegulator regulator(2.0, 0.0, 0.0, 0.5);
    EXPECT_DOUBLE_EQ(regulator.update(3.0), 6.0);
    EXPECT_DOUBLE_EQ(regulator.update(-1.0), -2.0);
}

TEST(PIDRegulator, SumsTheErrorOverTime)
{
    PIDRegulator regulator(0.0, 2.0, 0.0, 0.5);
    EXPECT_DOUBLE_EQ(regulator.update(3.0), 3.0);
    EXPECT_DOUBLE_EQ(regulator.update(1.0), 4.0);
    EXPECT_DOUBLE_EQ(regulator.update(-4.0), 0.0);
}

TEST(PIDRegulator, FollowsTheSlopeFromTheSecondErrorOn)
{
    PIDRegulator regulator(0.0, 0.0, 2.0, 0.5);
    EXPECT_DOUBLE_EQ(regulator.update(3.0), 0.0);
    EXPECT_DOUBLE_EQ(regulator.update(4.0), 4.0);
    EXPECT_DOUBLE_EQ(regulator.update(4.0), 0.0);
}

TEST(PIDRegulator, ResetForgetsThePast)
{
    PIDRegulator regulator(1.0, 2.0, 3.0, 0.5);
    const double first = regulator.update(3.0);
    regulator.update(5.0);
    regulator.reset();
    EXPECT_DOUBLE_EQ(regulator.update(3.0), first);
}

TEST(PIDRegulator, BringsAMeasuredValueToItsSetPoint)
{
    PIDRegulator regulator(0.5, 0.5, 0.0, 0.1);
    double value = 0.0;
    for (int period = 0; period < 500; ++period)
        value += 0.1 * regulator.update(10.0 - value);
    EXPECT_NEAR(value, 10.0, 0.01);
}
