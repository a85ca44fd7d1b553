#include "ndi/local/Pacer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

using namespace localndi;

namespace
{

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

constexpr nanoseconds start = seconds(1000);

nanoseconds durationOf(std::int64_t frames, std::int64_t rate)
{
    return nanoseconds(seconds(1)) * frames / rate;
}

// A thread that offers what it sends at times of its own, and is kept by each call.
class PacedThread
{
public:
    // `units` of `rate` a second that are there at `offered`. Returns by how much later they leave.
    nanoseconds send(Pacer &pacer, nanoseconds offered, std::int64_t units, std::int64_t rate)
    {
        m_now = std::max(m_now, offered);
        m_now += pacer.turn(m_now, units, rate);
        return m_now - offered;
    }
    nanoseconds now() const { return m_now; }

private:
    nanoseconds m_now = start;
};

// Offered at 50 a second, 20 ms each; the thread is held up once. By how much later than offered the last one leaves.
nanoseconds latenessAfterAHoldUpOf(milliseconds holdUp, std::int64_t units, std::int64_t rate)
{
    Pacer pacer;
    PacedThread thread;
    nanoseconds lateness{};
    for (int i = 0; i < 500; ++i) {
        const nanoseconds offered = start + durationOf(i, 50);
        if (i == 100) // not there before
            thread.send(pacer, offered + holdUp, units, rate);
        else
            lateness = thread.send(pacer, offered, units, rate);
    }
    return lateness;
}

} // namespace

TEST(Pacer, LetsTheFirstFrameThroughAtOnceAndTheOthersAtTheirRate)
{
    Pacer pacer;
    PacedThread thread;
    for (int i = 0; i < 26; ++i) {
        thread.send(pacer, start, 1, 25);
        EXPECT_EQ(start + durationOf(i, 25), thread.now());
    }
}

TEST(Pacer, KeepsWhatItsCallerIsLateByMoreThanAFrame)
{
    EXPECT_EQ(milliseconds(0), latenessAfterAHoldUpOf(milliseconds(10), 1, 50));
    EXPECT_EQ(milliseconds(0), latenessAfterAHoldUpOf(milliseconds(20), 1, 50));
    for (const int holdUp : {30, 40, 60, 100, 200, 400, 1000, 30000}) {
        EXPECT_EQ(milliseconds(holdUp - 20), latenessAfterAHoldUpOf(milliseconds(holdUp), 1, 50));
        EXPECT_EQ(milliseconds(holdUp - 20), latenessAfterAHoldUpOf(milliseconds(holdUp), 960, 48000)) << "of sound";
    }
}

TEST(Pacer, AddsOneHoldUpToTheOther)
{
    Pacer pacer;
    PacedThread thread;
    for (int i = 0; i < 500; ++i) {
        const nanoseconds heldUntil = thread.now() + milliseconds(i % 100 == 50 ? 60 : 0); // 40 late for its turn
        thread.send(pacer, std::max(heldUntil, start + durationOf(i, 50)), 1, 50);
    }
    EXPECT_EQ(milliseconds(5 * 20), thread.now() - (start + durationOf(499, 50)));
}

TEST(Pacer, IsLaterAndLaterForACallerThatIsFasterThanItSays)
{
    Pacer pacer;
    PacedThread thread;
    for (int second = 0; second < 100; ++second) {
        nanoseconds lateness{};
        for (int i = 0; i < 303; ++i) // in ten seconds
            lateness = thread.send(pacer, start + durationOf(second * 3030 + i * 10, 303), 1, 30);
        EXPECT_NEAR(static_cast<double>((second + 1) * 100), static_cast<double>(lateness / milliseconds(1)), 1.0);
    }
}

TEST(Pacer, DoesNotHoldACallerUpThatIsNowAndThenLateByLessThanAFrame)
{
    Pacer pacer;
    PacedThread thread;
    for (int i = 0; i < 60 * 60; ++i) {
        const milliseconds lateness(i % 10 == 5 ? 16 : 0);
        ASSERT_EQ(nanoseconds(0), thread.send(pacer, start + durationOf(i, 60) + lateness, 1, 60)) << i;
    }
}

TEST(Pacer, KeepsPictureAndSoundOfOneThreadWhereTheirJitterHasPutThem)
{
    Pacer video;
    Pacer audio;
    PacedThread thread;
    nanoseconds most{};
    for (int i = 0; i < 60 * 600; ++i) {
        const nanoseconds jitter = milliseconds(i * 7 % 16); // from 0 to 15
        most = std::max(most, thread.send(video, start + durationOf(i, 60) + jitter, 1, 60) + jitter);
        most = std::max(most, thread.send(audio, start + durationOf(i, 60) + jitter, 800, 48000) + jitter);
    }
    EXPECT_EQ(milliseconds(15), most);
}

TEST(Pacer, LetsACallerThroughWhoseTurnWouldComeMuchTooLate)
{
    Pacer pacer;
    EXPECT_EQ(nanoseconds(0), pacer.turn(start, 1'000'000'000, 1));
    EXPECT_EQ(nanoseconds(0), pacer.turn(start, 9, 1));
    EXPECT_EQ(nanoseconds(seconds(9)), pacer.turn(start, 9, 1));
}

TEST(Pacer, DoesNotWaitForWhatHasNoDuration)
{
    Pacer pacer;
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(nanoseconds(0), pacer.turn(start, 0, 0));
}
