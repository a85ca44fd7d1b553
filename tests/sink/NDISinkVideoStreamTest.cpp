#include "sink/NDISinkVideoStream.h"

#include "format/MetadataEnvelope.h"
#include "tests/sink/SinkFakes.h"
#include "tests/sink/SinkHarness.h"
#include "tests/source/SourceHarness.h"
#include "tests/support/RefusingSample.h"

#include <algorithm>

namespace
{

class NDISinkVideoStreamTest : public MadeSinkTest
{
protected:
    // Sends the sample on this thread and returns what arrived.
    ScriptedNdi::SentVideo send(IMFSample *sample)
    {
        EXPECT_EQ(S_OK, stream.sendSample(sample));
        const auto sent = ndi.calls().sentVideo;
        EXPECT_FALSE(sent.empty());
        return sent.empty() ? ScriptedNdi::SentVideo() : sent.back();
    }

    LooseVideoStream stream{5, sink};
};

// Only RGB pictures have their lines in memory from the bottom to the top.
const struct Lines {
    const GUID &subtype;
    DWORD format;
    size_t pixelBytes;
    bool bottomUp;
} directions[] = {{MFVideoFormat_UYVY, fourCCUYVY, 2, false},
                  {MFVideoFormat_RGB32, rgb32Format, 4, false},
                  {MFVideoFormat_RGB32, rgb32Format, 4, true}};

} // namespace

TEST_F(NDISinkVideoStreamTest, LinesThatLieFurtherApartThanTheirBytesAreSentPacked)
{
    // 34 pixels are 68 bytes, and no buffer has its lines there.
    const auto picture = noise(68 * 20);
    const auto sample = pictureSample(picture, 34, 20);
    stream.onMediaTypeChanged(pictureType(34, 20));
    const auto sent = send(sample);
    EXPECT_EQ(68, sent.frame.line_stride_in_bytes);
    EXPECT_EQ(picture, sent.picture);
}

TEST_F(NDISinkVideoStreamTest, EverySubtypeThatIsOfferedArrivesBitExact)
{
    struct Case {
        const GUID &subtype;
        DWORD format;
        NDIlib_FourCC_video_type_e fourCC;
        int pixelBytes;
    };
    const Case cases[] = {
        {MFVideoFormat_UYVY, fourCCUYVY, NDIlib_FourCC_video_type_UYVY, 2},
        {MFVideoFormat_ARGB32, argb32Format, NDIlib_FourCC_video_type_BGRA, 4},
        {MFVideoFormat_RGB32, rgb32Format, NDIlib_FourCC_video_type_BGRX, 4},
    };
    for (const Case &expected : cases) {
        const auto picture = noise(static_cast<size_t>(64 * 36 * expected.pixelBytes));
        stream.onMediaTypeChanged(pictureType(64, 36, expected.subtype));
        const auto sent = send(pictureSample(picture, 64, 36, expected.format));
        EXPECT_EQ(expected.fourCC, sent.frame.FourCC);
        EXPECT_EQ(64, sent.frame.xres);
        EXPECT_EQ(36, sent.frame.yres);
        EXPECT_EQ(64 * expected.pixelBytes, sent.frame.line_stride_in_bytes);
        EXPECT_EQ(25, sent.frame.frame_rate_N);
        EXPECT_EQ(1, sent.frame.frame_rate_D);
        EXPECT_EQ(0.0F, sent.frame.picture_aspect_ratio);
        EXPECT_EQ(NDIlib_frame_format_type_progressive, sent.frame.frame_format_type);
        EXPECT_EQ(0, sent.frame.timestamp);
        EXPECT_EQ(picture, sent.picture);
    }
}

TEST_F(NDISinkVideoStreamTest, ABottomUpPictureIsSentTopLineFirst)
{
    const auto picture = noise(16 * 4 * 8);
    stream.onMediaTypeChanged(pictureType(16, 8, MFVideoFormat_RGB32));
    EXPECT_EQ(picture, send(pictureSample(picture, 16, 8, rgb32Format, true)).picture);
}

TEST_F(NDISinkVideoStreamTest, ABufferThatKnowsNothingOfLinesHoldsThemPacked)
{
    const auto picture = noise(64 * 2 * 36);
    stream.onMediaTypeChanged(pictureType());
    EXPECT_EQ(picture, send(bytesSample(picture)).picture);
}

