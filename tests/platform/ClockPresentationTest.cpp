#include "tests/platform/ClockSupport.h"

#include <thread>

namespace
{

using Entries = std::vector<std::string>;

class PresentationClock : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFCreatePresentationClock(&clock), S_OK);
        ASSERT_EQ(MFCreateSystemTimeSource(&source), S_OK);
    }
    void TearDown() override
    {
        MFShutdownObject(clock);
        clock.Release();
        source.Release();
        StartedPlatform::TearDown();
    }

    void giveTimeSource() { ASSERT_EQ(clock->SetTimeSource(source), S_OK); }
    CComPtr<RecordingSink> addSink(const char *name)
    {
        CComPtr<RecordingSink> sink(new RecordingSink(heard, name));
        EXPECT_EQ(clock->AddClockStateSink(sink), S_OK);
        return sink;
    }
    MFCLOCK_STATE state()
    {
        MFCLOCK_STATE found = MFCLOCK_STATE_INVALID;
        EXPECT_EQ(clock->GetState(0, &found), S_OK);
        return found;
    }
    MFTIME time()
    {
        MFTIME found = -1;
        EXPECT_EQ(clock->GetTime(&found), S_OK);
        return found;
    }

    Record<std::string> heard;
    CComPtr<IMFPresentationClock> clock;
    CComPtr<IMFPresentationTimeSource> source;
};

// A time source that does not do as it is told.
class UnwillingTimeSource final : public TestObject<IMFPresentationTimeSource>, public IMFClockStateSink
{
public:
    STDMETHODIMP QueryInterface(REFIID iid, void **out) override
    {
        if (!IsEqualIID(iid, __uuidof(IMFClockStateSink)))
            return TestObject::QueryInterface(iid, out);
        *out = static_cast<IMFClockStateSink *>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return TestObject::AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return TestObject::Release(); }

    STDMETHODIMP GetClockCharacteristics(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetCorrelatedTime(DWORD, LONGLONG *, MFTIME *) override { return E_NOTIMPL; }
    STDMETHODIMP GetContinuityKey(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetState(DWORD, MFCLOCK_STATE *) override { return E_NOTIMPL; }
    STDMETHODIMP GetProperties(MFCLOCK_PROPERTIES *) override { return E_NOTIMPL; }
    STDMETHODIMP GetUnderlyingClock(IMFClock **) override { return E_NOTIMPL; }
    STDMETHODIMP OnClockStart(MFTIME, LONGLONG) override { return E_ABORT; }
    STDMETHODIMP OnClockStop(MFTIME) override { return E_ABORT; }
    STDMETHODIMP OnClockPause(MFTIME) override { return E_ABORT; }
    STDMETHODIMP OnClockRestart(MFTIME) override { return E_ABORT; }
    STDMETHODIMP OnClockSetRate(MFTIME, float) override { return E_ABORT; }
};

} // namespace

TEST_F(PresentationClock, CanDoLittleWithoutATimeSource)
{
    CComPtr<IMFPresentationTimeSource> none;
    DWORD characteristics = 0;
    LONGLONG clockTime = 0;
    MFTIME systemTime = 0;
    MFCLOCK_PROPERTIES properties = {};
    EXPECT_EQ(clock->GetTimeSource(&none), MF_E_CLOCK_NO_TIME_SOURCE);
    EXPECT_EQ(clock->GetTime(&systemTime), MF_E_CLOCK_NO_TIME_SOURCE);
    EXPECT_EQ(clock->GetCorrelatedTime(0, &clockTime, &systemTime), MF_E_CLOCK_NO_TIME_SOURCE);
    EXPECT_EQ(clock->GetClockCharacteristics(&characteristics), MF_E_CLOCK_NO_TIME_SOURCE);
    EXPECT_EQ(clock->GetProperties(&properties), MF_E_CLOCK_NO_TIME_SOURCE);
    EXPECT_EQ(clock->Start(0), MF_E_CLOCK_NO_TIME_SOURCE);
    EXPECT_EQ(clock->Stop(), MF_E_CLOCK_NO_TIME_SOURCE);
    EXPECT_EQ(clock->Pause(), MF_E_CLOCK_NO_TIME_SOURCE);
    CComPtr<IMFRateControl> control;
    ASSERT_EQ(clock.QueryInterface(&control), S_OK);
    EXPECT_EQ(control->SetRate(FALSE, 1.0F), MF_E_CLOCK_NO_TIME_SOURCE);
    EXPECT_EQ(state(), MFCLOCK_STATE_INVALID);
}

TEST_F(PresentationClock, HandsOutItsTimeSourceAndWhatThatSays)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    CComPtr<IMFPresentationTimeSource> found;
    DWORD characteristics = 0;
    DWORD key = 1;
    MFCLOCK_PROPERTIES properties = {};
    EXPECT_EQ(clock->GetTimeSource(&found), S_OK);
    EXPECT_EQ(found.p, source.p);
    EXPECT_EQ(clock->GetClockCharacteristics(&characteristics), S_OK);
    EXPECT_NE(characteristics & MFCLOCK_CHARACTERISTICS_FLAG_IS_SYSTEM_CLOCK, 0U);
    EXPECT_EQ(clock->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.qwClockFrequency, UINT64(10000000));
    EXPECT_EQ(clock->GetContinuityKey(&key), S_OK);
    EXPECT_EQ(key, 0U);
}

