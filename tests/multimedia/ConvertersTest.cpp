#include "hostfw/VideoFormats.h"

#include <gtest/gtest.h>

#include <mfapi.h>

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

constexpr unsigned char untouched = 0xA5;
constexpr size_t margin = 64;

size_t index(int value)
{
    return static_cast<size_t>(value);
}

// A UYVY picture of noise with padded lines.
struct Uyvy {
    Uyvy(int pictureWidth, int pictureHeight, int padding)
        : width(pictureWidth), height(pictureHeight), stride((pictureWidth + 1) / 2 * 4 + padding),
          bytes(index(stride) * index(pictureHeight))
    {
        uint32_t noise = 1;
        for (unsigned char &byte : bytes) {
            noise = noise * 1664525U + 1013904223U;
            byte = static_cast<unsigned char>(noise >> 24);
        }
    }
    unsigned char at(int line, int byte) const { return bytes[index(line) * index(stride) + index(byte)]; }
    unsigned char luma(int x, int y) const { return at(y, x * 2 + 1); }
    // `which`: 0 for U, 1 for V; `x` counts groups of two pixels.
    unsigned char chroma(int which, int x, int y) const { return at(y, x * 4 + which * 2); }

    int width;
    int height;
    int stride;
    Bytes bytes;
};

// Room with a margin around it that nobody may write to.
class Destination
{
public:
    explicit Destination(int size) : m_size(index(size)), m_bytes(m_size + 2 * margin, untouched) {}

    unsigned char *at(int offset) { return m_bytes.data() + margin + offset; }
    bool marginsUntouched() const
    {
        for (size_t at = 0; at < margin; ++at)
            if (m_bytes[at] != untouched || m_bytes[margin + m_size + at] != untouched)
                return false;
        return true;
    }

private:
    size_t m_size;
    Bytes m_bytes;
};

// Width, height, padding of the source's lines, padding of the destination's lines.
class Converters : public testing::TestWithParam<std::tuple<int, int, int, int>>
{
protected:
    int width() const { return std::get<0>(GetParam()); }
    int height() const { return std::get<1>(GetParam()); }
    int padding() const { return std::get<3>(GetParam()); }

    Uyvy m_source{std::get<0>(GetParam()), std::get<1>(GetParam()), std::get<2>(GetParam())};
};

} // namespace

TEST_P(Converters, Yuy2HasTheSameBytesInItsOwnOrder)
{
    const int line = (width() + 1) / 2 * 4;
    const int stride = line + padding();
    Destination destination(stride * height());
    ConvertBufferFromUYVYtoYUY2(width(), height(), m_source.bytes.data(), m_source.stride, destination.at(0), stride);
    for (int y = 0; y < height(); ++y) {
        for (int x = 0; x < width(); ++x) {
            const unsigned char *const pixel = destination.at(y * stride + x * 2);
            ASSERT_EQ(pixel[0], m_source.luma(x, y)) << x << ',' << y;
            ASSERT_EQ(pixel[1], m_source.chroma(x % 2, x / 2, y)) << x << ',' << y;
        }
        for (int at = line; at < stride; ++at)
            ASSERT_EQ(*destination.at(y * stride + at), untouched);
    }
    EXPECT_TRUE(destination.marginsUntouched());
}

TEST_P(Converters, NegativeStrideMakesYuy2BottomUp)
{
    const int stride = (width() + 1) / 2 * 4 + padding();
    Destination destination(stride * height());
    ConvertBufferFromUYVYtoYUY2(width(), height(), m_source.bytes.data(), m_source.stride,
                                destination.at(stride * (height() - 1)), -stride);
    for (int y = 0; y < height(); ++y) {
        for (int x = 0; x < width(); ++x) {
            const unsigned char *const pixel = destination.at((height() - 1 - y) * stride + x * 2);
            ASSERT_EQ(pixel[0], m_source.luma(x, y)) << x << ',' << y;
            ASSERT_EQ(pixel[1], m_source.chroma(x % 2, x / 2, y)) << x << ',' << y;
        }
    }
    EXPECT_TRUE(destination.marginsUntouched());
}

// The chroma of two lines becomes one: their mean, rounded up; an odd last line keeps its own.
TEST_P(Converters, Nv12HasAllLumaAndHalfTheLinesOfChroma)
{
    const int stride = (width() + 1) / 2 * 2 + padding();
    const int chromaLines = (height() + 1) / 2;
    Destination destination(stride * (height() + chromaLines));
    ConvertBufferFromUYVYtoNV12(width(), height(), m_source.bytes.data(), m_source.stride, destination.at(0), stride);
    for (int y = 0; y < height(); ++y)
        for (int x = 0; x < width(); ++x)
            ASSERT_EQ(*destination.at(y * stride + x), m_source.luma(x, y)) << x << ',' << y;
    for (int y = 0; y < chromaLines; ++y) {
        const int below = std::min(y * 2 + 1, height() - 1);
        for (int at = 0; at < (width() + 1) / 2 * 2; ++at) {
            const int sum = m_source.chroma(at % 2, at / 2, y * 2) + m_source.chroma(at % 2, at / 2, below);
            ASSERT_EQ(*destination.at((height() + y) * stride + at), (sum + 1) / 2) << at << ',' << y;
        }
    }
    EXPECT_TRUE(destination.marginsUntouched());
}

