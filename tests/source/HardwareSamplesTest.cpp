#include "hostfw/VideoFormats.h"
#include "source/FrameConverter.h"
#include "source/HardwareBuffer.h"
#include "tests/source/EventReader.h"
#include "tests/source/StreamHarness.h"

#include <d3d11.h>

namespace
{

class HardwareSamplesTest : public StreamsTest
{
};

// The sample that an MEMediaSample carries; null in any other event.
CComPtr<IMFSample> sampleOf(IMFMediaEvent *event)
{
    CComPtr<IMFSample> sample;
    PROPVARIANT value;
    PropVariantInit(&value);
    event->GetValue(&value);
    if (value.vt == VT_UNKNOWN)
        value.punkVal->QueryInterface(__uuidof(IMFSample), reinterpret_cast<void **>(&sample));
    PropVariantClear(&value);
    return sample;
}

// What the texture of a sample's one buffer is; of no format when that is none.
D3D11_TEXTURE2D_DESC textureOf(IMFSample *sample)
{
    D3D11_TEXTURE2D_DESC description = {};
    CComPtr<IMFMediaBuffer> buffer;
    CComPtr<IMFDXGIBuffer> dxgi;
    CComPtr<ID3D11Texture2D> texture;
    EXPECT_EQ(S_OK, sample->GetBufferByIndex(0, &buffer));
    if (buffer)
        buffer->QueryInterface(__uuidof(IMFDXGIBuffer), reinterpret_cast<void **>(&dxgi));
    if (dxgi)
        dxgi->GetResource(__uuidof(ID3D11Texture2D), reinterpret_cast<void **>(&texture));
    if (texture)
        texture->GetDesc(&description);
    return description;
}

} // namespace

TEST_F(HardwareSamplesTest, HardwareSamplesAnnounceUyvyAsYuy2AndFollowTheHostToNv12)
{
    useHardware();
    VideoStream &stream = videoStream();
    EXPECT_EQ(MFVideoFormat_YUY2, subtypeOf(stream.createDefaultMediaType()));
    EXPECT_EQ(S_OK, stream.updateFrameConverter(NDIlib_FourCC_video_type_UYVY, videoType(MFVideoFormat_YUY2)));
    EXPECT_EQ(S_OK, stream.setMediaType(videoType(MFVideoFormat_NV12)));
    EXPECT_EQ(MF_E_UNSUPPORTED_D3D_TYPE,
              stream.updateFrameConverter(NDIlib_FourCC_video_type_UYVY, videoType(MFVideoFormat_RGB32)));
    EXPECT_EQ(1, log.count(QtWarningMsg, sourceLog, "Unsupported hardware sample format"));
}