TEST_F(PresentationClock, GoesThroughItsStates)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    ASSERT_EQ(clock->Start(0), S_OK);
    EXPECT_EQ(state(), MFCLOCK_STATE_RUNNING);
    ASSERT_EQ(clock->Pause(), S_OK);
    EXPECT_EQ(state(), MFCLOCK_STATE_PAUSED);
    EXPECT_EQ(clock->Pause(), MF_E_CLOCK_STATE_ALREADY_SET);
    ASSERT_EQ(clock->Start(PRESENTATION_CURRENT_POSITION), S_OK);
    EXPECT_EQ(state(), MFCLOCK_STATE_RUNNING);
    ASSERT_EQ(clock->Stop(), S_OK);
    EXPECT_EQ(state(), MFCLOCK_STATE_STOPPED);
    EXPECT_EQ(clock->Stop(), MF_E_CLOCK_STATE_ALREADY_SET);
    EXPECT_EQ(clock->Pause(), MF_E_INVALIDREQUEST);
}

TEST_F(PresentationClock, TellsTheTimeFromTheOffsetOn)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    const MFTIME before = MFGetSystemTime();
    ASSERT_EQ(clock->Start(5000000), S_OK);
    LONGLONG clockTime = 0;
    MFTIME systemTime = 0;
    ASSERT_EQ(clock->GetCorrelatedTime(0, &clockTime, &systemTime), S_OK);
    EXPECT_GE(clockTime, 5000000);
    EXPECT_LE(clockTime - 5000000, systemTime - before);
    ASSERT_EQ(clock->Pause(), S_OK);
    const MFTIME paused = time();
    EXPECT_GE(paused, clockTime);
    EXPECT_EQ(time(), paused);
    ASSERT_EQ(clock->Start(PRESENTATION_CURRENT_POSITION), S_OK);
    EXPECT_GE(time(), paused);
    ASSERT_EQ(clock->Stop(), S_OK);
    EXPECT_EQ(time(), 0);
}

TEST_F(PresentationClock, IsStartedAgainFromAnotherOffset_WhenItRuns)
{
    constexpr LONGLONG hour = 36000000000;
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    const auto sink = addSink("sink");
    ASSERT_EQ(clock->Start(hour), S_OK);
    ASSERT_EQ(clock->Start(3 * hour), S_OK);
    EXPECT_GE(time(), 3 * hour);
    ASSERT_EQ(clock->Start(2 * hour), S_OK);
    EXPECT_GE(time(), 2 * hour);
    EXPECT_LT(time(), 3 * hour);
    EXPECT_EQ(state(), MFCLOCK_STATE_RUNNING);
    ASSERT_TRUE(heard.waitFor(3));
    EXPECT_EQ(heard.entries(),
              (Entries{"sink: start 36000000000", "sink: start 108000000000", "sink: start 72000000000"}));
}

