#include "tests/source/StreamHarness.h"
#include "tests/support/RefusingSample.h"

namespace
{

class NDISourceStreamTest : public StreamsTest
{
};

} // namespace

TEST_F(NDISourceStreamTest, ARepeatedTimecodeContinuesEvenlyFromTheSampleBefore)
{
    VideoStream &stream = videoStream();
    const auto first = plainSample();
    const auto repeated = plainSample();
    const auto backwards = plainSample();
    const auto distant = plainSample();
    EXPECT_EQ(S_OK, stream.stampSample(first, 1'000'000, 400'000));
    EXPECT_EQ(S_OK, stream.stampSample(repeated, 1'000'000, 400'000));
    EXPECT_EQ(S_OK, stream.stampSample(backwards, 5, 400'000));
    EXPECT_EQ(S_OK, stream.stampSample(distant, 900 * oneSecond, 400'000));
    EXPECT_EQ(1'000'000, timeOf(first));
    EXPECT_EQ(1'400'000, timeOf(repeated));
    EXPECT_EQ(1'800'000, timeOf(backwards));
    EXPECT_EQ(900 * oneSecond, timeOf(distant));
    EXPECT_EQ(400'000, durationOf(distant));
}

TEST_F(NDISourceStreamTest, SeekingIsNotImplemented)
{
    PROPVARIANT position;
    PropVariantInit(&position);
    EXPECT_EQ(E_NOTIMPL, videoStream().OnSeek(position));
}

TEST_F(NDISourceStreamTest, TheMediaTypeListHoldsExactlyTheCurrentType)
{
    VideoStream &stream = videoStream();
    EXPECT_EQ(1u, stream.GetMediaTypes().size());
    EXPECT_FALSE(stream.GetMediaTypes().front());
    const auto type = videoType(MFVideoFormat_UYVY);
    EXPECT_EQ(S_OK, stream.setMediaType(type));
    EXPECT_EQ(S_OK, stream.setMediaType(type));
    ASSERT_EQ(1u, stream.GetMediaTypes().size());
    EXPECT_EQ(type.p, stream.GetMediaTypes().front().p);
}

TEST_F(NDISourceStreamTest, AfterStopTheFirstFrameKeepsItsOwnTime)
{
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 100 * oneSecond), noise(64 * 2 * 36));
    ndi.pushVideo(videoFrame(64, 36, 500 * oneSecond), noise(64 * 2 * 36));
    requestSample(streams[0]);
    const LONGLONG before = timeOf(requestSample(streams[0]));
    ASSERT_EQ(S_OK, source->Stop());
    ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 100 * oneSecond), noise(64 * 2 * 36));
    EXPECT_LT(timeOf(requestSample(streams[0])), before - 300 * oneSecond);
}

TEST_F(NDISourceStreamTest, StoppingTheSourceDropsWhatWaits)
{
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ndi.pushAudio(audioFrame(48000, 2, 480, oneSecond), tone(2, 480));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.freedFrames == 1; }));
    ASSERT_EQ(S_OK, source->Stop());
    ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    start(source);
    ndi.pushAudio(audioFrame(48000, 2, 96, 2 * oneSecond), tone(2, 96));
    // The sample that waited before the stop had 480 samples.
    EXPECT_EQ(20'000, durationOf(requestSample(streams[1])));
}

TEST_F(NDISourceStreamTest, ASampleThatRefusesItsTimeIsReportedAndTheLastTimeStays)
{
    VideoStream &stream = videoStream();
    const auto before = plainSample();
    ASSERT_EQ(S_OK, stream.stampSample(before, 1'000'000, 400'000));
    RefusingSample refusing;
    refusing.timeResult = E_OUTOFMEMORY;
    EXPECT_EQ(E_OUTOFMEMORY, stream.stampSample(&refusing, 9'000'000, 400'000));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [sample->SetSampleTime(timecode)] (HR=0x8007000E)"));
    const auto after = plainSample();
    ASSERT_EQ(S_OK, stream.stampSample(after, 2'000'000, 400'000));
    EXPECT_EQ(2'000'000, timeOf(after));
}

TEST_F(NDISourceStreamTest, ASampleThatRefusesItsDurationIsReportedAndTheLastTimeStays)
{
    VideoStream &stream = videoStream();
    const auto before = plainSample();
    ASSERT_EQ(S_OK, stream.stampSample(before, 1'000'000, 400'000));
    RefusingSample refusing;
    refusing.durationResult = E_FAIL;
    EXPECT_EQ(E_FAIL, stream.stampSample(&refusing, 9'000'000, 400'000));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [sample->SetSampleDuration(duration)] (HR=0x80004005)"));
    const auto after = plainSample();
    ASSERT_EQ(S_OK, stream.stampSample(after, 2'000'000, 400'000));
    EXPECT_EQ(2'000'000, timeOf(after));
}

TEST_F(NDISourceStreamTest, ATimeOfZeroCountsAsNoTime)
{
    VideoStream &stream = videoStream();
    for (int round = 0; round < 2; ++round) {
        const auto sample = plainSample();
        ASSERT_EQ(S_OK, stream.stampSample(sample, 0, 400'000));
        EXPECT_EQ(0, timeOf(sample));
    }
}

TEST_F(NDISourceStreamTest, SettingTheCurrentTypeAgainTakesNoFurtherReference)
{
    AudioStream &stream = audioStream();
    const auto type = stream.createDefaultMediaType();
    ASSERT_EQ(S_OK, stream.setMediaType(type));
    type.p->AddRef();
    const ULONG references = type.p->Release();
    EXPECT_EQ(S_OK, stream.setMediaType(type));
    type.p->AddRef();
    EXPECT_EQ(references, type.p->Release());
    EXPECT_EQ(type.p, stream.m_mediaType.p);
}

TEST_F(NDISourceStreamTest, FlushAndEndOfDataPassOnWhatTheRequestManagerSays)
{
    VideoStream &stream = videoStream();
    EXPECT_EQ(S_OK, stream.flushRequestManager());
    EXPECT_EQ(S_OK, stream.notifyConnectionLost());
    stream.Shutdown();
    EXPECT_EQ(MF_E_SHUTDOWN, stream.flushRequestManager());
    EXPECT_EQ(MF_E_SHUTDOWN, stream.notifyConnectionLost());
}

TEST_F(NDISourceStreamTest, ATypeChangeThatIsNotTakenLeavesTheCurrentType)
{
    VideoStream &video = videoStream();
    const auto type = videoType(MFVideoFormat_UYVY);
    ASSERT_EQ(S_OK, video.setMediaType(type));
    video.Shutdown();
    auto picture = noise(128 * 2 * 36);
    auto frame = videoFrame(128, 36, oneSecond);
    frame.p_data = picture.data();
    EXPECT_EQ(MF_E_SHUTDOWN, video.processFrame(frame, nullptr));
    EXPECT_EQ(type.p, video.m_mediaType.p);

    AudioStream &audio = audioStream();
    audio.Shutdown();
    auto values = tone(2, 441);
    auto sound = audioFrame(44100, 2, 441, oneSecond);
    sound.p_data = values.data();
    EXPECT_EQ(MF_E_SHUTDOWN, audio.processFrame(sound, nullptr));
    EXPECT_FALSE(audio.m_mediaType);

    EXPECT_EQ(2,
              log.count(QtCriticalMsg, sourceLog, " [m_requestManager->PushMediaTypeChange(newType)] (HR=0xC00D3E85)"));
    EXPECT_EQ(2, log.count(QtCriticalMsg, sourceLog, " [changeMediaType(frame)] (HR=0xC00D3E85)"));
}
