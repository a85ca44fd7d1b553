// The media sink and its presentation clock.

#include "sink/NDISinkMF.h"

#include "tests/sink/SinkFakes.h"
#include "tests/sink/SinkHarness.h"

namespace
{

class NDISinkClockTest : public MadeSinkTest
{
protected:
    bool isClock(IMFPresentationClock *expected) const
    {
        CComPtr<IMFPresentationClock> clock;
        EXPECT_EQ(S_OK, sink->GetPresentationClock(&clock));
        return clock == expected;
    }
};

} // namespace

TEST_F(NDISinkClockTest, ThereIsNoClockBeforeOneIsSet)
{
    auto *clock = reinterpret_cast<IMFPresentationClock *>(&sink);
    EXPECT_EQ(S_OK, sink->GetPresentationClock(&clock));
    EXPECT_EQ(nullptr, clock);
}

TEST_F(NDISinkClockTest, SettingTheSameClockTwiceRegistersOnce)
{
    const CComPtr<FakeClock> clock(new FakeClock);
    EXPECT_EQ(S_OK, sink->SetPresentationClock(clock));
    EXPECT_EQ(S_OK, sink->SetPresentationClock(clock));
    EXPECT_EQ(1, clock->added);
    EXPECT_EQ(0, clock->removed);
    EXPECT_TRUE(isClock(clock));
}

TEST_F(NDISinkClockTest, AnotherFaceOfTheClockIsTheSameClock)
{
    const CComPtr<FakeClock> clock(new FakeClock);
    FakeClock face(clock.p);
    EXPECT_EQ(S_OK, sink->SetPresentationClock(clock));
    EXPECT_EQ(S_OK, sink->SetPresentationClock(&face));
    EXPECT_EQ(0, clock->removed);
    EXPECT_EQ(0, face.added);
    EXPECT_TRUE(isClock(clock));
    EXPECT_EQ(S_OK, sink->SetPresentationClock(nullptr));
}

TEST_F(NDISinkClockTest, AClockThatRefusesTheSinkOrDoesNotLetItGoIsSetAndReplacedAllTheSame)
{
    const CComPtr<FakeClock> first(new FakeClock);
    const CComPtr<FakeClock> second(new FakeClock);
    first->addResult = first->removeResult = E_ACCESSDENIED;
    EXPECT_EQ(S_OK, sink->SetPresentationClock(first));
    EXPECT_TRUE(isClock(first));
    EXPECT_EQ(4u, referencesOf(first)); // the streams have it too
    EXPECT_EQ(S_OK, sink->SetPresentationClock(second));
    EXPECT_TRUE(isClock(second));
    EXPECT_EQ(1, second->added);
    EXPECT_EQ(1u, referencesOf(first));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkClockTest, AnotherClockTakesThePlaceOfTheOldOneEverywhere)
{
    const CComPtr<FakeClock> first(new FakeClock);
    const CComPtr<FakeClock> second(new FakeClock);
    sink->SetPresentationClock(first);
    EXPECT_EQ(4u, referencesOf(first)); // the test's, the sink's and one for each stream
    EXPECT_EQ(S_OK, sink->SetPresentationClock(second));
    EXPECT_EQ(1, first->removed);
    EXPECT_EQ(1, second->added);
    EXPECT_EQ(1u, referencesOf(first));
    EXPECT_EQ(4u, referencesOf(second));
    EXPECT_EQ(S_OK, sink->SetPresentationClock(nullptr));
    EXPECT_EQ(S_OK, sink->SetPresentationClock(nullptr));
    EXPECT_EQ(1, second->removed);
    EXPECT_EQ(1u, referencesOf(second));
    EXPECT_TRUE(isClock(nullptr));
}

TEST_F(NDISinkClockTest, FollowsAPresentationClock)
{
    setType(sink, streamOf(sink, 0), pictureType());
    setType(sink, streamOf(sink, 1), soundType());
    CComPtr<IMFPresentationClock> clock;
    ASSERT_EQ(S_OK, MFCreatePresentationClock(&clock));
    CComPtr<IMFPresentationTimeSource> time;
    ASSERT_EQ(S_OK, MFCreateSystemTimeSource(&time));
    ASSERT_EQ(S_OK, clock->SetTimeSource(time));
    ASSERT_EQ(S_OK, sink->SetPresentationClock(clock));
    ASSERT_EQ(S_OK, clock->Start(0));
    EXPECT_TRUE(log.waitFor(QtDebugMsg, sinkLog, "Sample requested... (total requests: 1)"));
    ASSERT_EQ(S_OK, sink->Shutdown());
}
