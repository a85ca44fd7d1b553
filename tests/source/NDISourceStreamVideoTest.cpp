#include "format/MetadataEnvelope.h"
#include "hostfw/MediaBuffers.h"
#include "tests/source/StreamHarness.h"

#include <algorithm>

namespace
{

class NDISourceStreamVideoTest : public StreamsTest
{
};

} // namespace

TEST_F(NDISourceStreamVideoTest, AFrameRateWithAZeroIsAnInvalidTypeWithoutALine)
{
    VideoStream &stream = videoStream();
    EXPECT_EQ(MF_E_INVALIDMEDIATYPE, stream.calculateFrameDuration(videoType(MFVideoFormat_UYVY, 0, 1)));
    EXPECT_EQ(MF_E_INVALIDMEDIATYPE, stream.calculateFrameDuration(videoType(MFVideoFormat_UYVY, 25, 0)));
    EXPECT_TRUE(log.countContaining(" [") == 0);
    EXPECT_EQ(S_OK, stream.calculateFrameDuration(videoType(MFVideoFormat_UYVY, 30000, 1001)));
    EXPECT_EQ(333'666, static_cast<long long>(stream.m_frameDuration));
    EXPECT_EQ(S_OK, stream.calculateFrameDuration(videoType(MFVideoFormat_UYVY, 25, 1)));
    EXPECT_EQ(400'000, static_cast<long long>(stream.m_frameDuration));
}

TEST_F(NDISourceStreamVideoTest, ATypeWithoutAFrameRateIsReported)
{
    const auto type = videoType(MFVideoFormat_UYVY);
    type->DeleteItem(MF_MT_FRAME_RATE);
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, videoStream().setMediaType(type));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [MFGetAttributeRatio(type, MF_MT_FRAME_RATE, &rateE, &rateD)] (HR=0xC00D36E6)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [calculateFrameDuration(type)] (HR=0xC00D36E6)"));
}

TEST_F(NDISourceStreamVideoTest, ATypeWithoutASubtypeIsReported)
{
    const auto type = videoType(MFVideoFormat_UYVY);
    type->DeleteItem(MF_MT_SUBTYPE);
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, videoStream().setMediaType(type));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [to->GetGUID(MF_MT_SUBTYPE, &subtype)] (HR=0xC00D36E6)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [updateFrameConverter(m_lastFrameFormat.FourCC, type)] (HR=0xC00D36E6)"));
}

TEST_F(NDISourceStreamVideoTest, AFrameWhoseTypeCannotBeBuiltIsRefusedAndTheCurrentTypeStays)
{
    VideoStream &stream = videoStream();
    const auto type = videoType(MFVideoFormat_UYVY);
    stream.setMediaType(type);
    auto frame = videoFrame(64, 36, oneSecond, NDIlib_FourCC_video_type_NV12);
    auto bytes = noise(64 * 4 * 36);
    frame.p_data = bytes.data();
    EXPECT_EQ(MF_E_INVALIDMEDIATYPE, stream.processFrame(frame, nullptr));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [newType is null]"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [changeMediaType(frame)] (HR=0xC00D36B4)"));
    EXPECT_EQ(type.p, stream.m_mediaType.p);
}

TEST_F(NDISourceStreamVideoTest, AFailedTypeChangeIsTriedAgainWithTheNextFrame)
{
    VideoStream &stream = videoStream();
    auto frame = videoFrame(64, 36, oneSecond, NDIlib_FourCC_video_type_RGBA);
    auto bytes = noise(64 * 4 * 36);
    frame.p_data = bytes.data();
    stream.processFrame(frame, nullptr);
    stream.processFrame(frame, nullptr);
    EXPECT_EQ(2, log.count(QtCriticalMsg, sourceLog, " [newType is null]"));
}

