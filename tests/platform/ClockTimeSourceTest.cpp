#include "tests/platform/ClockSupport.h"

#include <thread>

namespace
{

// A system time source that the test drives with times of its own.
class SystemTimeSource : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFCreateSystemTimeSource(&source), S_OK);
        ASSERT_EQ(source.QueryInterface(&sink), S_OK);
    }
    void TearDown() override
    {
        sink.Release();
        source.Release();
        StartedPlatform::TearDown();
    }

    // Exact while the source does not run.
    LONGLONG time()
    {
        LONGLONG clockTime = -1;
        MFTIME systemTime = 0;
        EXPECT_EQ(source->GetCorrelatedTime(0, &clockTime, &systemTime), S_OK);
        return clockTime;
    }

    CComPtr<IMFPresentationTimeSource> source;
    CComPtr<IMFClockStateSink> sink;
    const MFTIME now = MFGetSystemTime();
};

} // namespace

TEST(SystemTime, GoesOnInUnitsOf100Nanoseconds)
{
    using Hns = std::chrono::duration<long long, std::ratio<1, 10000000>>;
    const auto before = std::chrono::steady_clock::now();
    const MFTIME start = MFGetSystemTime();
    MFTIME end = start;
    while (end - start < 200000) { // 20 ms
        ASSERT_LT(std::chrono::steady_clock::now() - before, patience);
        std::this_thread::yield();
        end = MFGetSystemTime();
    }
    const Hns elapsed = std::chrono::duration_cast<Hns>(std::chrono::steady_clock::now() - before);
    EXPECT_GE(elapsed.count(), 100000);
}

TEST_F(SystemTimeSource, SaysWhatItIs)
{
    DWORD characteristics = 0;
    MFCLOCK_PROPERTIES properties = {};
    EXPECT_EQ(source->GetClockCharacteristics(&characteristics), S_OK);
    EXPECT_EQ(characteristics,
              DWORD(MFCLOCK_CHARACTERISTICS_FLAG_FREQUENCY_10MHZ | MFCLOCK_CHARACTERISTICS_FLAG_IS_SYSTEM_CLOCK));
    EXPECT_EQ(source->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.qwClockFrequency, UINT64(10000000));
    EXPECT_EQ(properties.dwClockTolerance, DWORD(50000)); // which means unknown
    EXPECT_EQ(properties.dwClockJitter, DWORD(1));
    DWORD key = 1;
    EXPECT_EQ(source->GetContinuityKey(&key), S_OK);
    EXPECT_EQ(key, 0U);
    CComPtr<IMFClock> asClock;
    EXPECT_EQ(source.QueryInterface(&asClock), E_NOINTERFACE);
}

TEST_F(SystemTimeSource, StandsOnTheSystemsClock)
{
    CComPtr<IMFClock> clock;
    CComPtr<IMFClock> again;
    ASSERT_EQ(source->GetUnderlyingClock(&clock), S_OK);
    ASSERT_EQ(source->GetUnderlyingClock(&again), S_OK);
    EXPECT_EQ(clock.p, again.p);
    CComPtr<IMFPresentationTimeSource> asSource;
    EXPECT_EQ(clock.QueryInterface(&asSource), E_NOINTERFACE);
    source.Release();
    DWORD characteristics = 0;
    EXPECT_EQ(clock->GetClockCharacteristics(&characteristics), S_OK);
    EXPECT_EQ(characteristics,
              DWORD(MFCLOCK_CHARACTERISTICS_FLAG_FREQUENCY_10MHZ | MFCLOCK_CHARACTERISTICS_FLAG_ALWAYS_RUNNING |
                    MFCLOCK_CHARACTERISTICS_FLAG_IS_SYSTEM_CLOCK));
    MFCLOCK_STATE state = MFCLOCK_STATE_INVALID;
    EXPECT_EQ(clock->GetState(0, &state), S_OK);
    EXPECT_EQ(state, MFCLOCK_STATE_RUNNING);
    MFCLOCK_PROPERTIES properties = {};
    EXPECT_EQ(clock->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.qwClockFrequency, UINT64(10000000));
    DWORD key = 1;
    EXPECT_EQ(clock->GetContinuityKey(&key), S_OK);
    EXPECT_EQ(key, 0U);
}