TEST_F(NDISinkVideoStreamTest, APictureInSeveralBuffersIsSentAsOne)
{
    const auto picture = noise(64 * 2 * 36);
    const auto middle = picture.begin() + 1000;
    const auto sample = emptySample();
    for (const auto &part :
         {std::vector<uint8_t>(picture.begin(), middle), std::vector<uint8_t>(middle, picture.end())}) {
        CComPtr<IMFMediaBuffer> buffer;
        bytesSample(part)->GetBufferByIndex(0, &buffer);
        sample->AddBuffer(buffer);
    }
    stream.onMediaTypeChanged(pictureType());
    EXPECT_EQ(picture, send(sample).picture);
}

TEST_F(NDISinkVideoStreamTest, ABufferOfASmallerPictureGivesTheLinesThatItHolds)
{
    const auto whole = noise(64 * 2 * 36, 1);
    const auto part = noise(64 * 2 * 10 + 50, 2);
    stream.onMediaTypeChanged(pictureType());
    send(bytesSample(whole));
    auto expected = whole;
    std::copy(part.begin(), part.begin() + 64 * 2 * 10, expected.begin());
    EXPECT_EQ(expected, send(bytesSample(part)).picture);
}

TEST_F(NDISinkVideoStreamTest, ABufferOfAWiderPictureGivesTheBeginningsOfItsLines)
{
    for (const Lines &lines : directions) {
        const size_t stride = 64 * lines.pixelBytes;
        const auto whole = noise(stride * 36, 1);
        stream.onMediaTypeChanged(pictureType(64, 36, lines.subtype));
        const DWORD shapes[][2] = {{128, 10}, {66, 35}};
        for (const auto &[width, height] : shapes) {
            const auto wider = noise(width * lines.pixelBytes * height, 2);
            auto expected = whole;
            for (size_t line = 0; line < height; ++line)
                std::copy_n(wider.begin() + static_cast<ptrdiff_t>(line * width * lines.pixelBytes), stride,
                            expected.begin() + static_cast<ptrdiff_t>(line * stride));
            send(bytesSample(whole));
            EXPECT_EQ(expected, send(pictureSample(wider, width, height, lines.format, lines.bottomUp)).picture)
                << width << 'x' << height << (lines.bottomUp ? " bottom-up" : "");
        }
    }
}

TEST_F(NDISinkVideoStreamTest, ABufferOfANarrowerPictureIsNotReadBeyondItsEnds)
{
    for (const Lines &lines : directions) {
        const size_t stride = 64 * lines.pixelBytes;
        const auto whole = noise(stride * 36, 1);
        stream.onMediaTypeChanged(pictureType(64, 36, lines.subtype));
        send(bytesSample(whole));
        const auto narrower = noise(16 * lines.pixelBytes * 4, 2);
        const auto sent = send(pictureSample(narrower, 16, 4, lines.format, lines.bottomUp)).picture;
        // No line of the type lies within four lines of a quarter of its width from the fourth on.
        const auto untouched = static_cast<ptrdiff_t>(4 * stride);
        EXPECT_TRUE(std::equal(sent.begin() + untouched, sent.end(), whole.begin() + untouched));
    }
}

TEST_F(NDISinkVideoStreamTest, APictureThatCannotBeReadIsTheOneBeforeIt)
{
    const auto picture = noise(64 * 2 * 36);
    stream.onMediaTypeChanged(pictureType());
    send(bytesSample(picture));
    const auto sample = sampleWith(CComPtr<IMFMediaBuffer>(new UnreadableBuffer));
    sample->SetSampleTime(77);
    const auto sent = send(sample);
    EXPECT_EQ(picture, sent.picture);
    EXPECT_EQ(77, sent.frame.timecode);
}

