// Formats that not every system knows the layout of.

#include "tests/platform/DataSupport.h"

#include <d3d9types.h>

TEST(ImageSizeNative, IsOfThreeBytesPerPixelForRgb24)
{
    UINT32 bytes = 0;
    EXPECT_EQ(MFCalculateImageSize(MFVideoFormat_RGB24, 640, 480, &bytes), S_OK);
    EXPECT_EQ(bytes, 921600U);
    DWORD planes = 0;
    EXPECT_EQ(MFGetPlaneSize(MFVideoFormat_RGB24.Data1, 640, 480, &planes), S_OK);
    EXPECT_EQ(planes, 921600U);
}

TEST(ImageSizeNative, IncludesThePaddingOfRgbLines)
{
    UINT32 bytes = 0;
    EXPECT_EQ(MFCalculateImageSize(MFVideoFormat_RGB24, 3, 2, &bytes), S_OK);
    EXPECT_EQ(bytes, 24U);
}

TEST(StrideNative, IsOfThreeBytesPerPixelForRgb24)
{
    LONG stride = 0;
    EXPECT_EQ(MFGetStrideForBitmapInfoHeader(MFVideoFormat_RGB24.Data1, 640, &stride), S_OK);
    EXPECT_EQ(stride, -1920);
}

TEST(FormatMappingNative, PairsRedFirst)
{
    EXPECT_EQ(MFMapDX9FormatToDXGIFormat(D3DFMT_A8B8G8R8), DXGI_FORMAT_R8G8B8A8_UNORM);
    EXPECT_EQ(MFMapDXGIFormatToDX9Format(DXGI_FORMAT_R8G8B8A8_UNORM), static_cast<DWORD>(D3DFMT_A8B8G8R8));
}