// All lines stand in reverse: those of the chroma plane, the last one first, before those of the luma.
TEST_P(Converters, NegativeStrideMakesNv12BottomUp)
{
    const int stride = (width() + 1) / 2 * 2 + padding();
    const int lines = height() + (height() + 1) / 2;
    Destination upright(stride * lines);
    Destination reversed(stride * lines);
    ConvertBufferFromUYVYtoNV12(width(), height(), m_source.bytes.data(), m_source.stride, upright.at(0), stride);
    ConvertBufferFromUYVYtoNV12(width(), height(), m_source.bytes.data(), m_source.stride,
                                reversed.at(stride * (lines - 1)), -stride);
    for (int line = 0; line < lines; ++line)
        for (int at = 0; at < stride; ++at)
            ASSERT_EQ(*reversed.at((lines - 1 - line) * stride + at), *upright.at(line * stride + at))
                << at << ',' << line;
    EXPECT_TRUE(reversed.marginsUntouched());
}

INSTANTIATE_TEST_SUITE_P(Sizes, Converters,
                         testing::Combine(testing::Values(1, 2, 3, 15, 16, 33, 64, 129), testing::Values(1, 2, 5, 8),
                                          testing::Values(0, 12), testing::Values(0, 6)));

TEST(ConvertersWithoutAPicture, DoNothing)
{
    Uyvy source(4, 2, 0);
    Destination destination(64);
    for (const auto convert : {&ConvertBufferFromUYVYtoYUY2, &ConvertBufferFromUYVYtoNV12}) {
        convert(0, 2, source.bytes.data(), source.stride, destination.at(0), 8);
        convert(4, 0, source.bytes.data(), source.stride, destination.at(0), 8);
        convert(-4, -2, source.bytes.data(), source.stride, destination.at(0), 8);
        convert(4, 2, nullptr, source.stride, destination.at(0), 8);
        convert(4, 2, source.bytes.data(), source.stride, nullptr, 8);
    }
    for (int at = 0; at < 64; ++at)
        ASSERT_EQ(*destination.at(at), untouched);
}

namespace
{

struct Known {
    const GUID &subtype;
    D3DFORMAT d3d;
    DXGI_FORMAT dxgi;
    unsigned bytesPerPixel;
};

const Known known[] = {
    {MFVideoFormat_UYVY, D3DFMT_UYVY, DXGI_FORMAT_UNKNOWN, 2},
    {MFVideoFormat_YUY2, D3DFMT_YUY2, DXGI_FORMAT_YUY2, 2},
    {MFVideoFormat_NV12, static_cast<D3DFORMAT>(0x3231564E), DXGI_FORMAT_NV12, 1},
    {MFVideoFormat_YV12, static_cast<D3DFORMAT>(0x32315659), DXGI_FORMAT_UNKNOWN, 1},
    {MFVideoFormat_I420, static_cast<D3DFORMAT>(0x30323449), DXGI_FORMAT_UNKNOWN, 1},
    {MFVideoFormat_ARGB32, D3DFMT_A8R8G8B8, DXGI_FORMAT_B8G8R8A8_UNORM, 4},
    {MFVideoFormat_RGB32, D3DFMT_X8R8G8B8, DXGI_FORMAT_B8G8R8X8_UNORM, 4},
    {MFVideoFormat_RGB24, D3DFMT_R8G8B8, DXGI_FORMAT_UNKNOWN, 3},
};

} // namespace

TEST(VideoFormats, KnowTheUncompressedSubtypes)
{
    for (const Known &one : known) {
        EXPECT_EQ(GetD3DFmtBySubtype(one.subtype), one.d3d);
        EXPECT_EQ(GetDXGIFmtBySubtype(one.subtype), one.dxgi);
        EXPECT_EQ(BytesPerPixel(one.d3d), one.bytesPerPixel);
    }
}

TEST(VideoFormats, DoNotKnowOthers)
{
    for (const GUID &other : {MFVideoFormat_H264, MFAudioFormat_PCM, GUID_NULL}) {
        EXPECT_EQ(GetD3DFmtBySubtype(other), D3DFMT_UNKNOWN);
        EXPECT_EQ(GetDXGIFmtBySubtype(other), DXGI_FORMAT_UNKNOWN);
    }
    EXPECT_EQ(BytesPerPixel(D3DFMT_UNKNOWN), 0U);
}

TEST(VideoFormats, DoNotMistakeAGuidThatOnlyBeginsLikeASubtype)
{
    GUID other = MFVideoFormat_UYVY;
    other.Data4[7] ^= 1;
    EXPECT_EQ(GetD3DFmtBySubtype(other), D3DFMT_UNKNOWN);
}
