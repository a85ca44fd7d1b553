#include "source/NDISourceMF.h"

#include "tests/source/SourceHarness.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>

namespace
{

class NDISourceMFCaptureTest : public SourceTest
{
};

// The system's time, once it is later than that.
LONGLONG timeAfter(LONGLONG before)
{
    LONGLONG now = before;
    while (now <= before)
        now = HnsTime::systemTime();
    return now;
}

} // namespace

TEST_F(NDISourceMFCaptureTest, TheFirstSampleComesAtTheDelayAndTheTimeSinceTheReceiverWasMadeAndTheOthersKeepDistance)
{
    auto params = parameters(true, false);
    params.delay = HnsTime::milliseconds(500);
    const LONGLONG delay = params.delay;
    const LONGLONG beforeMaking = HnsTime::systemTime();
    const auto source = makeSource(params);
    const LONGLONG afterMaking = HnsTime::systemTime();
    start(source);
    const LONGLONG pushed = timeAfter(afterMaking);
    const LONGLONG timecodes[] = {7'000'000'000, 7'000'400'000, 7'001'000'000};
    for (const LONGLONG timecode : timecodes)
        ndi.pushVideo(videoFrame(64, 36, timecode), noise(64 * 2 * 36));
    const LONGLONG first = timeOf(requestSample(streams[0]));
    const LONGLONG received = HnsTime::systemTime();
    EXPECT_GE(first, delay + pushed - afterMaking);
    EXPECT_LE(first, delay + received - beforeMaking);
    EXPECT_EQ(first + 400'000, timeOf(requestSample(streams[0])));
    EXPECT_EQ(first + 1'000'000, timeOf(requestSample(streams[0])));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, AFirstFrameWithoutATimecodeCountsTheTimeSinceTheReceiverWasMadeTwice)
{
    const LONGLONG beforeMaking = HnsTime::systemTime();
    const auto source = makeSource(parameters(true, false));
    const LONGLONG afterMaking = HnsTime::systemTime();
    start(source);
    const LONGLONG pushed = timeAfter(afterMaking);
    ndi.pushVideo(videoFrame(64, 36, 0), noise(64 * 2 * 36));
    constexpr LONGLONG timecode = 700 * oneSecond;
    ndi.pushVideo(videoFrame(64, 36, timecode), noise(64 * 2 * 36));
    const LONGLONG first = timeOf(requestSample(streams[0]));
    const LONGLONG received = HnsTime::systemTime();
    // It is taken for that time, and the origin lies as far before zero, as the next frame shows.
    const LONGLONG elapsed = timeOf(requestSample(streams[0])) - timecode;
    EXPECT_GE(elapsed, pushed - afterMaking);
    EXPECT_LE(elapsed, received - beforeMaking);
    EXPECT_EQ(2 * elapsed, first);
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, ALaterFrameWithoutATimecodeTakesTheTimeSinceTheReceiverWasMade)
{
    const LONGLONG beforeMaking = HnsTime::systemTime();
    const auto source = makeSource(parameters(true, false));
    const LONGLONG afterMaking = HnsTime::systemTime();
    start(source);
    // An origin before zero, so that the rebased time is later than the first sample's and stays as it is.
    constexpr LONGLONG timecode = -700 * oneSecond;
    ndi.pushVideo(videoFrame(64, 36, timecode), noise(64 * 2 * 36));
    const LONGLONG origin = timecode - timeOf(requestSample(streams[0]));
    const LONGLONG pushed = HnsTime::systemTime();
    ndi.pushVideo(videoFrame(64, 36, 0), noise(64 * 2 * 36));
    const LONGLONG elapsed = timeOf(requestSample(streams[0])) + origin;
    const LONGLONG received = HnsTime::systemTime();
    EXPECT_GE(elapsed, pushed - afterMaking);
    EXPECT_LE(elapsed, received - beforeMaking);
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, AStreamThatWaitsForVideoReadsOnAndAudioIsDeliveredOnTheWay)
{
    const auto source = makeSource();
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    for (int index = 0; index < 3; ++index)
        ndi.pushAudio(audioFrame(48000, 2, 480, oneSecond + index * 100'000), tone(2, 480));
    ndi.pushVideo(videoFrame(64, 36, oneSecond), noise(64 * 2 * 36));
    EXPECT_TRUE(nextSample(streams[0]));
    for (int index = 0; index < 3; ++index)
        EXPECT_TRUE(requestSample(streams[1]));
    EXPECT_EQ(1, log.countContaining("Video frame read: "));
    EXPECT_EQ(3, log.countContaining("Audio frame read: "));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, FramesOfAStreamThatIsNotThereAreGivenBack)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    ndi.pushAudio(audioFrame(48000, 2, 480, oneSecond), tone(2, 480));
    ndi.pushVideo(videoFrame(64, 36, oneSecond), noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.freedFrames == 2; }));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, MetadataIsEmittedWithoutItsTerminatingZeroAndEmptyMetadataAsAnEmptyArray)
{
    const auto source = makeSource();
    std::vector<QByteArray> received;
    std::mutex mutex;
    QObject::connect(source.p, &NDISourceMF::metadataRecieved, [&](const QByteArray &text) {
        const std::lock_guard<std::mutex> lock(mutex);
        received.push_back(text);
    });
    start(source);
    ndi.pushMetadata("<hello/>");
    ndi.pushMetadata("");
    ndi.pushVideo(videoFrame(64, 36, oneSecond), noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    const std::lock_guard<std::mutex> lock(mutex);
    ASSERT_EQ(2u, received.size());
    EXPECT_EQ(QByteArray("<hello/>"), received[0]);
    EXPECT_EQ(QByteArray(), received[1]);
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, AnErrorFrameEndsBothStreamsAndTheSource)
{
    const auto source = makeSource();
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    ndi.pushType(NDIlib_frame_type_error);
    EXPECT_TRUE(waitForEvent(streams[0], MEEndOfStream));
    EXPECT_TRUE(waitForEvent(streams[1], MEEndOfStream));
    EXPECT_TRUE(waitForEvent(source, MEEndOfPresentation));
    EXPECT_EQ(1, log.count(QtInfoMsg, sourceLog, "Connection lost"));
    EXPECT_EQ(0, ndi.calls().receiversDestroyed);
    EXPECT_EQ(MF_E_END_OF_STREAM, streams[0]->RequestSample(nullptr));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, StatusChangesAndTimeoutsOnlyReadOn)
{
    const auto source = makeSource();
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ndi.pushType(NDIlib_frame_type_status_change);
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.captures >= 3; }));
    ndi.pushVideo(videoFrame(64, 36, oneSecond), noise(64 * 2 * 36));
    EXPECT_TRUE(nextSample(streams[0]));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, CaptureWithoutAReceiverIsSFalseAndPostsNothing)
{
    ndi.refuseReceivers(true);
    HRESULT hr = S_OK;
    const CComPtr<NDISourceMF> source(new NDISourceMF(hr, parameters()));
    EXPECT_EQ(S_FALSE, source->captureFrame(NDIlib_frame_type_video));
    EXPECT_EQ(0, ndi.calls().captures);
}

