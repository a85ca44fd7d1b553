#include "format/MetadataEnvelope.h"
#include "hostfw/MediaBuffers.h"
#include "hostfw/VideoFormats.h"
#include "source/FrameConverter.h"
#include "source/HardwareBuffer.h"
#include "source/NDISourceStreamAudio.h"
#include "source/NDISourceStreamVideo.h"
#include "tests/source/SourceHarness.h"

#include <d3d11.h>

namespace
{

constexpr LONGLONG second = 10'000'000;

// The streams of a source that is not started, with their insides at hand. The source's own streams stay idle.
class VideoStream : public NDISourceStreamVideo
{
public:
    using NDISourceStreamVideo::calculateFrameDuration;
    using NDISourceStreamVideo::createSample;
    using NDISourceStreamVideo::m_frameDuration;
    using NDISourceStreamVideo::m_mediaType;
    using NDISourceStreamVideo::NDISourceStreamVideo;
    using NDISourceStreamVideo::OnSeek;
    using NDISourceStreamVideo::stampSample;
    using NDISourceStreamVideo::updateFrameConverter;
};

class AudioStream : public NDISourceStreamAudio
{
public:
    using NDISourceStreamAudio::m_mediaType;
    using NDISourceStreamAudio::NDISourceStreamAudio;
};

class StreamsTest : public SourceTest
{
protected:
    void SetUp() override
    {
        SourceTest::SetUp();
        source = makeSource();
    }
    void TearDown() override
    {
        video.reset();
        audio.reset();
        source->Shutdown();
        source.Release();
        SourceTest::TearDown();
    }

    void useHardware()
    {
        source->Shutdown();
        SourceParameters params = parameters();
        params.hardwareSamples = true;
        source = makeSource(params);
    }

    VideoStream &videoStream()
    {
        video = std::make_unique<VideoStream>(source, 7, &queue);
        return *video;
    }
    AudioStream &audioStream()
    {
        audio = std::make_unique<AudioStream>(source, 8, &queue);
        return *audio;
    }
    CComPtr<IUnknown> deviceManager()
    {
        CComPtr<ID3D11Device> device;
        EXPECT_EQ(S_OK, D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_WARP, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION,
                                          &device, nullptr, nullptr));
        UINT token = 0;
        CComPtr<IMFDXGIDeviceManager> manager;
        EXPECT_EQ(S_OK, MFCreateDXGIDeviceManager(&token, &manager));
        EXPECT_EQ(S_OK, manager->ResetDevice(device, token));
        return CComPtr<IUnknown>(manager.p);
    }

    CComPtr<NDISourceMF> source;
    tvx::MFMessageQueue queue{tvx::MFMessageQueue::Type::Serial, 0};
    std::unique_ptr<VideoStream> video;
    std::unique_ptr<AudioStream> audio;
};

CComPtr<IMFSample> plainSample()
{
    CComPtr<IMFSample> sample;
    MFCreateSample(&sample);
    return sample;
}

CComPtr<IMFMediaType> videoType(const GUID &subtype, UINT32 rateNumerator = 25, UINT32 rateDenominator = 1)
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, subtype);
    MFSetAttributeSize(type, MF_MT_FRAME_SIZE, 64, 36);
    MFSetAttributeRatio(type, MF_MT_FRAME_RATE, rateNumerator, rateDenominator);
    return type;
}

GUID subtypeOf(IMFMediaType *type)
{
    GUID subtype = GUID_NULL;
    type->GetGUID(MF_MT_SUBTYPE, &subtype);
    return subtype;
}

UINT32 flagOf(IMFSample *sample, const GUID &key, UINT32 absent = 99)
{
    UINT32 value = absent;
    sample->GetUINT32(key, &value);
    return value;
}

} // namespace

