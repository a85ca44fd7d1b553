// What a stream tells of the distance between its samples and its clock.

#include "sink/NDISinkStream.h"

#include "tests/sink/SinkFakes.h"
#include "tests/sink/SinkHarness.h"

namespace
{

using Types = std::vector<MediaEventType>;

class NDISinkStreamLatencyTest : public RecordingStreamTest
{
protected:
    static CComPtr<IMFSample> sampleAt(LONGLONG time)
    {
        auto sample = emptySample();
        sample->SetSampleTime(time);
        return sample;
    }
    // The latency that the stream tells of for the next sample.
    CComPtr<IMFMediaEvent> qualityOf(IMFSample *sample)
    {
        EXPECT_EQ(S_OK, stream.ProcessSample(sample));
        const auto events = takeEvents(&stream);
        EXPECT_EQ(2u, events.size());
        return events.empty() ? CComPtr<IMFMediaEvent>() : events.front();
    }
    static LONGLONG valueOf(IMFMediaEvent *event)
    {
        PROPVARIANT value;
        PropVariantInit(&value);
        EXPECT_EQ(S_OK, event->GetValue(&value));
        EXPECT_EQ(VT_I8, value.vt);
        return value.hVal.QuadPart;
    }
};

} // namespace

TEST_F(NDISinkStreamLatencyTest, WithoutAClockASampleTellsNoLatency)
{
    makeStarted();
    EXPECT_EQ(S_OK, stream.ProcessSample(sampleAt(0)));
    EXPECT_EQ((Types{MEStreamSinkRequestSample}), takeEventTypes(&stream));
    EXPECT_EQ(0, log.countContaining("Latency"));
}

TEST_F(NDISinkStreamLatencyTest, AClockThatCannotTellTheTimeTellsNoLatency)
{
    const CComPtr<FakeClock> clock(new FakeClock);
    clock->timeResult = MF_E_CLOCK_NO_TIME_SOURCE;
    stream.setPresentationClock(clock);
    makeStarted();
    EXPECT_EQ(S_OK, stream.ProcessSample(sampleAt(0)));
    EXPECT_EQ((Types{MEStreamSinkRequestSample}), takeEventTypes(&stream));
    EXPECT_EQ(0, log.countContaining("Latency"));
}

TEST_F(NDISinkStreamLatencyTest, AClockAheadOfTheSampleIsAPositiveLatencyAndOneBehindItANegative)
{
    const CComPtr<FakeClock> clock(new FakeClock);
    stream.setPresentationClock(clock);
    makeStarted();
    clock->time = 1'123'456;
    const auto late = qualityOf(sampleAt(1'000'000));
    MediaEventType type = MEUnknown;
    GUID extended = GUID_NULL;
    HRESULT status = E_UNEXPECTED;
    late->GetType(&type);
    late->GetExtendedType(&extended);
    late->GetStatus(&status);
    EXPECT_EQ(MEQualityNotify, type);
    const GUID processingLatency = {0xf6b44af8, 0x604d, 0x46fe, {0xa9, 0x5d, 0x45, 0x47, 0x9b, 0x10, 0xc9, 0xbc}};
    EXPECT_TRUE(IsEqualGUID(processingLatency, extended));
    EXPECT_EQ(S_OK, status);
    EXPECT_EQ(123'456, valueOf(late));
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Latency: 12.35 ms"));

    EXPECT_EQ(-500'000, valueOf(qualityOf(sampleAt(1'623'456))));
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Latency: -50.00 ms"));
}

TEST_F(NDISinkStreamLatencyTest, ASampleWithoutATimeCountsAsOneOfTimeZero)
{
    const CComPtr<FakeClock> clock(new FakeClock);
    clock->time = 70'000;
    stream.setPresentationClock(clock);
    makeStarted();
    EXPECT_EQ(70'000, valueOf(qualityOf(emptySample())));
}

TEST_F(NDISinkStreamLatencyTest, TimesAtTheEndsOfTheirRangeDoNoHarm)
{
    const CComPtr<FakeClock> clock(new FakeClock);
    stream.setPresentationClock(clock);
    makeStarted();
    for (const LONGLONG time : {INT64_MIN, INT64_MAX}) {
        clock->time = ~time;
        EXPECT_TRUE(qualityOf(sampleAt(time)));
    }
}

TEST_F(NDISinkStreamLatencyTest, TheClockIsHeldUntilAnotherOrTheShutdown)
{
    const CComPtr<FakeClock> first(new FakeClock);
    const CComPtr<FakeClock> second(new FakeClock);
    EXPECT_EQ(S_OK, stream.setPresentationClock(first));
    EXPECT_EQ(S_OK, stream.setPresentationClock(first));
    EXPECT_EQ(2u, referencesOf(first));
    EXPECT_EQ(S_OK, stream.setPresentationClock(second));
    EXPECT_EQ(1u, referencesOf(first));
    EXPECT_EQ(2u, referencesOf(second));
    EXPECT_EQ(S_OK, stream.Shutdown());
    EXPECT_EQ(1u, referencesOf(second));
}