TEST_F(NDISinkVideoStreamTest, TheTimecodeIsTheSamplesTimeAndZeroForASampleWithoutOne)
{
    const auto sample = bytesSample(noise(64 * 2 * 36));
    stream.onMediaTypeChanged(pictureType());
    EXPECT_EQ(0, send(sample).frame.timecode);
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Video frame sent: 0ms"));
    for (const LONGLONG time : {LONGLONG{1}, LONGLONG{12'345'678}, LONGLONG{-400'000}, LONGLONG{INT64_MAX}}) {
        sample->SetSampleTime(time);
        EXPECT_EQ(time, send(sample).frame.timecode);
    }
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Video frame sent: 1234ms"));
}

TEST_F(NDISinkVideoStreamTest, ASampleWithoutMetadataOrWithNoneInItIsSentWithout)
{
    const auto sample = bytesSample(noise(64 * 2 * 36));
    stream.onMediaTypeChanged(pictureType());
    EXPECT_FALSE(send(sample).metadata);
    EXPECT_EQ(nullptr, ndi.calls().sentVideo.back().frame.p_metadata);
    sample->SetBlob(SampleMetadataAttribute, nullptr, 0);
    EXPECT_FALSE(send(sample).metadata);
}

TEST_F(NDISinkVideoStreamTest, MetadataOfASampleGoesOutWithItsFrameAndWithNoOther)
{
    const auto sample = bytesSample(noise(64 * 2 * 36));
    stream.onMediaTypeChanged(pictureType());
    const QByteArray payload("\0\xFF<tvx>]]>", 10);
    sample->SetBlob(SampleMetadataAttribute, reinterpret_cast<const UINT8 *>(payload.constData()),
                    static_cast<UINT32>(payload.size()));
    const auto sent = send(sample);
    ASSERT_TRUE(sent.metadata);
    EXPECT_EQ(wrapMetadataPayload(payload).toStdString(), *sent.metadata);
    EXPECT_EQ(payload, metadataPayload(QByteArray::fromStdString(*sent.metadata)));
    EXPECT_FALSE(send(bytesSample(noise(64 * 2 * 36))).metadata);
}

TEST_F(NDISinkVideoStreamTest, MetadataOfAnotherKindThanBytesIsNotSent)
{
    const auto sample = bytesSample(noise(64 * 2 * 36));
    stream.onMediaTypeChanged(pictureType());
    sample->SetUINT32(SampleMetadataAttribute, 7);
    EXPECT_FALSE(send(sample).metadata);
}

TEST_F(NDISinkVideoStreamTest, MetadataThatCannotBeReadIsNotSent)
{
    const auto picture = noise(64 * 2 * 36);
    stream.onMediaTypeChanged(pictureType());
    UnreadableMetadataSample sample(bytesSample(picture));
    const auto sent = send(&sample);
    EXPECT_EQ(nullptr, sent.frame.p_metadata);
    EXPECT_EQ(picture, sent.picture);
    EXPECT_EQ(1, sample.metadataReads);
}

TEST_F(NDISinkVideoStreamTest, WithoutASenderAFrameIsDroppedAndLoggedAsSent)
{
    stream.onMediaTypeChanged(pictureType());
    sink->destroySender();
    EXPECT_EQ(S_OK, stream.sendSample(bytesSample(noise(64 * 2 * 36))));
    EXPECT_TRUE(ndi.calls().sentVideo.empty());
    EXPECT_EQ(0, ndi.calls().straySendCalls);
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Video frame sent: 0ms"));
}

TEST_F(NDISinkVideoStreamTest, ANullSampleIsRefused)
{
    EXPECT_EQ(E_INVALIDARG, stream.sendSample(nullptr));
    EXPECT_EQ(1, criticals(" [sample is null]"));
}

TEST_F(NDISinkVideoStreamTest, ASampleWithoutABufferReportsTheFailure)
{
    RefusingSample refusing;
    EXPECT_EQ(E_NOTIMPL, stream.sendSample(&refusing));
    EXPECT_EQ(1, criticals(" [sample->ConvertToContiguousBuffer(&buffer)] (HR=0x80004001)"));
    EXPECT_TRUE(ndi.calls().sentVideo.empty());
}

TEST_F(NDISinkVideoStreamTest, ASampleThatCannotBeSentRaisesNoEvent)
{
    const auto video = streamOf(sink, 0);
    setType(sink, video, pictureType());
    ASSERT_EQ(S_OK, sink->OnClockStart(0, 0));
    takeEvents(video);
    ASSERT_EQ(S_OK, video->ProcessSample(emptySample()));
    drain(sink);
    EXPECT_EQ(1, log.countContaining("[sample->ConvertToContiguousBuffer(&buffer)] (HR="));
    EXPECT_TRUE(ndi.calls().sentVideo.empty());
    EXPECT_EQ((std::vector<MediaEventType>{MEStreamSinkRequestSample}), takeEventTypes(video));
    const auto picture = noise(64 * 2 * 36);
    ASSERT_EQ(S_OK, video->ProcessSample(bytesSample(picture)));
    drain(sink);
    ASSERT_EQ(1u, ndi.calls().sentVideo.size());
    EXPECT_EQ(picture, ndi.calls().sentVideo[0].picture);
}

TEST_F(NDISinkVideoStreamTest, ATypeThatCannotBeReadLeavesTheFormatAndIsAdoptedAllTheSame)
{
    const auto picture = noise(64 * 2 * 36);
    stream.onMediaTypeChanged(pictureType());
    EXPECT_EQ(S_OK, stream.onMediaTypeChanged(partialType(MFMediaType_Video, MFVideoFormat_UYVY)));
    const auto sent = send(bytesSample(picture));
    EXPECT_EQ(64, sent.frame.xres);
    EXPECT_EQ(picture, sent.picture);
}

TEST_F(NDISinkVideoStreamTest, AFirstTypeThatCannotBeReadMakesAFrameOfTheDefaultsWithoutAPicture)
{
    EXPECT_EQ(S_OK, stream.onMediaTypeChanged(partialType(MFMediaType_Video, MFVideoFormat_UYVY)));
    const auto sent = send(bytesSample(noise(100)));
    EXPECT_EQ(0, sent.frame.xres);
    EXPECT_EQ(0, sent.frame.yres);
    EXPECT_EQ(0, sent.frame.line_stride_in_bytes);
    EXPECT_EQ(NDIlib_FourCC_video_type_UYVY, sent.frame.FourCC);
    EXPECT_EQ(30000, sent.frame.frame_rate_N);
    EXPECT_EQ(1001, sent.frame.frame_rate_D);
    EXPECT_NE(nullptr, sent.frame.p_data);
}

TEST_F(NDISinkVideoStreamTest, ATypeWhoseLinesAreLongerThanCanBeCountedSendsNothing)
{
    for (const GUID &subtype : {MFVideoFormat_RGB32, MFVideoFormat_UYVY}) {
        EXPECT_EQ(S_OK, stream.onMediaTypeChanged(pictureType(0x40000000, 1, subtype)));
        EXPECT_EQ(S_OK, stream.sendSample(bytesSample(noise(100))));
    }
    EXPECT_TRUE(ndi.calls().sentVideo.empty());
    const auto picture = noise(64 * 2 * 36);
    stream.onMediaTypeChanged(pictureType());
    EXPECT_EQ(picture, send(bytesSample(picture)).picture);
}

TEST_F(NDISinkVideoStreamTest, TheStagingBufferIsMadeOncePerType)
{
    stream.onMediaTypeChanged(pictureType());
    const auto *const first = send(bytesSample(noise(64 * 2 * 36, 1))).frame.p_data;
    EXPECT_EQ(first, send(bytesSample(noise(64 * 2 * 36, 2))).frame.p_data);
    stream.onMediaTypeChanged(pictureType());
    EXPECT_NE(first, send(bytesSample(noise(64 * 2 * 36, 3))).frame.p_data);
}

TEST_F(NDISinkVideoStreamTest, ATypeChangeTakesItsPlaceAmongTheSamplesThatWait)
{
    const auto video = streamOf(sink, 0);
    setType(sink, video, pictureType(64, 36));
    auto *const face = static_cast<NDISinkStream *>(video.p);
    ASSERT_EQ(S_OK, face->Start(0, 0));
    ndi.holdSends(true);
    const auto smaller = noise(64 * 2 * 36);
    const auto larger = noise(128 * 2 * 72);
    ASSERT_EQ(S_OK, video->ProcessSample(pictureSample(smaller, 64, 36)));
    ASSERT_EQ(S_OK, video->ProcessSample(pictureSample(smaller, 64, 36)));
    ASSERT_EQ(S_OK, handlerOf(video)->SetCurrentMediaType(pictureType(128, 72)));
    ASSERT_EQ(S_OK, video->ProcessSample(pictureSample(larger, 128, 72)));
    ndi.holdSends(false);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sentVideo.size() == 3; }));
    const auto sent = ndi.calls().sentVideo;
    EXPECT_EQ(smaller, sent[0].picture);
    EXPECT_EQ(smaller, sent[1].picture);
    EXPECT_EQ(larger, sent[2].picture);
    EXPECT_EQ(128, sent[2].frame.xres);
}