TEST_F(NDISourceStreamVideoTest, ABgraFrameGivesABottomUpArgb32PictureOfItsOwnBytes)
{
    start(source);
    const auto bytes = noise(1920 * 4 * 1080);
    ndi.pushVideo(videoFrame(1920, 1080, oneSecond, NDIlib_FourCC_video_type_BGRA), bytes);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    const auto changed = waitForEvent(streams[0], MEStreamFormatChanged);
    ASSERT_TRUE(changed);
    PROPVARIANT value;
    PropVariantInit(&value);
    ASSERT_EQ(S_OK, changed->GetValue(&value));
    CComPtr<IMFMediaType> announced;
    ASSERT_EQ(S_OK, value.punkVal->QueryInterface(__uuidof(IMFMediaType), reinterpret_cast<void **>(&announced)));
    PropVariantClear(&value);
    EXPECT_EQ(MFVideoFormat_ARGB32, subtypeOf(announced));
    const auto sample = nextSample(streams[0]);
    ASSERT_TRUE(sample);
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(S_OK, sample->ConvertToContiguousBuffer(&buffer));
    EXPECT_LT(MediaBufferMapping2D(buffer, MF2DBuffer_LockFlags_Read).pitch(), 0);
    EXPECT_EQ(bytes, pictureOf(sample, 7680, 1080));
    EXPECT_EQ(400'000, durationOf(sample));
    DWORD length = 0;
    buffer->GetCurrentLength(&length);
    EXPECT_EQ(1920u * 4 * 1080, length);
}

TEST_F(NDISourceStreamVideoTest, AUyvyPictureArrivesBitExactWithPackedAndWithPaddedLines)
{
    start(source);
    const auto packed = noise(1920 * 2 * 1080);
    ndi.pushVideo(videoFrame(1920, 1080, oneSecond), packed);
    EXPECT_EQ(packed, pictureOf(requestSample(streams[0]), 3840, 1080));

    constexpr int stride = 64 * 2 + 13;
    const auto padded = noise(stride * 36, 5);
    ndi.pushVideo(videoFrame(64, 36, 2 * oneSecond, NDIlib_FourCC_video_type_UYVY, stride), padded);
    const auto picture = pictureOf(requestSample(streams[0]), 128, 36);
    for (int line = 0; line < 36; ++line)
        ASSERT_TRUE(std::equal(picture.begin() + line * 128, picture.begin() + (line + 1) * 128,
                               padded.begin() + line * stride))
            << line;
}

TEST_F(NDISourceStreamVideoTest, AFormatChangeIsAnnouncedRightBeforeItsFirstSample)
{
    start(source);
    for (const int width : {64, 64, 128, 64})
        ndi.pushVideo(videoFrame(width, 36, oneSecond), noise(static_cast<size_t>(width) * 2 * 36));
    for (int request = 0; request < 4; ++request)
        ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    std::vector<MediaEventType> events;
    for (int samples = 0; samples < 4; ++samples) {
        const auto more = eventsUpTo(streams[0], MEMediaSample);
        events.insert(events.end(), more.begin(), more.end());
    }
    const std::vector<MediaEventType> expected = {MEStreamStarted,       MEStreamFormatChanged, MEMediaSample,
                                                  MEMediaSample,         MEStreamFormatChanged, MEMediaSample,
                                                  MEStreamFormatChanged, MEMediaSample};
    EXPECT_EQ(expected, events);
}

TEST_F(NDISourceStreamVideoTest, AChangeOfInterlacingAloneIsNoFormatChange)
{
    start(source);
    auto frame = videoFrame(64, 36, oneSecond);
    ndi.pushVideo(frame, noise(64 * 2 * 36));
    frame.frame_format_type = NDIlib_frame_format_type_field_1;
    frame.timecode += oneSecond;
    ndi.pushVideo(frame, noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    EXPECT_EQ(std::vector<MediaEventType>{MEMediaSample}, eventsUpTo(streams[0], MEMediaSample));
}

TEST_F(NDISourceStreamVideoTest, FieldLayoutsAreMarkedOnTheSample)
{
    struct Case {
        NDIlib_frame_format_type_e type;
        UINT32 singleField;
        UINT32 bottomFieldFirst;
    };
    const Case cases[] = {{NDIlib_frame_format_type_interleaved, 0, 0},
                          {NDIlib_frame_format_type_field_0, 1, 0},
                          {NDIlib_frame_format_type_field_1, 1, 1},
                          {NDIlib_frame_format_type_progressive, 99, 99}};
    start(source);
    for (const Case &each : cases) {
        auto frame = videoFrame(64, 36, oneSecond);
        frame.frame_format_type = each.type;
        ndi.pushVideo(frame, noise(64 * 2 * 36));
        const auto sample = requestSample(streams[0]);
        EXPECT_EQ(each.singleField, flagOf(sample, MFSampleExtension_SingleField)) << each.type;
        EXPECT_EQ(each.bottomFieldFirst, flagOf(sample, MFSampleExtension_BottomFieldFirst)) << each.type;
        EXPECT_EQ(1u, flagOf(sample, MFSampleExtension_CleanPoint));
    }
}

TEST_F(NDISourceStreamVideoTest, PerFrameMetadataRidesOnTheSampleAsItsPayload)
{
    start(source);
    const QByteArray payload("\0\1\xff payload", 11);
    ndi.pushVideo(videoFrame(64, 36, oneSecond), noise(64 * 2 * 36), wrapMetadataPayload(payload).constData());
    ndi.pushVideo(videoFrame(64, 36, 2 * oneSecond), noise(64 * 2 * 36), "<foreign/>");
    ndi.pushVideo(videoFrame(64, 36, 3 * oneSecond), noise(64 * 2 * 36));
    UINT8 *blob = nullptr;
    UINT32 size = 99;
    ASSERT_EQ(S_OK, requestSample(streams[0])->GetAllocatedBlob(SampleMetadataAttribute, &blob, &size));
    EXPECT_EQ(payload, QByteArray(reinterpret_cast<const char *>(blob), static_cast<int>(size)));
    CoTaskMemFree(blob);
    EXPECT_EQ(S_OK, requestSample(streams[0])->GetBlobSize(SampleMetadataAttribute, &size));
    EXPECT_EQ(0u, size);
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, requestSample(streams[0])->GetBlobSize(SampleMetadataAttribute, &size));
}

TEST_F(NDISourceStreamVideoTest, HostileVideoFramesAreRefused)
{
    VideoStream &stream = videoStream();
    auto bytes = noise(64 * 2 * 36);
    const auto refused = [&](auto &&change) {
        auto frame = videoFrame(64, 36, oneSecond);
        frame.p_data = bytes.data();
        change(frame);
        return FAILED(stream.processFrame(frame, nullptr));
    };
    EXPECT_TRUE(refused([](auto &f) { f.xres = 0; }));
    EXPECT_TRUE(refused([](auto &f) { f.xres = -64; }));
    EXPECT_TRUE(refused([](auto &f) { f.xres = INT_MAX; }));
    EXPECT_TRUE(refused([](auto &f) { f.yres = INT_MIN; }));
    EXPECT_TRUE(refused([](auto &f) {
        f.xres = 32768;
        f.yres = 32768;
        f.line_stride_in_bytes = 65536;
    }));
    EXPECT_TRUE(refused([](auto &f) { f.line_stride_in_bytes = 127; }));
    EXPECT_TRUE(refused([](auto &f) { f.line_stride_in_bytes = -128; }));
    EXPECT_TRUE(refused([](auto &f) { f.p_data = nullptr; }));
    EXPECT_TRUE(refused([](auto &f) { f.FourCC = static_cast<NDIlib_FourCC_video_type_e>(0x12345678); }));
}

TEST_F(NDISourceStreamVideoTest, APoolSampleNeedsASizeAndAKnownFormat)
{
    VideoStream &stream = videoStream();
    const auto type = videoType(MFVideoFormat_UYVY);
    stream.setMediaType(type);
    CComPtr<IMFSample> sample;
    type->DeleteItem(MF_MT_FRAME_SIZE);
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, stream.createSample(&sample));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [MFGetAttributeSize(m_mediaType, MF_MT_FRAME_SIZE, &width, &height)] (HR=0xC00D36E6)"));
    type->DeleteItem(MF_MT_SUBTYPE);
    EXPECT_EQ(MF_E_INVALIDMEDIATYPE, stream.createSample(&sample));
}