TEST_F(SystemTimeSource, StandsOnAClockThatTellsTheSystemTime)
{
    CComPtr<IMFClock> clock;
    ASSERT_EQ(source->GetUnderlyingClock(&clock), S_OK);
    LONGLONG clockTime = 0;
    MFTIME systemTime = 0;
    ASSERT_EQ(clock->GetCorrelatedTime(0, &clockTime, &systemTime), S_OK);
    EXPECT_EQ(clockTime, systemTime);
    EXPECT_GE(systemTime, now);
    EXPECT_LE(systemTime, MFGetSystemTime());
}

TEST_F(SystemTimeSource, StandsAtZeroInNoState_BeforeItIsStarted)
{
    MFCLOCK_STATE state = MFCLOCK_STATE_RUNNING;
    EXPECT_EQ(source->GetState(0, &state), S_OK);
    EXPECT_EQ(state, MFCLOCK_STATE_INVALID);
    EXPECT_EQ(time(), 0);
    EXPECT_EQ(sink->OnClockStop(now), S_OK);
    EXPECT_EQ(sink->OnClockRestart(now), MF_E_INVALIDREQUEST);
    EXPECT_EQ(source->GetState(0, &state), S_OK);
    EXPECT_EQ(state, MFCLOCK_STATE_INVALID);
}

TEST_F(SystemTimeSource, CorrelatesWithTheSystemTime_WhenItRuns)
{
    ASSERT_EQ(sink->OnClockStart(now, 1000), S_OK);
    LONGLONG clockTime = 0;
    MFTIME systemTime = 0;
    ASSERT_EQ(source->GetCorrelatedTime(0, &clockTime, &systemTime), S_OK);
    EXPECT_GE(systemTime, now);
    EXPECT_EQ(clockTime - 1000, systemTime - now);
}

TEST_F(SystemTimeSource, StandsStill_WhenPaused)
{
    ASSERT_EQ(sink->OnClockStart(now, 0), S_OK);
    ASSERT_EQ(sink->OnClockPause(now + 100), S_OK);
    EXPECT_EQ(time(), 100);
    EXPECT_EQ(sink->OnClockPause(now + 150), MF_E_INVALIDREQUEST);
}

TEST_F(SystemTimeSource, GoesOnFromWhereItStood_WhenRestarted)
{
    ASSERT_EQ(sink->OnClockStart(now, 0), S_OK);
    EXPECT_EQ(sink->OnClockRestart(now), MF_E_INVALIDREQUEST);
    ASSERT_EQ(sink->OnClockPause(now + 100), S_OK);
    ASSERT_EQ(sink->OnClockRestart(now + 200), S_OK);
    ASSERT_EQ(sink->OnClockPause(now + 300), S_OK);
    EXPECT_EQ(time(), 200);
}

TEST_F(SystemTimeSource, GoesOn_WhenStartedFromTheCurrentPosition)
{
    ASSERT_EQ(sink->OnClockStart(now, 1000), S_OK);
    ASSERT_EQ(sink->OnClockStart(now + 100, PRESENTATION_CURRENT_POSITION), S_OK);
    ASSERT_EQ(sink->OnClockPause(now + 300), S_OK);
    EXPECT_EQ(time(), 1300);
    ASSERT_EQ(sink->OnClockStart(now + 400, PRESENTATION_CURRENT_POSITION), S_OK);
    ASSERT_EQ(sink->OnClockPause(now + 450), S_OK);
    EXPECT_EQ(time(), 1350);
}

TEST_F(SystemTimeSource, GoesBackToZero_WhenStopped)
{
    MFCLOCK_STATE state = MFCLOCK_STATE_INVALID;
    ASSERT_EQ(sink->OnClockStart(now, 500), S_OK);
    ASSERT_EQ(sink->OnClockStop(now + 100), S_OK);
    EXPECT_EQ(time(), 0);
    EXPECT_EQ(source->GetState(0, &state), S_OK);
    EXPECT_EQ(state, MFCLOCK_STATE_STOPPED);
}

TEST_F(SystemTimeSource, RunsAtTheRateSet)
{
    ASSERT_EQ(sink->OnClockSetRate(now, 2.0F), S_OK);
    ASSERT_EQ(sink->OnClockStart(now, 1000), S_OK);
    ASSERT_EQ(sink->OnClockPause(now + 100), S_OK);
    EXPECT_EQ(time(), 1200);
    EXPECT_EQ(sink->OnClockSetRate(now, 0.0F), MF_E_UNSUPPORTED_RATE);
}
