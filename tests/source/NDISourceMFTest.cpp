#include "source/NDISourceMF.h"

#include "hostfw/ComException.h"
#include "plugin/AsyncOperationInterrupted.h"
#include "tests/source/SourceHarness.h"

#include <QtCore/QMetaMethod>

#include <thread>

namespace
{

constexpr LONGLONG second = 10'000'000;

class NDISourceMFTest : public SourceTest
{
};

} // namespace

TEST_F(NDISourceMFTest, ConnectsInTheFastestFormatAtTheHighestBandwidthWithFields)
{
    const auto source = makeSource();
    const auto calls = ndi.calls();
    ASSERT_EQ(1u, calls.receiverSettings.size());
    EXPECT_EQ(NDIlib_recv_color_format_fastest, calls.receiverSettings[0].color_format);
    EXPECT_EQ(NDIlib_recv_bandwidth_highest, calls.receiverSettings[0].bandwidth);
    EXPECT_TRUE(calls.receiverSettings[0].allow_video_fields);
    EXPECT_EQ(std::make_pair(std::string("HOST (Camera)"), std::string("10.0.0.1:5961")), calls.connectedTo[0]);
    ASSERT_EQ(1u, calls.findSettings.size());
    EXPECT_TRUE(calls.findSettings[0].show_local_sources);
    EXPECT_EQ(calls.findersMade, calls.findersDestroyed);
    DWORD characteristics = 0;
    EXPECT_EQ(S_OK, source->GetCharacteristics(&characteristics));
    EXPECT_EQ(DWORD(MFMEDIASOURCE_IS_LIVE), characteristics);
}

TEST_F(NDISourceMFTest, ASenderAtAnotherAddressIsNotTakenAndTheSearchWaitsInStepsOf250Ms)
{
    ndi.setSources({{"HOST (Camera)", "10.0.0.9:5961"}});
    CComPtr<NDISourceMF> source;
    std::thread search([&] {
        HRESULT hr = S_OK;
        source = new NDISourceMF(hr, parameters());
    });
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 2; }));
    EXPECT_TRUE(ndi.calls().connectedTo.empty());
    for (const uint32_t timeout : ndi.calls().waitTimeouts)
        EXPECT_EQ(250u, timeout);
    ndi.setSources({{"HOST (Camera)", "10.0.0.9:5961"}, {"HOST (Camera)", "10.0.0.1:5961"}});
    search.join();
    EXPECT_EQ("10.0.0.1:5961", ndi.calls().connectedTo.at(0).second);
}

TEST_F(NDISourceMFTest, OfTwoSendersWithTheSameNameAndAddressTheFirstIsTaken)
{
    ndi.setSources({{"HOST (Camera)", "10.0.0.1:5961"}, {"HOST (Camera)", "10.0.0.1:5961"}});
    const auto source = makeSource();
    EXPECT_EQ(1, ndi.calls().receiversMade);
}

TEST_F(NDISourceMFTest, WithoutAStreamConstructionFailsAfterTheReceiverWasMadeAndDestroysItWithTheObject)
{
    HRESULT hr = S_OK;
    CComPtr<NDISourceMF> source(new NDISourceMF(hr, parameters(false, false)));
    EXPECT_EQ(E_FAIL, hr);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "No NDI streams found"));
    EXPECT_EQ(1, ndi.calls().receiversMade);
    EXPECT_EQ(0, ndi.calls().receiversDestroyed);
    source.Release();
    EXPECT_EQ(1, ndi.calls().receiversDestroyed);
}

TEST_F(NDISourceMFTest, WithoutAFinderConstructionReportsEPointer)
{
    ndi.refuseFinders(true);
    HRESULT hr = S_OK;
    const CComPtr<NDISourceMF> source(new NDISourceMF(hr, parameters()));
    EXPECT_EQ(E_POINTER, hr);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [finder is null]"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "Null pointer"));
}

TEST_F(NDISourceMFTest, WithoutAReceiverConstructionReportsEPointer)
{
    ndi.refuseReceivers(true);
    HRESULT hr = S_OK;
    const CComPtr<NDISourceMF> source(new NDISourceMF(hr, parameters()));
    EXPECT_EQ(E_POINTER, hr);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [reciever is null]"));
    EXPECT_EQ(1, ndi.calls().findersDestroyed);
}

TEST_F(NDISourceMFTest, ACancelledSearchLeavesTheConstructor)
{
    ndi.setSources({});
    const auto params = parameters();
    params.cancellationToken->cancel();
    HRESULT hr = S_OK;
    EXPECT_THROW(NDISourceMF(hr, params), AsyncOperationInterrupted);
    EXPECT_EQ(1, ndi.calls().findersDestroyed);
}