TEST_F(PresentationClock, IsStartedFromAnOffset_WhenPaused)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    const auto sink = addSink("sink");
    ASSERT_EQ(clock->Start(1), S_OK);
    ASSERT_EQ(clock->Pause(), S_OK);
    ASSERT_EQ(clock->Start(2), S_OK);
    ASSERT_TRUE(heard.waitFor(3));
    EXPECT_EQ(heard.entries(), (Entries{"sink: start 1", "sink: pause", "sink: start 2"}));
}

TEST_F(PresentationClock, TellsItsSinksInTheOrderTheyCame)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    const auto first = addSink("first");
    const auto second = addSink("second");
    ASSERT_EQ(clock->Start(7), S_OK);
    ASSERT_TRUE(heard.waitFor(2));
    ASSERT_EQ(clock->Pause(), S_OK);
    ASSERT_TRUE(heard.waitFor(4));
    ASSERT_EQ(clock->Start(PRESENTATION_CURRENT_POSITION), S_OK);
    ASSERT_TRUE(heard.waitFor(6));
    ASSERT_EQ(clock->Stop(), S_OK);
    ASSERT_TRUE(heard.waitFor(8));
    EXPECT_EQ(heard.entries(), (Entries{"first: start 7", "second: start 7", "first: pause", "second: pause",
                                        "first: restart", "second: restart", "first: stop", "second: stop"}));
}

TEST_F(PresentationClock, ChangesDoNotOvertakeEachOther)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    const auto sink = addSink("sink");
    Entries expected;
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(clock->Start(round), S_OK);
        ASSERT_EQ(clock->Pause(), S_OK);
        expected.push_back("sink: start " + std::to_string(round));
        expected.emplace_back("sink: pause");
    }
    ASSERT_TRUE(heard.waitFor(expected.size()));
    EXPECT_EQ(heard.entries(), expected);
}

TEST_F(PresentationClock, TellsALateSinkOfTheStateThatTheOthersKnow)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    ASSERT_EQ(clock->Start(3), S_OK);
    const auto sink = addSink("late");
    ASSERT_TRUE(heard.waitFor(1));
    EXPECT_EQ(heard.entries(), Entries{"late: start 3"});
}

TEST_F(PresentationClock, ASinkThatIsRemovedHearsNoMore)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    const auto removed = addSink("removed");
    const auto kept = addSink("kept");
    ASSERT_EQ(clock->RemoveClockStateSink(removed), S_OK);
    ASSERT_EQ(clock->Start(1), S_OK);
    ASSERT_TRUE(heard.waitFor(1));
    EXPECT_EQ(heard.entries(), Entries{"kept: start 1"});
}

TEST_F(PresentationClock, TakesASinkOnce)
{
    const auto sink = addSink("sink");
    EXPECT_EQ(clock->AddClockStateSink(sink), E_INVALIDARG);
    EXPECT_EQ(clock->AddClockStateSink(nullptr), E_INVALIDARG);
    EXPECT_EQ(clock->RemoveClockStateSink(nullptr), E_INVALIDARG);
}

