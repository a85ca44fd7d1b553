#include "hostfw/HnsTime.h"

#include <QtCore/QVariant>

#include <gtest/gtest.h>

#include <climits>

TEST(HnsTime, IsZeroByDefault)
{
    EXPECT_EQ(static_cast<long long>(HnsTime()), 0);
}

TEST(HnsTime, CountsUnitsOfHundredNanoseconds)
{
    EXPECT_EQ(static_cast<long long>(HnsTime::seconds(3)), 30'000'000);
    EXPECT_EQ(static_cast<long long>(HnsTime::milliseconds(3)), 30'000);
    EXPECT_EQ(HnsTime(12'345'678).toMilliseconds(), 1'234);
    EXPECT_EQ(HnsTime(12'345'678).toMicroseconds(), 1'234'567);
}

TEST(HnsTime, TruncatesTowardZeroOnBothSidesOfIt)
{
    EXPECT_EQ(HnsTime(19'999).toMilliseconds(), 1);
    EXPECT_EQ(HnsTime(-19'999).toMilliseconds(), -1);
    EXPECT_EQ(HnsTime(19).toMicroseconds(), 1);
    EXPECT_EQ(HnsTime(-19).toMicroseconds(), -1);
}

TEST(HnsTime, AssignsACount)
{
    HnsTime time(1);
    time = 42LL;
    EXPECT_TRUE(time == HnsTime(42));
}

TEST(HnsTime, ComparesAndSubtracts)
{
    EXPECT_TRUE(HnsTime(-1) < HnsTime(1));
    EXPECT_FALSE(HnsTime(1) < HnsTime(1));
    EXPECT_FALSE(HnsTime(1) == HnsTime(2));
    EXPECT_TRUE(HnsTime(5) - HnsTime(7) == HnsTime(-2));
    EXPECT_TRUE(HnsTime(LLONG_MIN) < HnsTime(LLONG_MAX));
}

TEST(HnsTime, SystemTimeNeverGoesBack)
{
    HnsTime last = HnsTime::systemTime();
    for (int turn = 0; turn < 1000; ++turn) {
        const HnsTime now = HnsTime::systemTime();
        ASSERT_FALSE(now < last);
        last = now;
    }
}

TEST(HnsTime, TravelsInAVariant)
{
    const QVariant variant = QVariant::fromValue(HnsTime::seconds(2));
    EXPECT_TRUE(variant.value<HnsTime>() == HnsTime::seconds(2));
}
