#include "ndi/tools/ndi-send/Pace.h"

#include <gtest/gtest.h>

using namespace ndisend;
using namespace std::chrono_literals;
using pattern::FrameRate;

namespace
{

constexpr FrameRate Film{30000, 1001};

TEST(DueTime, IsTheFramesOwnStartByAClockThatIsRight)
{
    for (const std::int64_t frame : {0, 1, 2, 29, 30000, 123456789})
        EXPECT_EQ(Hns(Film.frameStart(frame, pattern::HnsPerSecond)), dueTime(frame, Film, 0)) << frame;
}

TEST(DueTime, ComesEarlierByAFastClockAndLaterByASlowOne)
{
    // 101 seconds of a clock that runs one percent fast pass in 100 seconds; 99 of one that runs slow do too.
    EXPECT_EQ(Hns(100s), dueTime(101 * 50, FrameRate{50, 1}, 10000));
    EXPECT_EQ(Hns(100s), dueTime(99 * 50, FrameRate{50, 1}, -10000));
    EXPECT_EQ(Hns(1'000'000s), dueTime(1'000'300 * std::int64_t{25}, FrameRate{25, 1}, 300));
}

TEST(DueTime, IsExactAfterTenYears)
{
    constexpr std::int64_t seconds = std::int64_t{10} * 365 * 86400;
    EXPECT_EQ(Hns(seconds * 1s), dueTime(seconds / 100 * 101 * 60, FrameRate{60, 1}, 10000));
}

class PaceTest : public testing::Test
{
protected:
    // What comes at its time waits for the time of its turn; here it takes none.
    void passAt(Hns due, Hns now) { EXPECT_EQ(m_start + due, m_pace.turn(due, m_start + now)); }

    const Pace::Clock::time_point m_start{1h};
    Pace m_pace{20ms};
};

TEST_F(PaceTest, GivesEachFrameItsTimeCountedFromTheFirst)
{
    passAt(0ms, 0ms);
    passAt(20ms, 1ms);
    passAt(40ms, 39ms);
    EXPECT_EQ(0, m_pace.lateFrames());
}

TEST_F(PaceTest, LetsALateOneCatchUpAndCountsItBeyondAFrame)
{
    passAt(0ms, 0ms);
    passAt(20ms, 40ms);
    EXPECT_EQ(0, m_pace.lateFrames());
    passAt(40ms, 61ms);
    EXPECT_EQ(1, m_pace.lateFrames());
    passAt(60ms, 62ms);
    EXPECT_EQ(1, m_pace.lateFrames());
}

TEST_F(PaceTest, GoesOnFromWhereItIsAfterMoreThanASecond)
{
    passAt(0ms, 0ms);
    EXPECT_EQ(m_start + 5s, m_pace.turn(20ms, m_start + 5s));
    EXPECT_EQ(m_start + 5s + 20ms, m_pace.turn(40ms, m_start + 5s + 1ms));
    EXPECT_EQ(1, m_pace.lateFrames());
}

// A second of frames by a clock that runs one percent fast, one that runs slow, and the declared one.
TEST_F(PaceTest, DeliversAtTheRateOfTheSendersClock)
{
    for (const auto &[ppm, frames] : {std::pair{0, 500}, {10000, 505}, {-10000, 495}}) {
        Pace pace(20ms);
        auto now = m_start;
        std::int64_t frame = 0;
        while (now < m_start + 10s) {
            now = pace.turn(dueTime(frame, FrameRate{50, 1}, ppm), now);
            ++frame;
        }
        EXPECT_EQ(frames, frame - 1) << ppm;
    }
}

} // namespace