TEST_F(NDISourceStreamVideoTest, SamplesAreRecycledInTheSteadyState)
{
    start(source);
    std::vector<IMFMediaBuffer *> seen;
    for (int round = 0; round < 50; ++round) {
        ndi.pushVideo(videoFrame(64, 36, oneSecond + round * 400'000), noise(64 * 2 * 36));
        CComPtr<IMFMediaBuffer> buffer;
        requestSample(streams[0])->GetBufferByIndex(0, &buffer);
        if (std::find(seen.begin(), seen.end(), buffer.p) == seen.end())
            seen.push_back(buffer);
    }
    EXPECT_LE(seen.size(), 3u);
}

TEST_F(NDISourceStreamVideoTest, AnnouncesUyvyAt720pBeforeAnyFrame)
{
    const auto type = videoStream().createDefaultMediaType();
    EXPECT_EQ(MFVideoFormat_UYVY, subtypeOf(type));
    UINT32 high = 0;
    UINT32 low = 0;
    MFGetAttributeSize(type, MF_MT_FRAME_SIZE, &high, &low);
    EXPECT_EQ(std::make_pair(1280U, 720U), std::make_pair(high, low));
    MFGetAttributeRatio(type, MF_MT_FRAME_RATE, &high, &low);
    EXPECT_EQ(std::make_pair(30U, 1U), std::make_pair(high, low));
    EXPECT_EQ(UINT32(MFVideoInterlace_Progressive), MFGetAttributeUINT32(type, MF_MT_INTERLACE_MODE, 99));
}

TEST_F(NDISourceStreamVideoTest, UnderATypeThatFailedHalfwayTheNextFrameBringsItsOwn)
{
    VideoStream &stream = videoStream();
    auto picture = noise(64 * 2 * 36);
    auto frame = videoFrame(64, 36, oneSecond);
    frame.p_data = picture.data();
    ASSERT_EQ(S_OK, stream.processFrame(frame, nullptr));
    const auto smaller = videoType(MFVideoFormat_UYVY, 0, 1);
    MFSetAttributeSize(smaller, MF_MT_FRAME_SIZE, 16, 16);
    ASSERT_EQ(MF_E_INVALIDMEDIATYPE, stream.setMediaType(smaller));
    // Written into a sample of 16x16 it would be far too large.
    EXPECT_EQ(S_OK, stream.processFrame(frame, nullptr));
    UINT32 width = 0;
    UINT32 height = 0;
    MFGetAttributeSize(stream.m_mediaType, MF_MT_FRAME_SIZE, &width, &height);
    EXPECT_EQ(std::make_pair(64U, 36U), std::make_pair(width, height));
}

TEST_F(NDISourceStreamVideoTest, ATypeOfTheHostInTheFramesFormatIsKept)
{
    VideoStream &stream = videoStream();
    const auto type = videoType(MFVideoFormat_UYVY);
    ASSERT_EQ(S_OK, stream.setMediaType(type));
    auto picture = noise(64 * 2 * 36);
    auto frame = videoFrame(64, 36, oneSecond);
    frame.p_data = picture.data();
    EXPECT_EQ(S_OK, stream.processFrame(frame, nullptr));
    EXPECT_EQ(type.p, stream.m_mediaType.p);
    EXPECT_EQ(400'000, static_cast<long long>(stream.m_frameDuration));
}

TEST_F(NDISourceStreamVideoTest, ATypeThatSystemMemoryCannotHoldIsReportedByThePool)
{
    VideoStream &stream = videoStream();
    ASSERT_EQ(S_OK, stream.setMediaType(videoType(MFVideoFormat_H264)));
    CComPtr<IMFSample> sample;
    const HRESULT hr = stream.createSample(&sample);
    ASSERT_TRUE(FAILED(hr));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           QString::asprintf(" [MFCreate2DMediaBuffer(width, height, fmt, isRGB(subtype) ? 1 : 0, "
                                             "&mediaBuffer)] (HR=0x%X)",
                                             static_cast<unsigned>(hr))));
}

TEST_F(NDISourceStreamVideoTest, APoolSampleWithoutATypeIsAnInvalidType)
{
    CComPtr<IMFSample> sample;
    EXPECT_EQ(MF_E_INVALIDMEDIATYPE, videoStream().createSample(&sample));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISourceStreamVideoTest, RgbPicturesAreBottomUpAndAllOthersTopDown)
{
    const struct {
        const GUID &subtype;
        bool bottomUp;
    } cases[] = {{MFVideoFormat_ARGB32, true},
                 {MFVideoFormat_RGB32, true},
                 {MFVideoFormat_RGB24, true},
                 {MFVideoFormat_UYVY, false},
                 {MFVideoFormat_YUY2, false}};
    VideoStream &stream = videoStream();
    for (const auto &each : cases) {
        ASSERT_EQ(S_OK, stream.setMediaType(videoType(each.subtype)));
        CComPtr<IMFSample> sample;
        ASSERT_EQ(S_OK, stream.createSample(&sample));
        CComPtr<IMFMediaBuffer> buffer;
        ASSERT_EQ(S_OK, sample->GetBufferByIndex(0, &buffer));
        EXPECT_EQ(each.bottomUp, MediaBufferMapping2D(buffer, MF2DBuffer_LockFlags_Read).pitch() < 0)
            << each.subtype.Data1;
    }
}

TEST_F(NDISourceStreamVideoTest, ABgrxFrameGivesAnRgb32PictureOfItsOwnBytes)
{
    start(source);
    const auto bytes = noise(66 * 4 * 35);
    ndi.pushVideo(videoFrame(66, 35, oneSecond, NDIlib_FourCC_video_type_BGRX), bytes);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    const auto change = waitForEvent(streams[0], MEStreamFormatChanged);
    ASSERT_TRUE(change);
    PROPVARIANT value;
    PropVariantInit(&value);
    change->GetValue(&value);
    CComPtr<IMFMediaType> type;
    ASSERT_EQ(S_OK, value.punkVal->QueryInterface(__uuidof(IMFMediaType), reinterpret_cast<void **>(&type)));
    PropVariantClear(&value);
    EXPECT_EQ(MFVideoFormat_RGB32, subtypeOf(type));
    EXPECT_EQ(bytes, pictureOf(nextSample(streams[0]), 66 * 4, 35));
}

TEST_F(NDISourceStreamVideoTest, APictureOfOddSizeArrivesBitExact)
{
    start(source);
    const auto bytes = noise(64 * 2 * 37);
    ndi.pushVideo(videoFrame(64, 37, oneSecond), bytes);
    EXPECT_EQ(bytes, pictureOf(requestSample(streams[0]), 128, 37));
}
