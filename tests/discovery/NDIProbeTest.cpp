#include "tests/discovery/ProbeHarness.h"

#include "hostfw/MediaTypeText.h"
#include "tests/support/EventLoop.h"
#include "tests/support/TypeAttributes.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QThread>

#include <mfapi.h>

#include <chrono>
#include <future>

namespace
{

bool isOfSubtype(IMFMediaType *type, const GUID &subtype)
{
    GUID value = GUID_NULL;
    return SUCCEEDED(type->GetGUID(MF_MT_SUBTYPE, &value)) && IsEqualGUID(value, subtype);
}

bool hasFrameMetadata(IMFAttributes *type)
{
    UINT32 value = 0;
    return SUCCEEDED(type->GetUINT32(NDI_MT_HAS_FRAME_METADATA, &value)) && value == 1;
}

QString quoted(IMFMediaType *type)
{
    return QLatin1Char('"') + to_qstring(type) + QLatin1Char('"');
}

} // namespace

TEST_F(NDIProbeTest, HasOneSignalAndOnePrivateSlotInOrder)
{
    const QMetaObject &meta = NDIProbe::staticMetaObject;
    EXPECT_STREQ("NDIProbe", meta.className());
    EXPECT_EQ(&QObject::staticMetaObject, meta.superClass());
    EXPECT_EQ(0, meta.propertyCount() - meta.propertyOffset());
    EXPECT_EQ(0, meta.enumeratorCount() - meta.enumeratorOffset());
    EXPECT_EQ(0, meta.constructorCount());
    ASSERT_EQ(2, meta.methodCount() - meta.methodOffset());

    const QMetaMethod finished = meta.method(meta.methodOffset());
    EXPECT_EQ(QByteArray("finished(HRESULT)"), finished.methodSignature());
    EXPECT_EQ(QList<QByteArray>{"status"}, finished.parameterNames());
    EXPECT_STREQ("void", finished.typeName());
    EXPECT_EQ(QMetaMethod::Signal, finished.methodType());
    EXPECT_EQ(QMetaMethod::Public, finished.access());

    const QMetaMethod doProbe = meta.method(meta.methodOffset() + 1);
    EXPECT_EQ(QByteArray("doProbe(HnsTime)"), doProbe.methodSignature());
    EXPECT_EQ(QList<QByteArray>{"howLong"}, doProbe.parameterNames());
    EXPECT_STREQ("void", doProbe.typeName());
    EXPECT_EQ(QMetaMethod::Slot, doProbe.methodType());
    EXPECT_EQ(QMetaMethod::Private, doProbe.access());
}

TEST_F(NDIProbeTest, TheTypesOfItsArgumentsAreResolvableByName)
{
    EXPECT_EQ(qMetaTypeId<HRESULT>(), QMetaType::type("HRESULT"));
    EXPECT_EQ(qMetaTypeId<HnsTime>(), QMetaType::type("HnsTime"));
    const QMetaObject &meta = NDIProbe::staticMetaObject;
    EXPECT_EQ(qMetaTypeId<HRESULT>(), meta.method(meta.methodOffset()).parameterType(0));
    EXPECT_EQ(qMetaTypeId<HnsTime>(), meta.method(meta.methodOffset() + 1).parameterType(0));
}

TEST_F(NDIProbeTest, BeginsWithNothingFoundAndNoParent)
{
    EXPECT_EQ(S_OK, probe.status());
    EXPECT_FALSE(probe.videoType());
    EXPECT_FALSE(probe.audioType());
    EXPECT_EQ(nullptr, probe.parent());
    EXPECT_EQ(0, ndi.calls().captures);
}

TEST_F(NDIProbeTest, TheFrameMetadataAttributeHasItsIdentifier)
{
    const GUID expected = {0x4d594d6e, 0x4978, 0x4665, {0xb3, 0xf0, 0x1c, 0xee, 0x07, 0x75, 0xa8, 0x9d}};
    EXPECT_TRUE(IsEqualGUID(expected, NDI_MT_HAS_FRAME_METADATA));
}

TEST_F(NDIProbeTest, LeavesTheReceiverToItsOwner)
{
    {
        NDIProbe other(receiver);
    }
    EXPECT_EQ(0, ndi.calls().receiversDestroyed);
}

TEST_F(NDIProbeTest, EndsWithTheSecondKindHoweverLongItMayTake)
{
    pushVideo();
    pushVideo();
    pushAudio();
    pushVideo();
    doProbe(forever);
    EXPECT_EQ(1u, ndi.framesLeft());
    EXPECT_EQ(3, ndi.calls().captures);
    EXPECT_EQ(3, ndi.calls().freedFrames);
    EXPECT_EQ(S_OK, probe.status());
    EXPECT_EQ(std::vector<HRESULT>{S_OK}, outcomes);
}

TEST_F(NDIProbeTest, EndsWithTheSecondKindWhenSoundComesFirst)
{
    pushAudio();
    pushVideo();
    pushVideo();
    doProbe(forever);
    EXPECT_EQ(1u, ndi.framesLeft());
    EXPECT_TRUE(probe.videoType());
    EXPECT_TRUE(probe.audioType());
}