TEST_F(HardwareSamplesTest, EachHardwareConversionIsTheFrameworksOwn)
{
    auto bytes = noise(64 * 2 * 36);
    auto frame = videoFrame(64, 36, oneSecond);
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

TEST_F(HardwareSamplesTest, HardwareSamplesLandInTexturesConvertedByteForByte)
{
    useHardware();
    ASSERT_EQ(S_OK, source->SetD3DManager(deviceManager()));
    start(source);
    auto bytes = noise(64 * 2 * 36);
    ndi.pushVideo(videoFrame(64, 36, oneSecond), bytes);
    const auto sample = requestSample(streams[0]);
    const D3D11_TEXTURE2D_DESC texture = textureOf(sample);
    EXPECT_EQ(DXGI_FORMAT_YUY2, texture.Format);
    EXPECT_EQ(64u, texture.Width);
    EXPECT_EQ(36u, texture.Height);
    std::vector<uint8_t> expected(bytes.size());
    ConvertBufferFromUYVYtoYUY2(64, 36, bytes.data(), 128, expected.data(), 128);
    EXPECT_EQ(expected, pictureOf(sample, 128, 36));
}

TEST_F(HardwareSamplesTest, WithoutADeviceManagerHardwareSamplesFail)
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

TEST_F(HardwareSamplesTest, ATextureOfAFormatThatTheDeviceLacksIsReported)
{
    const auto manager = deviceManager();
    CD3D11DeviceManager wrapped(manager);
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(E_INVALIDARG, createHardwareBuffer(64, 36, MFVideoFormat_UYVY, &wrapped, &buffer));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [d3dDevice->CreateTexture2D(&textureDesc, nullptr, &texture)] (HR=0x80070057)"));
}

TEST_F(HardwareSamplesTest, FramesUnderATypeThatUyvyCannotBecomeFlowOnAsSamplesOfIt)
{
    useHardware();
    ASSERT_EQ(S_OK, source->SetD3DManager(deviceManager()));
    start(source);
    auto frame = videoFrame(64, 36, oneSecond);
    frame.picture_aspect_ratio = 64.0F / 36.0F;
    ndi.pushVideo(frame, noise(64 * 2 * 36));
    ASSERT_TRUE(requestSample(streams[0]));
    auto *const stream = static_cast<tvx::ISourceStream *>(streams[0].p);
    ASSERT_EQ(MF_E_UNSUPPORTED_D3D_TYPE, stream->SetMediaType(videoType(MFVideoFormat_RGB32)));
    frame.timecode += oneSecond;
    ndi.pushVideo(frame, noise(64 * 2 * 36));
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    const auto event = nextEvent(streams[0]);
    ASSERT_TRUE(event);
    MediaEventType type = MEUnknown;
    event->GetType(&type);
    EXPECT_EQ(MEMediaSample, type) << "the stream went back to a type of its own";
    const auto sample = sampleOf(event);
    ASSERT_TRUE(sample);
    EXPECT_EQ(DXGI_FORMAT_B8G8R8X8_UNORM, textureOf(sample).Format);
}

TEST_F(HardwareSamplesTest, ATypeOfTheHostThatUyvyCannotBecomeFails)
{
    useHardware();
    VideoStream &stream = videoStream();
    EXPECT_EQ(MF_E_UNSUPPORTED_D3D_TYPE, stream.setMediaType(videoType(MFVideoFormat_RGB32)));
    EXPECT_EQ(1, log.count(QtWarningMsg, sourceLog, "Unsupported hardware sample format"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [updateFrameConverter(m_lastFrameFormat.FourCC, type)] (HR=0xC00D6D76)"));
}

TEST_F(HardwareSamplesTest, AHostThatChoosesNv12GetsItForTheFramesThatFollow)
{
    useHardware();
    ASSERT_EQ(S_OK, source->SetD3DManager(deviceManager()));
    start(source);
    const auto bytes = noise(64 * 2 * 36);
    auto frame = videoFrame(64, 36, oneSecond);
    frame.picture_aspect_ratio = 64.0F / 36.0F;
    ndi.pushVideo(frame, bytes);
    ASSERT_TRUE(requestSample(streams[0]));
    auto *const stream = static_cast<tvx::ISourceStream *>(streams[0].p);
    ASSERT_EQ(S_OK, stream->SetMediaType(videoType(MFVideoFormat_NV12)));
    frame.timecode += oneSecond;
    ndi.pushVideo(frame, bytes);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    const auto event = nextEvent(streams[0]);
    MediaEventType type = MEUnknown;
    event->GetType(&type);
    ASSERT_EQ(MEMediaSample, type) << "the stream went back to a type of its own";
    const auto sample = sampleOf(event);

    std::vector<uint8_t> expected(64 * 36 * 3 / 2);
    ConvertBufferFromUYVYtoNV12(64, 36, const_cast<unsigned char *>(bytes.data()), 128, expected.data(), 64);
    EXPECT_EQ(expected, pictureOf(sample, 64, 36 * 3 / 2));
}

TEST_F(HardwareSamplesTest, BehindAFrameThatGotNoTextureTheFormerFormatIsAnnouncedAnew)
{
    useHardware();
    const auto manager = deviceManager();
    ASSERT_EQ(S_OK, source->SetD3DManager(manager));
    start(source);
    const auto bytes = noise(64 * 2 * 36);
    ndi.pushVideo(videoFrame(64, 36, oneSecond), bytes);
    ASSERT_TRUE(requestSample(streams[0]));
    ASSERT_EQ(S_OK, source->SetD3DManager(nullptr));
    ndi.pushVideo(videoFrame(32, 36, 2 * oneSecond), bytes);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ASSERT_TRUE(log.waitFor(QtCriticalMsg, sourceLog, " [m_samplePool->Pop(&poolSample)] (HR=0x80004003)"));
    ASSERT_EQ(S_OK, source->SetD3DManager(manager));
    ndi.pushVideo(videoFrame(64, 36, 3 * oneSecond), bytes);
    const std::vector<MediaEventType> expected = {MEStreamFormatChanged, MEStreamFormatChanged, MEMediaSample};
    EXPECT_EQ(expected, eventsUpTo(streams[0], MEMediaSample));
}

TEST_F(HardwareSamplesTest, WithoutADeviceManagerNoFrameIsDeliveredAndTheReasonIsLogged)
{
    useHardware();
    VideoStream &stream = videoStream();
    auto bytes = noise(64 * 2 * 36);
    auto frame = videoFrame(64, 36, oneSecond);
    frame.p_data = bytes.data();
    EXPECT_EQ(E_POINTER, stream.processFrame(frame, nullptr));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [d3dDeviceManager is null]"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [m_samplePool->Pop(&poolSample)] (HR=0x80004003)"));
}

TEST_F(HardwareSamplesTest, AManagerWithoutADeviceIsAResult)
{
    UINT token = 0;
    CComPtr<IMFDXGIDeviceManager> manager;
    ASSERT_EQ(S_OK, MFCreateDXGIDeviceManager(&token, &manager));
    CD3D11DeviceManager wrapped(manager);
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_TRUE(FAILED(createHardwareBuffer(64, 36, MFVideoFormat_YUY2, &wrapped, &buffer)));
    EXPECT_FALSE(buffer);
}

TEST_F(HardwareSamplesTest, LinesThatEndWithinAGroupOfPixelsAreRefused)
{
    useHardware();
    VideoStream &stream = videoStream();
    auto bytes = noise(63 * 2 * 36);
    auto frame = videoFrame(63, 36, oneSecond);
    frame.p_data = bytes.data();
    EXPECT_EQ(E_INVALIDARG, stream.processFrame(frame, nullptr));
}

TEST_F(HardwareSamplesTest, ABgraFrameIsCopiedIntoItsTexture)
{
    useHardware();
    ASSERT_EQ(S_OK, source->SetD3DManager(deviceManager()));
    start(source);
    const auto bytes = noise(64 * 4 * 36);
    ndi.pushVideo(videoFrame(64, 36, oneSecond, NDIlib_FourCC_video_type_BGRA), bytes);
    EXPECT_EQ(bytes, pictureOf(requestSample(streams[0]), 256, 36));
}
