#include "tests/platform/DataSupport.h"

#include <d3d9types.h>

#include <algorithm>
#include <limits>

TEST(CopyImage, CopiesAPackedPictureAsAWhole)
{
    const Bytes source = countingBytes(12);
    Bytes destination(13, 0xEE);
    EXPECT_EQ(MFCopyImage(destination.data(), 4, source.data(), 4, 4, 3), S_OK);
    EXPECT_TRUE(std::equal(source.begin(), source.end(), destination.begin()));
    EXPECT_EQ(destination.back(), 0xEE);
}

TEST(CopyImage, LeavesTheBytesBetweenLinesAlone)
{
    const Bytes source = {1, 2, 0, 3, 4, 0};
    Bytes destination(8, 0xEE);
    EXPECT_EQ(MFCopyImage(destination.data(), 4, source.data(), 3, 2, 2), S_OK);
    EXPECT_EQ(destination, (Bytes{1, 2, 0xEE, 0xEE, 3, 4, 0xEE, 0xEE}));
}

TEST(CopyImage, TurnsAPictureOver)
{
    const Bytes source = {1, 2, 3, 4, 5, 6};
    Bytes destination(6);
    EXPECT_EQ(MFCopyImage(destination.data() + 4, -2, source.data(), 2, 2, 3), S_OK);
    EXPECT_EQ(destination, (Bytes{5, 6, 3, 4, 1, 2}));
    EXPECT_EQ(MFCopyImage(destination.data(), 2, source.data() + 4, -2, 2, 3), S_OK);
    EXPECT_EQ(destination, (Bytes{5, 6, 3, 4, 1, 2}));
}

TEST(CopyImage, CopiesNothingOfNoLines)
{
    Bytes destination(4, 0xEE);
    const Bytes source(4);
    EXPECT_EQ(MFCopyImage(destination.data(), 4, source.data(), 4, 4, 0), S_OK);
    EXPECT_EQ(destination, Bytes(4, 0xEE));
}

namespace
{

struct Size {
    GUID subtype;
    UINT32 bytes; // of 640 x 480
    LONG stride;
};

const Size sizes[] = {
    {MFVideoFormat_UYVY, 614400, 1280},     {MFVideoFormat_YUY2, 614400, 1280},
    {MFVideoFormat_NV12, 460800, 640},      {MFVideoFormat_I420, 460800, 640},
    {MFVideoFormat_YV12, 460800, 640},      {MFVideoFormat_IYUV, 460800, 640},
    {MFVideoFormat_ARGB32, 1228800, -2560}, {MFVideoFormat_RGB32, 1228800, -2560},
    {MFVideoFormat_RGB565, 614400, -1280},  {MFVideoFormat_RGB555, 614400, -1280},
};

const GUID strangeSubtype = {0x12345678, 0, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};

} // namespace

TEST(ImageSize, IsThatOfThePackedPicture)
{
    for (const Size &size : sizes) {
        UINT32 bytes = 0;
        EXPECT_EQ(MFCalculateImageSize(size.subtype, 640, 480, &bytes), S_OK);
        EXPECT_EQ(bytes, size.bytes) << std::hex << size.subtype.Data1;
        DWORD planes = 0;
        EXPECT_EQ(MFGetPlaneSize(size.subtype.Data1, 640, 480, &planes), S_OK);
        EXPECT_EQ(planes, size.bytes) << std::hex << size.subtype.Data1;
    }
}

TEST(ImageSize, IsUnknownForUnknownFormats)
{
    UINT32 bytes = 99;
    EXPECT_EQ(MFCalculateImageSize(strangeSubtype, 640, 480, &bytes), E_INVALIDARG);
    EXPECT_EQ(MFCalculateImageSize(MFMediaType_Video, 640, 480, &bytes), E_INVALIDARG);
}