TEST_F(NDISourceMFTest, AudioAloneIsStreamOneAndTheSourceIsNotMarkedForDirect3D)
{
    const auto source = makeSource(parameters(false, true));
    CComPtr<IMFPresentationDescriptor> descriptor;
    ASSERT_EQ(S_OK, source->CreatePresentationDescriptor(&descriptor));
    DWORD count = 0;
    descriptor->GetStreamDescriptorCount(&count);
    ASSERT_EQ(1u, count);
    BOOL selected = FALSE;
    CComPtr<IMFStreamDescriptor> stream;
    descriptor->GetStreamDescriptorByIndex(0, &selected, &stream);
    DWORD identifier = 99;
    stream->GetStreamIdentifier(&identifier);
    EXPECT_EQ(1u, identifier);
    CComPtr<IMFAttributes> attributes;
    ASSERT_EQ(S_OK, source->GetSourceAttributes(&attributes));
    UINT32 aware = 0;
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, attributes->GetUINT32(MF_SA_D3D11_AWARE, &aware));
}

TEST_F(NDISourceMFTest, ASourceWithVideoIsMarkedForDirect3D)
{
    const auto source = makeSource(parameters(true, false));
    CComPtr<IMFAttributes> attributes;
    ASSERT_EQ(S_OK, source->GetSourceAttributes(&attributes));
    UINT32 aware = 0;
    EXPECT_EQ(S_OK, attributes->GetUINT32(MF_SA_D3D11_AWARE, &aware));
    EXPECT_EQ(1u, aware);
}

TEST_F(NDISourceMFTest, SamplesFlowOnRequestWithTheirTimesRebased)
{
    auto params = parameters(true, false);
    params.delay = HnsTime::milliseconds(500);
    const auto source = makeSource(params);
    start(source);
    const LONGLONG timecodes[] = {7'000'000'000, 7'000'400'000, 7'001'000'000};
    for (const LONGLONG timecode : timecodes)
        ndi.pushVideo(videoFrame(64, 36, timecode), noise(64 * 2 * 36));
    const LONGLONG first = timeOf(requestSample(streams[0]));
    // The delay and the time since the receiver was made, which this test does not know but bounds.
    EXPECT_GE(first, 5'000'000);
    EXPECT_LT(first, 5'000'000 + 30 * second);
    EXPECT_EQ(first + 400'000, timeOf(requestSample(streams[0])));
    EXPECT_EQ(first + 1'000'000, timeOf(requestSample(streams[0])));
    source->Shutdown();
}

TEST_F(NDISourceMFTest, AFrameWithoutATimecodeTakesTheTimeSinceTheReceiverWasMade)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 0), noise(64 * 2 * 36));
    // Its origin is minus the elapsed time, so the elapsed time counts twice.
    const LONGLONG first = timeOf(requestSample(streams[0]));
    EXPECT_GT(first, 0);
    EXPECT_LT(first, 60 * second);
    EXPECT_EQ(1, log.countContaining("Video frame read: "));
    source->Shutdown();
}

TEST_F(NDISourceMFTest, AStreamThatWaitsForVideoReadsOnAndAudioIsDeliveredOnTheWay)
{
    const auto source = makeSource();
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    for (int index = 0; index < 3; ++index)
        ndi.pushAudio(audioFrame(48000, 2, 480, second + index * 100'000), tone(2, 480));
    ndi.pushVideo(videoFrame(64, 36, second), noise(64 * 2 * 36));
    EXPECT_TRUE(nextSample(streams[0]));
    for (int index = 0; index < 3; ++index)
        EXPECT_TRUE(requestSample(streams[1]));
    EXPECT_EQ(1, log.countContaining("Video frame read: "));
    EXPECT_EQ(3, log.countContaining("Audio frame read: "));
    source->Shutdown();
}

TEST_F(NDISourceMFTest, FramesOfAStreamThatIsNotThereAreGivenBack)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    ndi.pushAudio(audioFrame(48000, 2, 480, second), tone(2, 480));
    ndi.pushVideo(videoFrame(64, 36, second), noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.freedFrames == 2; }));
    source->Shutdown();
}

TEST_F(NDISourceMFTest, MetadataIsEmittedWithoutItsTerminatingZeroAndEmptyMetadataAsAnEmptyArray)
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
    ndi.pushVideo(videoFrame(64, 36, second), noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    const std::lock_guard<std::mutex> lock(mutex);
    ASSERT_EQ(2u, received.size());
    EXPECT_EQ(QByteArray("<hello/>"), received[0]);
    EXPECT_EQ(QByteArray(), received[1]);
    source->Shutdown();
}

TEST_F(NDISourceMFTest, AnErrorFrameEndsBothStreamsAndTheSource)
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