TEST_F(StreamsTest, ARepeatedTimecodeContinuesEvenlyFromTheSampleBefore)
{
    VideoStream &stream = videoStream();
    const auto first = plainSample();
    const auto repeated = plainSample();
    const auto backwards = plainSample();
    const auto distant = plainSample();
    EXPECT_EQ(S_OK, stream.stampSample(first, 1'000'000, 400'000));
    EXPECT_EQ(S_OK, stream.stampSample(repeated, 1'000'000, 400'000));
    EXPECT_EQ(S_OK, stream.stampSample(backwards, 5, 400'000));
    EXPECT_EQ(S_OK, stream.stampSample(distant, 900 * second, 400'000));
    EXPECT_EQ(1'000'000, timeOf(first));
    EXPECT_EQ(1'400'000, timeOf(repeated));
    EXPECT_EQ(1'800'000, timeOf(backwards));
    EXPECT_EQ(900 * second, timeOf(distant));
    EXPECT_EQ(400'000, durationOf(distant));
}

TEST_F(StreamsTest, SeekingIsNotImplemented)
{
    PROPVARIANT position;
    PropVariantInit(&position);
    EXPECT_EQ(E_NOTIMPL, videoStream().OnSeek(position));
}

TEST_F(StreamsTest, TheMediaTypeListHoldsExactlyTheCurrentType)
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

TEST_F(StreamsTest, AFrameRateWithAZeroIsAnInvalidTypeWithoutALine)
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

TEST_F(StreamsTest, ATypeWithoutAFrameRateIsReported)
{
    const auto type = videoType(MFVideoFormat_UYVY);
    type->DeleteItem(MF_MT_FRAME_RATE);
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, videoStream().setMediaType(type));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [MFGetAttributeRatio(type, MF_MT_FRAME_RATE, &rateE, &rateD)] (HR=0xC00D36E6)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [calculateFrameDuration(type)] (HR=0xC00D36E6)"));
}

TEST_F(StreamsTest, ATypeWithoutASubtypeIsReported)
{
    const auto type = videoType(MFVideoFormat_UYVY);
    type->DeleteItem(MF_MT_SUBTYPE);
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, videoStream().setMediaType(type));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [to->GetGUID(MF_MT_SUBTYPE, &subtype)] (HR=0xC00D36E6)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [updateFrameConverter(m_lastFrameFormat.FourCC, type)] (HR=0xC00D36E6)"));
}

TEST_F(StreamsTest, TheDefaultTypesAreAnnouncedBeforeAnyFrame)
{
    UINT32 width = 0;
    UINT32 height = 0;
    const auto defaultVideo = videoStream().createDefaultMediaType();
    EXPECT_EQ(MFVideoFormat_UYVY, subtypeOf(defaultVideo));
    MFGetAttributeSize(defaultVideo, MF_MT_FRAME_SIZE, &width, &height);
    EXPECT_EQ(1280u, width);
    EXPECT_EQ(720u, height);
    MFGetAttributeRatio(defaultVideo, MF_MT_FRAME_RATE, &width, &height);
    EXPECT_EQ(30u, width);
    EXPECT_EQ(1u, height);
    const auto defaultAudio = audioStream().createDefaultMediaType();
    EXPECT_EQ(MFAudioFormat_Float, subtypeOf(defaultAudio));
    EXPECT_EQ(48000u, MFGetAttributeUINT32(defaultAudio, MF_MT_AUDIO_SAMPLES_PER_SECOND, 0));
    EXPECT_EQ(8u, MFGetAttributeUINT32(defaultAudio, MF_MT_AUDIO_BLOCK_ALIGNMENT, 0));
}

TEST_F(StreamsTest, AFrameWhoseTypeCannotBeBuiltIsRefusedAndTheCurrentTypeStays)
{
    VideoStream &stream = videoStream();
    const auto type = videoType(MFVideoFormat_UYVY);
    stream.setMediaType(type);
    auto frame = videoFrame(64, 36, second, NDIlib_FourCC_video_type_NV12);
    auto bytes = noise(64 * 4 * 36);
    frame.p_data = bytes.data();
    EXPECT_EQ(MF_E_INVALIDMEDIATYPE, stream.processFrame(frame, nullptr));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [newType is null]"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [changeMediaType(frame)] (HR=0xC00D36B4)"));
    EXPECT_EQ(type.p, stream.m_mediaType.p);
}

TEST_F(StreamsTest, AFailedTypeChangeIsTriedAgainWithTheNextFrame)
{
    VideoStream &stream = videoStream();
    auto frame = videoFrame(64, 36, second, NDIlib_FourCC_video_type_RGBA);
    auto bytes = noise(64 * 4 * 36);
    frame.p_data = bytes.data();
    stream.processFrame(frame, nullptr);
    stream.processFrame(frame, nullptr);
    EXPECT_EQ(2, log.count(QtCriticalMsg, sourceLog, " [newType is null]"));
}

TEST_F(StreamsTest, ABgraFrameGivesABottomUpArgb32PictureOfItsOwnBytes)
{
    start(source);
    const auto bytes = noise(1920 * 4 * 1080);
    ndi.pushVideo(videoFrame(1920, 1080, second, NDIlib_FourCC_video_type_BGRA), bytes);
    const auto sample = requestSample(streams[0]);
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(S_OK, sample->ConvertToContiguousBuffer(&buffer));
    EXPECT_LT(MediaBufferMapping2D(buffer, MF2DBuffer_LockFlags_Read).pitch(), 0);
    EXPECT_EQ(bytes, pictureOf(sample, 7680, 1080));
    EXPECT_EQ(400'000, durationOf(sample));
    DWORD length = 0;
    buffer->GetCurrentLength(&length);
    EXPECT_EQ(1920u * 4 * 1080, length);
}

TEST_F(StreamsTest, AUyvyPictureArrivesBitExactWithPackedAndWithPaddedLines)
{
    start(source);
    const auto packed = noise(1920 * 2 * 1080);
    ndi.pushVideo(videoFrame(1920, 1080, second), packed);
    EXPECT_EQ(packed, pictureOf(requestSample(streams[0]), 3840, 1080));

    constexpr int stride = 64 * 2 + 13;
    const auto padded = noise(stride * 36, 5);
    ndi.pushVideo(videoFrame(64, 36, 2 * second, NDIlib_FourCC_video_type_UYVY, stride), padded);
    const auto picture = pictureOf(requestSample(streams[0]), 128, 36);
    for (int line = 0; line < 36; ++line)
        ASSERT_TRUE(std::equal(picture.begin() + line * 128, picture.begin() + (line + 1) * 128,
                               padded.begin() + line * stride))
            << line;
}

TEST_F(StreamsTest, AFormatChangeIsAnnouncedRightBeforeItsFirstSample)
{
    start(source);
    for (const int width : {64, 64, 128, 64})
        ndi.pushVideo(videoFrame(width, 36, second), noise(static_cast<size_t>(width) * 2 * 36));
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

TEST_F(StreamsTest, AChangeOfInterlacingAloneIsNoFormatChange)
{
    start(source);
    auto frame = videoFrame(64, 36, second);
    ndi.pushVideo(frame, noise(64 * 2 * 36));
    frame.frame_format_type = NDIlib_frame_format_type_field_1;
    frame.timecode += second;
    ndi.pushVideo(frame, noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    EXPECT_EQ(std::vector<MediaEventType>{MEMediaSample}, eventsUpTo(streams[0], MEMediaSample));
}

TEST_F(StreamsTest, FieldLayoutsAreMarkedOnTheSample)
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
        auto frame = videoFrame(64, 36, second);
        frame.frame_format_type = each.type;
        ndi.pushVideo(frame, noise(64 * 2 * 36));
        const auto sample = requestSample(streams[0]);
        EXPECT_EQ(each.singleField, flagOf(sample, MFSampleExtension_SingleField)) << each.type;
        EXPECT_EQ(each.bottomFieldFirst, flagOf(sample, MFSampleExtension_BottomFieldFirst)) << each.type;
        EXPECT_EQ(1u, flagOf(sample, MFSampleExtension_CleanPoint));
    }
}

TEST_F(StreamsTest, PerFrameMetadataRidesOnTheSampleAsItsPayload)
{
    start(source);
    const QByteArray payload("\0\1\xff payload", 11);
    ndi.pushVideo(videoFrame(64, 36, second), noise(64 * 2 * 36), wrapMetadataPayload(payload).constData());
    ndi.pushVideo(videoFrame(64, 36, 2 * second), noise(64 * 2 * 36), "<foreign/>");
    ndi.pushVideo(videoFrame(64, 36, 3 * second), noise(64 * 2 * 36));
    UINT8 *blob = nullptr;
    UINT32 size = 99;
    ASSERT_EQ(S_OK, requestSample(streams[0])->GetAllocatedBlob(SampleMetadataAttribute, &blob, &size));
    EXPECT_EQ(payload, QByteArray(reinterpret_cast<const char *>(blob), static_cast<int>(size)));
    CoTaskMemFree(blob);
    EXPECT_EQ(S_OK, requestSample(streams[0])->GetBlobSize(SampleMetadataAttribute, &size));
    EXPECT_EQ(0u, size);
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, requestSample(streams[0])->GetBlobSize(SampleMetadataAttribute, &size));
}

TEST_F(StreamsTest, AStereoFrameOf1600SamplesIs12800BytesWithoutATypeChange)
{
    start(source);
    const auto values = tone(2, 1600);
    ndi.pushAudio(audioFrame(48000, 2, 1600, second), values);
    ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    EXPECT_EQ((std::vector<MediaEventType>{MEStreamStarted, MEMediaSample}), eventsUpTo(streams[1], MEMediaSample));

    ndi.pushAudio(audioFrame(48000, 2, 1600, 2 * second), values);
    const auto sample = requestSample(streams[1]);
    EXPECT_EQ(333'333, durationOf(sample));
    CComPtr<IMFMediaBuffer> buffer;
    sample->ConvertToContiguousBuffer(&buffer);
    const MediaBufferMapping mapping(buffer);
    ASSERT_EQ(12800u, mapping.currentLength());
    const auto *const interleaved = reinterpret_cast<const float *>(mapping.buffer());
    for (size_t index = 0; index < 1600; ++index) {
        ASSERT_EQ(values[index], interleaved[index * 2]);
        ASSERT_EQ(values[1600 + index], interleaved[index * 2 + 1]);
    }
}

TEST_F(StreamsTest, OneToEightChannelsArriveBitExact)
{
    start(source);
    for (int channels = 1; channels <= 8; ++channels) {
        const auto values = tone(channels, 441);
        ndi.pushAudio(audioFrame(44100, channels, 441, channels * second), values);
        const auto sample = requestSample(streams[1]);
        EXPECT_EQ(100'000, durationOf(sample));
        CComPtr<IMFMediaBuffer> buffer;
        sample->ConvertToContiguousBuffer(&buffer);
        const MediaBufferMapping mapping(buffer);
        ASSERT_EQ(441u * 4 * static_cast<DWORD>(channels), mapping.currentLength());
        const auto *const interleaved = reinterpret_cast<const float *>(mapping.buffer());
        for (int channel = 0; channel < channels; ++channel)
            for (int index = 0; index < 441; ++index)
                ASSERT_EQ(values[static_cast<size_t>(channel * 441 + index)], interleaved[index * channels + channel]);
    }
}

TEST_F(StreamsTest, AnotherSampleRateIsAnnouncedBeforeItsSample)
{
    start(source);
    ndi.pushAudio(audioFrame(44100, 2, 441, second), tone(2, 441));
    ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    EXPECT_EQ((std::vector<MediaEventType>{MEStreamStarted, MEStreamFormatChanged, MEMediaSample}),
              eventsUpTo(streams[1], MEMediaSample));
}

TEST_F(StreamsTest, TwoAudioFramesWithOneTimecodeLieOneDurationApart)
{
    start(source);
    for (int index = 0; index < 2; ++index)
        ndi.pushAudio(audioFrame(48000, 2, 480, second), tone(2, 480));
    const LONGLONG first = timeOf(requestSample(streams[1]));
    EXPECT_EQ(first + 100'000, timeOf(requestSample(streams[1])));
}

TEST_F(StreamsTest, HostileAudioFramesAreRefusedWithoutALine)
{
    AudioStream &stream = audioStream();
    auto values = tone(2, 480);
    const auto refused = [&](auto &&change) {
        auto frame = audioFrame(48000, 2, 480, second);
        frame.p_data = values.data();
        change(frame);
        return stream.processFrame(frame, nullptr) == E_INVALIDARG;
    };
    EXPECT_TRUE(refused([](auto &f) { f.sample_rate = 0; }));
    EXPECT_TRUE(refused([](auto &f) { f.sample_rate = -48000; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_channels = 0; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_channels = -1; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_channels = INT_MAX; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_samples = -1; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_samples = INT_MAX; }));
    EXPECT_TRUE(refused([](auto &f) { f.channel_stride_in_bytes = 4; }));
    EXPECT_TRUE(refused([](auto &f) { f.channel_stride_in_bytes = INT_MAX; }));
    EXPECT_TRUE(refused([](auto &f) { f.p_data = nullptr; }));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(StreamsTest, HostileVideoFramesAreRefused)
{
    VideoStream &stream = videoStream();
    auto bytes = noise(64 * 2 * 36);
    const auto refused = [&](auto &&change) {
        auto frame = videoFrame(64, 36, second);
        frame.p_data = bytes.data();
        change(frame);
        return FAILED(stream.processFrame(frame, nullptr));
    };
    EXPECT_TRUE(refused([](auto &f) { f.xres = 0; }));
    EXPECT_TRUE(refused([](auto &f) { f.xres = -64; }));
    EXPECT_TRUE(refused([](auto &f) { f.xres = INT_MAX; }));
    EXPECT_TRUE(refused([](auto &f) { f.yres = INT_MIN; }));
    EXPECT_TRUE(refused([](auto &f) { f.line_stride_in_bytes = 127; }));
    EXPECT_TRUE(refused([](auto &f) { f.line_stride_in_bytes = -128; }));
    EXPECT_TRUE(refused([](auto &f) { f.p_data = nullptr; }));
    EXPECT_TRUE(refused([](auto &f) { f.FourCC = static_cast<NDIlib_FourCC_video_type_e>(0x12345678); }));
}

TEST_F(StreamsTest, HardwareSamplesAnnounceUyvyAsYuy2AndFollowTheHostToNv12)
{
    useHardware();
    VideoStream &stream = videoStream();
    EXPECT_EQ(MFVideoFormat_YUY2, subtypeOf(stream.createDefaultMediaType()));
    FrameConverter converter;
    EXPECT_EQ(S_OK, stream.updateFrameConverter(NDIlib_FourCC_video_type_UYVY, videoType(MFVideoFormat_YUY2)));
    EXPECT_EQ(S_OK, stream.setMediaType(videoType(MFVideoFormat_NV12)));
    EXPECT_EQ(MF_E_UNSUPPORTED_D3D_TYPE,
              stream.updateFrameConverter(NDIlib_FourCC_video_type_UYVY, videoType(MFVideoFormat_RGB32)));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "Unsupported hardware sample format"));
}

TEST_F(StreamsTest, EachHardwareConversionIsTheFrameworksOwn)
{
    auto bytes = noise(64 * 2 * 36);
    auto frame = videoFrame(64, 36, second);
    frame.p_data = bytes.data();
    const auto converted = [&](const GUID &subtype, size_t size) {
        std::vector<uint8_t> picture(size, 0xcc);
        FrameConverter converter;
        EXPECT_EQ(S_OK, chooseFrameConverter(NDIlib_FourCC_video_type_UYVY, true, videoType(subtype), converter));
        converter(frame, picture.data(), subtype == MFVideoFormat_NV12 ? 64 : 128);
        return picture;
    };
    std::vector<uint8_t> expected(64 * 2 * 36, 0xcc);
    ConvertBufferFromUYVYtoYUY2(64, 36, bytes.data(), 128, expected.data(), 128);
    EXPECT_EQ(expected, converted(MFVideoFormat_YUY2, expected.size()));
    expected.assign(64 * 36 * 3 / 2, 0xcc);
    ConvertBufferFromUYVYtoNV12(64, 36, bytes.data(), 128, expected.data(), 64);
    EXPECT_EQ(expected, converted(MFVideoFormat_NV12, expected.size()));

    FrameConverter untouched;
    EXPECT_EQ(MF_E_UNSUPPORTED_D3D_TYPE,
              chooseFrameConverter(NDIlib_FourCC_video_type_UYVY, true, videoType(MFVideoFormat_RGB32), untouched));
    std::vector<uint8_t> picture(64 * 4 * 36, 0xcc);
    untouched(frame, picture.data(), 256);
    EXPECT_EQ(std::vector<uint8_t>(picture.size(), 0xcc), picture);
}

TEST_F(StreamsTest, HardwareSamplesLandInTexturesConvertedByteForByte)
{
    useHardware();
    ASSERT_EQ(S_OK, source->SetD3DManager(deviceManager()));
    start(source);
    auto bytes = noise(64 * 2 * 36);
    ndi.pushVideo(videoFrame(64, 36, second), bytes);
    const auto sample = requestSample(streams[0]);
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(S_OK, sample->GetBufferByIndex(0, &buffer));
    CComPtr<IMFDXGIBuffer> dxgi;
    ASSERT_EQ(S_OK, buffer->QueryInterface(__uuidof(IMFDXGIBuffer), reinterpret_cast<void **>(&dxgi)));
    CComPtr<ID3D11Texture2D> texture;
    ASSERT_EQ(S_OK, dxgi->GetResource(__uuidof(ID3D11Texture2D), reinterpret_cast<void **>(&texture)));
    D3D11_TEXTURE2D_DESC description;
    texture->GetDesc(&description);
    EXPECT_EQ(DXGI_FORMAT_YUY2, description.Format);
    EXPECT_EQ(64u, description.Width);
    EXPECT_EQ(36u, description.Height);
    std::vector<uint8_t> expected(bytes.size());
    ConvertBufferFromUYVYtoYUY2(64, 36, bytes.data(), 128, expected.data(), 128);
    EXPECT_EQ(expected, pictureOf(sample, 128, 36));
}

TEST_F(StreamsTest, WithoutADeviceManagerHardwareSamplesFail)
{
    useHardware();
    VideoStream &stream = videoStream();
    stream.setMediaType(videoType(MFVideoFormat_YUY2));
    CComPtr<IMFSample> sample;
    EXPECT_EQ(E_POINTER, stream.createSample(&sample));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [d3dDeviceManager is null]"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [createHardwareBuffer(width, height, subtype, GetD3DManager(), &mediaBuffer)] "
                           "(HR=0x80004003)"));
}

TEST_F(StreamsTest, ATextureOfAFormatThatTheDeviceLacksIsReported)
{
    const auto manager = deviceManager();
    CD3D11DeviceManager wrapped(manager);
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(E_INVALIDARG, createHardwareBuffer(64, 36, MFVideoFormat_UYVY, &wrapped, &buffer));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [d3dDevice->CreateTexture2D(&textureDesc, nullptr, &texture)] (HR=0x80070057)"));
}

TEST_F(StreamsTest, APoolSampleNeedsASizeAndAKnownFormat)
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

TEST_F(StreamsTest, SamplesAreRecycledInTheSteadyState)
{
    start(source);
    std::vector<IMFMediaBuffer *> seen;
    for (int round = 0; round < 50; ++round) {
        ndi.pushVideo(videoFrame(64, 36, second + round * 400'000), noise(64 * 2 * 36));
        CComPtr<IMFMediaBuffer> buffer;
        requestSample(streams[0])->GetBufferByIndex(0, &buffer);
        if (std::find(seen.begin(), seen.end(), buffer.p) == seen.end())
            seen.push_back(buffer);
    }
    EXPECT_LE(seen.size(), 3u);
}

TEST_F(StreamsTest, AfterStopTheFirstFrameKeepsItsOwnTime)
{
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 100 * second), noise(64 * 2 * 36));
    ndi.pushVideo(videoFrame(64, 36, 500 * second), noise(64 * 2 * 36));
    requestSample(streams[0]);
    const LONGLONG before = timeOf(requestSample(streams[0]));
    ASSERT_EQ(S_OK, source->Stop());
    ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 100 * second), noise(64 * 2 * 36));
    EXPECT_LT(timeOf(requestSample(streams[0])), before - 300 * second);
}

TEST_F(StreamsTest, StoppingTheSourceDropsWhatWaits)
{
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ndi.pushAudio(audioFrame(48000, 2, 480, second), tone(2, 480));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.freedFrames == 1; }));
    ASSERT_EQ(S_OK, source->Stop());
    ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    start(source);
    ndi.pushAudio(audioFrame(48000, 2, 96, 2 * second), tone(2, 96));
    // The sample that waited before the stop had 480 samples.
    EXPECT_EQ(20'000, durationOf(requestSample(streams[1])));
}