TEST_F(NDISourceMFCaptureTest, HostileTimecodesDoNoHarm)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    for (const int64_t timecode : {INT64_MAX, INT64_MIN, int64_t(-1), INT64_MAX, int64_t(0), INT64_MAX - 1})
        ndi.pushVideo(videoFrame(64, 36, timecode), noise(64 * 2 * 36));
    for (int index = 0; index < 6; ++index)
        EXPECT_TRUE(requestSample(streams[0]));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, LongMixedTrafficLeavesNoReadsBehind)
{
    const auto source = makeSource();
    start(source);
    constexpr int rounds = 300;
    for (int round = 0; round < rounds; ++round) {
        ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
        ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
        ndi.pushAudio(audioFrame(48000, 2, 48, oneSecond + round * 10'000), tone(2, 48));
        ndi.pushVideo(videoFrame(64, 36, oneSecond + round * 10'000), noise(64 * 2 * 36));
        ASSERT_TRUE(nextSample(streams[0]));
        ASSERT_TRUE(nextSample(streams[1]));
    }
    // With a read left behind by every round the queue would take minutes to come to the end of the receiver.
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(S_OK, source->Stop());
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, TheFirstFrameOfEitherKindFixesTheOriginOfBoth)
{
    const auto source = makeSource();
    start(source);
    ndi.pushAudio(audioFrame(48000, 2, 480, 700 * oneSecond), tone(2, 480));
    ndi.pushVideo(videoFrame(64, 36, 703 * oneSecond), noise(64 * 2 * 36));
    const LONGLONG audio = timeOf(requestSample(streams[1]));
    EXPECT_EQ(audio + 3 * oneSecond, timeOf(requestSample(streams[0])));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, EveryFrameIsLoggedWithItsTimeSinceTheOriginAndItsTimecode)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 700 * oneSecond), noise(64 * 2 * 36));
    const LONGLONG time = timeOf(requestSample(streams[0]));
    EXPECT_EQ(1,
              log.count(QtDebugMsg, sourceLog, QStringLiteral("Video frame read: %1ms (700000ms)").arg(time / 10'000)));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, EveryAudioFrameIsLoggedAsOne)
{
    const auto source = makeSource(parameters(false, true));
    start(source);
    ndi.pushAudio(audioFrame(48000, 2, 480, 700 * oneSecond), tone(2, 480));
    const LONGLONG time = timeOf(requestSample(streams[0]));
    EXPECT_EQ(1,
              log.count(QtDebugMsg, sourceLog, QStringLiteral("Audio frame read: %1ms (700000ms)").arg(time / 10'000)));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, NoLineNamesAPlaceInTheCode)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    ndi.pushVideo(videoFrame(64, 36, oneSecond, NDIlib_FourCC_video_type_RGBA), noise(64 * 4 * 36));
    ndi.pushVideo(videoFrame(64, 36, oneSecond), noise(64 * 2 * 36));
    ASSERT_TRUE(requestSample(streams[0]));
    source->Shutdown();
    const auto lines = log.lines();
    // A frame read, a check that failed, and so on: debug lines, a warning and critical ones.
    for (const QtMsgType type : {QtDebugMsg, QtWarningMsg, QtCriticalMsg})
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [type](const auto &line) { return line.type == type; }));
    for (const LogCapture::Line &line : lines)
        EXPECT_FALSE(line.hasPlace) << qPrintable(line.text);
}

TEST_F(NDISourceMFCaptureTest, MetadataIsGivenBackWhenWhoeverReceivesItThrows)
{
    const auto source = makeSource();
    QObject::connect(source.p, &NDISourceMF::metadataRecieved, [] { throw std::runtime_error("no use for it"); });
    ndi.pushMetadata("<hello/>");
    EXPECT_THROW(source->captureFrame(NDIlib_frame_type_video), std::runtime_error);
    EXPECT_EQ(1, ndi.calls().freedFrames);
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, AnAudioFrameIsGivenBackWhenItsDeliveryThrows)
{
    const auto source = makeSource(parameters(false, true));
    ndi.setInterleaveHook([] { throw std::runtime_error("no conversion"); });
    ndi.pushAudio(audioFrame(48000, 2, 480, oneSecond), tone(2, 480));
    EXPECT_THROW(source->captureFrame(NDIlib_frame_type_audio), std::runtime_error);
    EXPECT_EQ(1, ndi.calls().freedFrames);
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, AFrameThatItsStreamRefusesIsGivenBackAndTheNextOneIsRead)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    ndi.pushVideo(videoFrame(64, 36, oneSecond, NDIlib_FourCC_video_type_UYVY, 4), noise(64 * 2 * 36));
    ndi.pushVideo(videoFrame(64, 36, oneSecond), {});
    ndi.pushVideo(videoFrame(64, 36, oneSecond), noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.freedFrames == 3; }));
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, ALostConnectionIsTheEndOfTheData)
{
    const auto source = makeSource(parameters(false, true));
    ndi.pushType(NDIlib_frame_type_error);
    EXPECT_EQ(MF_E_END_OF_STREAM, source->captureFrame(NDIlib_frame_type_audio));
    // Nothing reads on.
    EXPECT_EQ(1, ndi.calls().captures);
    source->Shutdown();
}

TEST_F(NDISourceMFCaptureTest, OnlyAFrameOfAnotherKindIsReadOnFrom)
{
    const auto source = makeSource(parameters(false, true));
    ndi.pushAudio(audioFrame(48000, 2, 480, oneSecond), tone(2, 480));
    EXPECT_EQ(S_OK, source->captureFrame(NDIlib_frame_type_audio));
    EXPECT_EQ(1, ndi.calls().captures);
    ndi.pushMetadata("<hello/>");
    ndi.pushAudio(audioFrame(48000, 2, 480, oneSecond), tone(2, 480));
    EXPECT_EQ(S_OK, source->captureFrame(NDIlib_frame_type_audio));
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.freedFrames == 3; }));
    EXPECT_EQ(3, ndi.calls().captures);
    source->Shutdown();
}