TEST(Stride, IsNegativeForRgb)
{
    for (const Size &size : sizes) {
        LONG stride = 0;
        EXPECT_EQ(MFGetStrideForBitmapInfoHeader(size.subtype.Data1, 640, &stride), S_OK);
        EXPECT_EQ(stride, size.stride) << std::hex << size.subtype.Data1;
    }
}

TEST(Stride, IsUnknownForUnknownFormats)
{
    LONG stride = 0;
    EXPECT_EQ(MFGetStrideForBitmapInfoHeader(strangeSubtype.Data1, 640, &stride), MF_E_INVALIDMEDIATYPE);
}

TEST(FormatMapping, PairsTheFormatsOfBothDirect3Ds)
{
    const std::pair<DWORD, DXGI_FORMAT> pairs[] = {
        {D3DFMT_A8R8G8B8, DXGI_FORMAT_B8G8R8A8_UNORM},      {D3DFMT_X8R8G8B8, DXGI_FORMAT_B8G8R8X8_UNORM},
        {MAKEFOURCC('N', 'V', '1', '2'), DXGI_FORMAT_NV12}, {MAKEFOURCC('Y', 'U', 'Y', '2'), DXGI_FORMAT_YUY2},
        {MAKEFOURCC('P', '0', '1', '0'), DXGI_FORMAT_P010}, {MAKEFOURCC('A', 'Y', 'U', 'V'), DXGI_FORMAT_AYUV},
    };
    for (const auto &[dx9, dxgi] : pairs) {
        EXPECT_EQ(MFMapDX9FormatToDXGIFormat(dx9), dxgi) << dxgi;
        EXPECT_EQ(MFMapDXGIFormatToDX9Format(dxgi), dx9) << dxgi;
    }
    EXPECT_EQ(MFMapDX9FormatToDXGIFormat(MAKEFOURCC('U', 'Y', 'V', 'Y')), DXGI_FORMAT_UNKNOWN);
    EXPECT_EQ(MFMapDXGIFormatToDX9Format(DXGI_FORMAT_BC7_UNORM), 0U);
}

TEST(FrameRate, HasItsPublishedFrameTime)
{
    struct Expectation {
        UINT32 numerator;
        UINT32 denominator;
        UINT64 time;
    };
    const Expectation expectations[] = {
        {60000, 1001, 166833}, {30000, 1001, 333667}, {24000, 1001, 417188}, {60, 1, 166667},  {30, 1, 333333},
        {50, 1, 200000},       {25, 1, 400000},       {24, 1, 416667},       {100, 1, 100000}, {5, 2, 4000000},
    };
    for (const Expectation &expected : expectations) {
        UINT64 time = 0;
        EXPECT_EQ(MFFrameRateToAverageTimePerFrame(expected.numerator, expected.denominator, &time), S_OK);
        EXPECT_EQ(time, expected.time) << expected.numerator << '/' << expected.denominator;
    }
}

TEST(MulDiv, OutgrowsNothingOnTheWay)
{
    EXPECT_EQ(MFllMulDiv(6, 7, 2, 0), 21);
    EXPECT_EQ(MFllMulDiv(6, 7, 4, 2), 11);
    EXPECT_EQ(MFllMulDiv(-6, 7, 2, 0), -21);
    EXPECT_EQ(MFllMulDiv(1LL << 60, 1LL << 40, 1LL << 50, 0), 1LL << 50);
}

TEST(MulDiv, GoesToTheLimitOfItsSign_WhenDividedByZero)
{
    EXPECT_EQ(MFllMulDiv(5, 1, 0, 0), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(MFllMulDiv(0, 1, 0, 0), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(MFllMulDiv(-5, 1, 0, 0), std::numeric_limits<int64_t>::min());
}

TEST(MulDiv, EndsAtTheLimits)
{
    EXPECT_EQ(MFllMulDiv(1LL << 62, 4, 1, 0), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(MFllMulDiv(1LL << 62, -4, 1, 0), std::numeric_limits<int64_t>::min());
}