TEST_F(PresentationClock, ASinkMayUseTheClock)
{
    class StoppingSink final : public TestObject<IMFClockStateSink>
    {
    public:
        StoppingSink(IMFPresentationClock *clock, Record<HRESULT> &results) : m_clock(clock), m_results(results) {}
        STDMETHODIMP OnClockStart(MFTIME, LONGLONG) override
        {
            m_results.add(m_clock->Stop());
            return S_OK;
        }
        STDMETHODIMP OnClockStop(MFTIME) override
        {
            m_results.add(S_FALSE);
            return S_OK;
        }
        STDMETHODIMP OnClockPause(MFTIME) override { return S_OK; }
        STDMETHODIMP OnClockRestart(MFTIME) override { return S_OK; }
        STDMETHODIMP OnClockSetRate(MFTIME, float) override { return S_OK; }

    private:
        IMFPresentationClock *m_clock;
        Record<HRESULT> &m_results;
    };
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    Record<HRESULT> results;
    const CComPtr<StoppingSink> sink(new StoppingSink(clock, results));
    ASSERT_EQ(clock->AddClockStateSink(sink), S_OK);
    ASSERT_EQ(clock->Start(0), S_OK);
    ASSERT_TRUE(results.waitFor(2));
    EXPECT_EQ(results.entries(), (std::vector<HRESULT>{S_OK, S_FALSE}));
    EXPECT_EQ(state(), MFCLOCK_STATE_STOPPED);
}

TEST_F(PresentationClock, StaysAsItIs_WhenTheTimeSourceRefuses)
{
    const CComPtr<UnwillingTimeSource> unwilling(new UnwillingTimeSource);
    ASSERT_EQ(clock->SetTimeSource(unwilling), S_OK);
    EXPECT_EQ(clock->Start(0), E_ABORT);
    EXPECT_EQ(state(), MFCLOCK_STATE_INVALID);
}

TEST_F(PresentationClock, PassesTheRateOn)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    CComPtr<IMFRateControl> control;
    ASSERT_EQ(clock.QueryInterface(&control), S_OK);
    const auto sink = addSink("sink");
    float rate = 0.0F;
    BOOL thin = TRUE;
    EXPECT_EQ(control->GetRate(&thin, &rate), S_OK);
    EXPECT_EQ(rate, 1.0F);
    EXPECT_FALSE(thin);
    EXPECT_EQ(control->SetRate(TRUE, 1.0F), MF_E_THINNING_UNSUPPORTED);
    EXPECT_EQ(control->SetRate(FALSE, 0.5F), S_OK);
    ASSERT_TRUE(heard.waitFor(1));
    EXPECT_EQ(heard.entries(), Entries{"sink: rate 0.500000"});
    EXPECT_EQ(control->GetRate(nullptr, &rate), S_OK);
    EXPECT_EQ(rate, 0.5F);
}

TEST_F(PresentationClock, ReportsItsShutdown)
{
    CComPtr<IMFShutdown> shutdown;
    ASSERT_EQ(clock.QueryInterface(&shutdown), S_OK);
    MFSHUTDOWN_STATUS status = MFSHUTDOWN_INITIATED;
    EXPECT_EQ(shutdown->GetShutdownStatus(&status), MF_E_INVALIDREQUEST);
    EXPECT_EQ(MFShutdownObject(clock), S_OK);
    EXPECT_EQ(shutdown->GetShutdownStatus(&status), S_OK);
    EXPECT_EQ(status, MFSHUTDOWN_COMPLETED);
}

TEST_F(PresentationClock, IsAClock)
{
    CComPtr<IMFClock> asClock;
    EXPECT_EQ(clock.QueryInterface(&asClock), S_OK);
    CComPtr<IMFTopology> topology;
    EXPECT_EQ(clock.QueryInterface(&topology), E_NOINTERFACE);
}

TEST_F(PresentationClock, IsUsedByManyThreads)
{
    ASSERT_NO_FATAL_FAILURE(giveTimeSource());
    const auto sink = addSink("sink");
    std::vector<std::thread> threads;
    std::atomic<size_t> changes{0};
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 100; ++round) {
                changes += SUCCEEDED(clock->Start(round));
                time();
                changes += SUCCEEDED(clock->Pause());
                state();
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_TRUE(heard.waitFor(changes));
    EXPECT_EQ(heard.entries().size(), changes.load());
}