TEST_F(NDISourceMFTest, StatusChangesAndTimeoutsOnlyReadOn)
{
    const auto source = makeSource();
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ndi.pushType(NDIlib_frame_type_status_change);
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.captures >= 3; }));
    ndi.pushVideo(videoFrame(64, 36, second), noise(64 * 2 * 36));
    EXPECT_TRUE(nextSample(streams[0]));
    source->Shutdown();
}

TEST_F(NDISourceMFTest, CaptureWithoutAReceiverIsSFalseAndPostsNothing)
{
    ndi.refuseReceivers(true);
    HRESULT hr = S_OK;
    const CComPtr<NDISourceMF> source(new NDISourceMF(hr, parameters()));
    EXPECT_EQ(S_FALSE, source->captureFrame(NDIlib_frame_type_video));
    EXPECT_EQ(0, ndi.calls().captures);
}

TEST_F(NDISourceMFTest, StopAndStartMakeANewReceiverAndANewOrigin)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 900 * second), noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    ASSERT_EQ(S_OK, source->Stop());
    ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    start(source);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversMade == 2; }));
    // Earlier by far than the first one: with the old origin its time would be negative.
    ndi.pushVideo(videoFrame(64, 36, 5 * second), noise(64 * 2 * 36));
    const LONGLONG time = timeOf(requestSample(streams[0]));
    EXPECT_GE(time, 0);
    EXPECT_LT(time, 60 * second);
    source->Shutdown();
}

TEST_F(NDISourceMFTest, TheTallyIsAppliedAtOnceAndByEveryNewReceiver)
{
    const auto source = makeSource();
    NDIlib_tally_t tally;
    tally.on_program = true;
    source->setTally(tally);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.tallies.size() == 2; }));
    EXPECT_FALSE(ndi.calls().tallies[0].on_program);
    EXPECT_TRUE(ndi.calls().tallies[1].on_program);
    EXPECT_FALSE(ndi.calls().tallies[1].on_preview);
    start(source);
    ASSERT_EQ(S_OK, source->Stop());
    ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    // Without a receiver it is only kept.
    tally.on_preview = true;
    source->setTally(tally);
    start(source);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.tallies.size() == 3; }));
    EXPECT_TRUE(ndi.calls().tallies[2].on_program);
    EXPECT_TRUE(ndi.calls().tallies[2].on_preview);
    source->Shutdown();
}

TEST_F(NDISourceMFTest, StoppingAfterShutdownReportsTheBasesFailure)
{
    const auto source = makeSource();
    ASSERT_EQ(S_OK, source->Shutdown());
    EXPECT_EQ(MF_E_SHUTDOWN, source->Stop());
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [__super::Stop()] (HR=0xC00D3E85)"));
}

TEST_F(NDISourceMFTest, AShutdownWhileFramesAreAwaitedEndsTheReading)
{
    const auto source = makeSource();
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.captures >= 2; }));
    ASSERT_EQ(S_OK, source->Shutdown());
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    EXPECT_EQ(MF_E_SHUTDOWN, source->Shutdown());
}

TEST_F(NDISourceMFTest, HostileTimecodesDoNoHarm)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    for (const int64_t timecode : {INT64_MAX, INT64_MIN, int64_t(-1), INT64_MAX, int64_t(0), INT64_MAX - 1})
        ndi.pushVideo(videoFrame(64, 36, timecode), noise(64 * 2 * 36));
    for (int index = 0; index < 6; ++index)
        EXPECT_TRUE(requestSample(streams[0]));
    source->Shutdown();
}

TEST_F(NDISourceMFTest, LongMixedTrafficLeavesNoReadsBehind)
{
    const auto source = makeSource();
    start(source);
    constexpr int rounds = 300;
    for (int round = 0; round < rounds; ++round) {
        ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
        ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
        ndi.pushAudio(audioFrame(48000, 2, 48, second + round * 10'000), tone(2, 48));
        ndi.pushVideo(videoFrame(64, 36, second + round * 10'000), noise(64 * 2 * 36));
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

TEST_F(NDISourceMFTest, HasItsTwoSignalsInOrder)
{
    const QMetaObject &meta = NDISourceMF::staticMetaObject;
    ASSERT_EQ(2, meta.methodCount() - meta.methodOffset());
    EXPECT_EQ(QByteArray("sessionRecreationRequested()"), meta.method(meta.methodOffset()).methodSignature());
    EXPECT_EQ(QByteArray("metadataRecieved(QByteArray)"), meta.method(meta.methodOffset() + 1).methodSignature());
    EXPECT_EQ(QMetaMethod::Signal, meta.method(meta.methodOffset() + 1).methodType());
}