TEST_F(NDIProbeTest, KeepsTheTypeOfTheFirstFrameOfEachKind)
{
    pushVideo();
    ndi.pushVideo(videoFrame(NDIlib_FourCC_video_type_BGRA), {});
    pushAudio();
    doProbe(forever);
    const auto video = probe.videoType();
    ASSERT_TRUE(video);
    EXPECT_TRUE(isOfSubtype(video, MFVideoFormat_UYVY));
    UINT32 width = 0;
    UINT32 height = 0;
    EXPECT_EQ(S_OK, MFGetAttributeSize(video, MF_MT_FRAME_SIZE, &width, &height));
    EXPECT_EQ(640u, width);
    EXPECT_EQ(360u, height);
    const auto audio = probe.audioType();
    ASSERT_TRUE(audio);
    EXPECT_TRUE(isOfSubtype(audio, MFAudioFormat_Float));
    EXPECT_EQ(44100u, numberOf(audio, MF_MT_AUDIO_SAMPLES_PER_SECOND));
}

TEST_F(NDIProbeTest, GivesTheCallerAReferenceOfItsOwn)
{
    CComPtr<IMFMediaType> video;
    {
        NDIProbe other(receiver);
        pushVideo();
        pushAudio();
        other.reprobe(forever);
        video = other.videoType();
        EXPECT_TRUE(video.IsEqualObject(other.videoType()));
    }
    ASSERT_TRUE(video);
    video.p->AddRef();
    EXPECT_EQ(1u, video.p->Release());
}

TEST_F(NDIProbeTest, WaitsTenSecondsForEachFrame)
{
    pushVideo();
    doProbe(0);
    EXPECT_EQ(10'000u, ndi.calls().captureTimeout);
}

TEST_F(NDIProbeTest, NothingButAFrameStartsTheTimeLimit)
{
    ndi.pushMetadata("<a/>");
    ndi.pushType(NDIlib_frame_type_status_change);
    ndi.pushType(NDIlib_frame_type_none);
    ndi.pushType(static_cast<NDIlib_frame_type_e>(77));
    ndi.pushMetadata("<b/>");
    pushVideo();
    pushVideo();
    doProbe(0);
    // The first frame is met although the limit is 0, and ends the run, since then the limit counts.
    EXPECT_EQ(6, ndi.calls().captures);
    EXPECT_EQ(1u, ndi.framesLeft());
    EXPECT_EQ(3, ndi.calls().freedFrames);
    EXPECT_EQ(std::vector<HRESULT>{S_OK}, outcomes);
}

TEST_F(NDIProbeTest, ASoundFrameStartsTheTimeLimitToo)
{
    pushAudio();
    pushAudio();
    doProbe(0);
    EXPECT_EQ(1, ndi.calls().captures);
    EXPECT_FALSE(probe.videoType());
    EXPECT_TRUE(probe.audioType());
    EXPECT_EQ(S_OK, probe.status());
}

TEST_F(NDIProbeTest, WithVideoOnlyEndsWhenTheTimeHasPassedSinceTheFirstFrame)
{
    const HnsTime howLong = HnsTime::milliseconds(60);
    const HnsTime before = HnsTime::systemTime();
    auto run = std::async(std::launch::async, [&] { doProbe(howLong); });
    // A receiver that delivers a frame every few milliseconds.
    int pushed = 0;
    do {
        pushVideo();
        ++pushed;
    } while (run.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready && pushed < 4000);
    ASSERT_LT(pushed, 4000);
    EXPECT_FALSE(HnsTime::systemTime() - before < howLong);
    EXPECT_GT(ndi.calls().captures, 1);
    EXPECT_TRUE(probe.videoType());
    EXPECT_FALSE(probe.audioType());
    EXPECT_EQ(S_OK, probe.status());
    EXPECT_EQ(std::vector<HRESULT>{S_OK}, outcomes);
}

TEST_F(NDIProbeTest, ALostConnectionEndsTheRunWithoutTheSignal)
{
    pushVideo();
    ndi.pushType(NDIlib_frame_type_error);
    pushAudio();
    doProbe(forever);
    EXPECT_EQ(E_FAIL, probe.status());
    EXPECT_TRUE(outcomes.empty());
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "NDI probing error: \"Connection lost\""));
    EXPECT_EQ(2, ndi.calls().captures);
    // What was found before stays.
    EXPECT_TRUE(probe.videoType());
    EXPECT_FALSE(probe.audioType());
}

TEST_F(NDIProbeTest, ARunAfterAFailedOneGoesOnWithWhatIsMissing)
{
    pushVideo();
    ndi.pushType(NDIlib_frame_type_error);
    doProbe(forever);
    const auto video = probe.videoType();
    pushAudio();
    doProbe(forever);
    EXPECT_EQ(S_OK, probe.status());
    EXPECT_TRUE(video.IsEqualObject(probe.videoType()));
    EXPECT_TRUE(probe.audioType());
    EXPECT_EQ(std::vector<HRESULT>{S_OK}, outcomes);
}

