#include "host/monitor/VideoConsumer.h"
#include "pattern/TestPicture.h"

#include <QtCore/QTemporaryDir>

#include <d3d9types.h>
#include <evr.h>
#include <mfapi.h>

#include <gtest/gtest.h>

#include <cstring>

namespace
{

CComPtr<IMFMediaType> typeOf(const GUID &subtype, int width, int height)
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, subtype);
    type->SetUINT64(MF_MT_FRAME_SIZE, static_cast<UINT64>(width) << 32 | static_cast<UINT32>(height));
    type->SetUINT64(MF_MT_FRAME_RATE, static_cast<UINT64>(25) << 32 | 1);
    return type;
}

// A sample in plain memory, lines packed, top line first.
CComPtr<IMFSample> sampleOf(const std::vector<std::uint8_t> &bytes)
{
    CComPtr<IMFSample> sample;
    CComPtr<IMFMediaBuffer> buffer;
    MFCreateSample(&sample);
    MFCreateMemoryBuffer(static_cast<DWORD>(bytes.size()), &buffer);
    BYTE *data = nullptr;
    buffer->Lock(&data, nullptr, nullptr);
    std::memcpy(data, bytes.data(), bytes.size());
    buffer->Unlock();
    buffer->SetCurrentLength(static_cast<DWORD>(bytes.size()));
    sample->AddBuffer(buffer);
    return sample;
}

QImage pictureOf(const GUID &subtype, int width, int height, const std::vector<std::uint8_t> &bytes)
{
    host::VideoConsumer consumer;
    consumer.typeChanged(typeOf(subtype, width, height));
    consumer.sample(sampleOf(bytes), 0);
    return consumer.lastPicture();
}

void expectNear(QRgb left, QRgb right)
{
    EXPECT_NEAR(qRed(left), qRed(right), 2);
    EXPECT_NEAR(qGreen(left), qGreen(right), 2);
    EXPECT_NEAR(qBlue(left), qBlue(right), 2);
}

// The primaries of BT.601 in video range.
constexpr std::uint8_t RedY = 81, RedU = 90, RedV = 240;

TEST(VideoPicture, ShowsUyvy)
{
    const QImage image = pictureOf(MFVideoFormat_UYVY, 2, 1, {RedU, RedY, RedV, RedY});
    ASSERT_EQ(image.size(), QSize(2, 1));
    expectNear(image.pixel(0, 0), qRgb(255, 0, 0));
    expectNear(image.pixel(1, 0), qRgb(255, 0, 0));
}

TEST(VideoPicture, ShowsYuy2)
{
    expectNear(pictureOf(MFVideoFormat_YUY2, 2, 1, {RedY, RedU, RedY, RedV}).pixel(1, 0), qRgb(255, 0, 0));
}

TEST(VideoPicture, ShowsNv12)
{
    const QImage image = pictureOf(MFVideoFormat_NV12, 2, 2, {RedY, RedY, RedY, 16, RedU, RedV});
    expectNear(image.pixel(0, 0), qRgb(255, 0, 0));
}

TEST(VideoPicture, KeepsAlphaOfArgb32Only)
{
    const std::vector<std::uint8_t> pixel = {10, 20, 30, 40}; // B G R A
    EXPECT_EQ(pictureOf(MFVideoFormat_ARGB32, 1, 1, pixel).pixel(0, 0), qRgba(30, 20, 10, 40));
    EXPECT_EQ(pictureOf(MFVideoFormat_RGB32, 1, 1, pixel).pixel(0, 0), qRgba(30, 20, 10, 255));
}

TEST(VideoPicture, ShowsTheTopLineOfABottomUpBufferAtTheTop)
{
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(MFCreate2DMediaBuffer(4, 2, static_cast<DWORD>(D3DFMT_X8R8G8B8), TRUE, &buffer), S_OK);
    buffer->SetCurrentLength(32);
    {
        const MediaBufferMapping2D mapping(buffer, MF2DBuffer_LockFlags_Write);
        ASSERT_LT(mapping.pitch(), 0);
        std::memset(mapping.buffer(), 0xFF, 16);
        std::memset(mapping.buffer() + mapping.pitch(), 0, 16);
    }
    CComPtr<IMFSample> sample;
    MFCreateSample(&sample);
    sample->AddBuffer(buffer);
    host::VideoConsumer consumer;
    consumer.typeChanged(typeOf(MFVideoFormat_RGB32, 4, 2));
    consumer.sample(sample, 0);
    const QImage image = consumer.lastPicture();
    EXPECT_EQ(image.pixel(0, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image.pixel(0, 1), qRgb(0, 0, 0));
}

TEST(VideoPicture, CountsAPictureThatIsSmallerThanItsType)
{
    host::VideoConsumer consumer;
    consumer.typeChanged(typeOf(MFVideoFormat_UYVY, 4, 4));
    consumer.sample(sampleOf({1, 2, 3, 4}), 0);
    EXPECT_EQ(consumer.figures().unreadable, 1U);
    EXPECT_TRUE(consumer.lastPicture().isNull());
}

TEST(VideoConsumer, CountsLostFramesAndLatencyByTheCodeInThePicture)
{
    host::VideoConsumer consumer;
    consumer.typeChanged(typeOf(MFVideoFormat_UYVY, 320, 64));
    pattern::TestPicture picture(pattern::PixelLayout::UYVY, 320, 64);
    for (const std::uint64_t frame : {7U, 8U, 12U, 3U, 4U}) {
        picture.draw(frame, false);
        ASSERT_TRUE(picture.stamp({frame, 1000000}));
        const std::uint8_t *const data = picture.picture().topLine;
        consumer.sample(sampleOf({data, data + 320 * 2 * 64}), 1000000 + 125000);
    }
    const host::VideoFigures figures = consumer.figures();
    EXPECT_EQ(figures.coded, 5U);
    EXPECT_EQ(figures.lost, 3U);
    EXPECT_EQ(figures.lastFrame, 4U);
    EXPECT_NEAR(figures.latencyMedianMs, 12.5, 0.11);
    EXPECT_DOUBLE_EQ(figures.latencyMaxMs, 12.5);
}

TEST(VideoConsumer, TakesOnlyWhatItCanRead)
{
    const host::VideoConsumer consumer;
    EXPECT_TRUE(consumer.takes(typeOf(MFVideoFormat_NV12, 16, 16)));
    EXPECT_FALSE(consumer.takes(typeOf(MFVideoFormat_H264, 16, 16)));
    EXPECT_FALSE(consumer.takes(typeOf(MFVideoFormat_UYVY, 0, 16)));
}

} // namespace