TEST_F(NDIProbeTest, ARunWithNothingLeftToFindCapturesNothing)
{
    pushVideo();
    pushAudio();
    doProbe(forever);
    doProbe(forever);
    EXPECT_EQ(2, ndi.calls().captures);
    EXPECT_EQ(2u, outcomes.size());
}

TEST_F(NDIProbeTest, ReprobeForgetsWhatWasFoundAndShowsThatItIsUnderWay)
{
    pushVideo();
    pushAudio();
    doProbe(forever);
    auto run = std::async(std::launch::async, [this] { probe.reprobe(forever); });
    // The third capture waits for a frame: the run stands still.
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.captures == 3; }));
    EXPECT_EQ(S_FALSE, probe.status());
    EXPECT_FALSE(probe.videoType());
    EXPECT_FALSE(probe.audioType());
    ndi.pushVideo(videoFrame(NDIlib_FourCC_video_type_BGRX), {});
    pushAudio();
    run.get();
    EXPECT_EQ(S_OK, probe.status());
    ASSERT_TRUE(probe.videoType());
    EXPECT_TRUE(isOfSubtype(probe.videoType(), MFVideoFormat_RGB32));
    EXPECT_EQ(2u, outcomes.size());
}

TEST_F(NDIProbeTest, TheStatusIsThereWhenTheSignalComes)
{
    HRESULT atSignal = S_FALSE;
    QObject::connect(&probe, &NDIProbe::finished, [&] { atSignal = probe.status(); });
    pushVideo();
    probe.reprobe(0);
    EXPECT_EQ(S_OK, atSignal);
}

TEST_F(NDIProbeTest, FrameMetadataMarksTheTypeOfItsKind)
{
    pushVideo();
    pushVideo("");
    pushAudio();
    doProbe(forever);
    EXPECT_TRUE(hasFrameMetadata(probe.videoType()));
    EXPECT_FALSE(hasFrameMetadata(probe.audioType()));

    pushAudio("<m/>");
    pushVideo();
    probe.reprobe(forever);
    EXPECT_FALSE(hasFrameMetadata(probe.videoType()));
    EXPECT_TRUE(hasFrameMetadata(probe.audioType()));
}

TEST_F(NDIProbeTest, AnUnsupportedFormatIsWarnedOfAndCountsAsSeen)
{
    ndi.pushVideo(videoFrame(NDIlib_FourCC_video_type_NV12), {}, "<m/>");
    pushVideo();
    doProbe(0);
    EXPECT_EQ(1, log.count(QtWarningMsg, generalLog, "Unsupported NDI video type: 2 1 V N"));
    EXPECT_FALSE(probe.videoType());
    EXPECT_EQ(1, ndi.calls().captures);
    EXPECT_EQ(S_OK, probe.status());
}

TEST_F(NDIProbeTest, TellsTheRunInItsLog)
{
    ndi.pushType(NDIlib_frame_type_status_change);
    ndi.pushMetadata("<k\xc3\xa4se/>");
    pushVideo();
    pushVideo();
    pushAudio();
    doProbe(forever);
    const QString expected[] = {
        "NDI probe: start...",
        "NDI probe: source status changed",
        QString::fromUtf8("NDI probe: metadata: \"<k\xc3\xa4se/>\""),
        "NDI probe found video: " + quoted(probe.videoType()),
        "NDI probe: video frame recvd: 1234.000 ms",
        "NDI probe: video frame recvd: 1234.000 ms",
        "NDI probe found audio: " + quoted(probe.audioType()),
        "NDI probe: audio frame recvd: 5678.000 ms",
    };
    const auto lines = log.lines();
    ASSERT_EQ(std::size(expected), lines.size());
    for (size_t index = 0; index < lines.size(); ++index) {
        EXPECT_EQ(QtDebugMsg, lines[index].type);
        EXPECT_EQ(sourceLog, lines[index].category);
        EXPECT_EQ(expected[index], lines[index].text);
    }
}

TEST_F(NDIProbeTest, RunsOnTheThreadItLivesOnAndReportsAcrossThreads)
{
    QThread thread;
    probe.moveToThread(&thread);
    thread.start();
    QThread *reportedOn = nullptr;
    QObject here;
    QObject::connect(
        &probe, &NDIProbe::finished, &here,
        [&](HRESULT status) {
            EXPECT_EQ(S_OK, status);
            reportedOn = QThread::currentThread();
        },
        Qt::QueuedConnection);
    EXPECT_TRUE(QMetaObject::invokeMethod(&probe, "doProbe", Qt::QueuedConnection, Q_ARG(HnsTime, forever)));
    pushVideo();
    pushAudio();
    EXPECT_TRUE(spinUntil([&] { return reportedOn != nullptr; }));
    EXPECT_EQ(QThread::currentThread(), reportedOn);
    thread.quit();
    EXPECT_TRUE(thread.wait());
    EXPECT_TRUE(probe.videoType());
    EXPECT_TRUE(probe.audioType());
}
