#include "tests/platform/DataSupport.h"

#include <d3d9types.h>

namespace
{

CComPtr<IMF2DBuffer2> rgbPicture(DWORD width)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(MFCreate2DMediaBuffer(width, 4, D3DFMT_X8R8G8B8, FALSE, &buffer), S_OK);
    return faceOf<IMF2DBuffer2>(buffer);
}

} // namespace

TEST(PictureBufferNative, ShowsPackedMemoryToLockAsItIs)
{
    const auto buffer = rgbPicture(16);
    BOOL contiguous = FALSE;
    EXPECT_EQ(buffer->IsContiguousFormat(&contiguous), S_OK);
    EXPECT_TRUE(contiguous);
    const auto packed = faceOf<IMFMediaBuffer>(buffer);
    BYTE *data = nullptr;
    BYTE *lines = nullptr;
    LONG pitch = 0;
    ASSERT_EQ(packed->Lock(&data, nullptr, nullptr), S_OK);
    EXPECT_EQ(packed->Unlock(), S_OK);
    ASSERT_EQ(buffer->Lock2D(&lines, &pitch), S_OK);
    EXPECT_EQ(buffer->Unlock2D(), S_OK);
    EXPECT_EQ(pitch, 64);
    EXPECT_EQ(lines, data);
}

TEST(PictureBufferNative, CountsAsWholeUnderLock)
{
    const auto packed = faceOf<IMFMediaBuffer>(rgbPicture(6));
    BYTE *data = nullptr;
    DWORD room = 0;
    DWORD length = 0;
    ASSERT_EQ(packed->Lock(&data, &room, &length), S_OK);
    EXPECT_EQ(room, 96U);
    EXPECT_EQ(length, 96U);
    EXPECT_EQ(packed->Unlock(), S_OK);
}

TEST(PictureBufferNative, GivesALaterLockNoMoreThanTheFirst)
{
    const auto buffer = rgbPicture(6);
    BYTE *first = nullptr;
    BYTE *start = nullptr;
    LONG pitch = 0;
    DWORD length = 0;
    ASSERT_EQ(buffer->Lock2DSize(MF2DBuffer_LockFlags_Read, &first, &pitch, &start, &length), S_OK);
    EXPECT_EQ(buffer->Lock2DSize(MF2DBuffer_LockFlags_Write, &first, &pitch, &start, &length),
              HRESULT_FROM_WIN32(ERROR_WAS_LOCKED));
    EXPECT_EQ(buffer->Lock2DSize(MF2DBuffer_LockFlags_Read, &first, &pitch, &start, &length), S_OK);
    EXPECT_EQ(buffer->Unlock2D(), S_OK);
    EXPECT_EQ(buffer->Unlock2D(), S_OK);
    EXPECT_EQ(buffer->Lock2DSize(static_cast<MF2DBuffer_LockFlags>(0), &first, &pitch, &start, &length), E_INVALIDARG);
}

TEST(PictureBufferNative, IsNotMadeWithoutPixelsOrUpsideDownWithPlanes)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(MFCreate2DMediaBuffer(0, 4, D3DFMT_X8R8G8B8, FALSE, &buffer), E_INVALIDARG);
    EXPECT_EQ(MFCreate2DMediaBuffer(4, 0, D3DFMT_X8R8G8B8, FALSE, &buffer), E_INVALIDARG);
    EXPECT_EQ(MFCreate2DMediaBuffer(4, 4, MAKEFOURCC('N', 'V', '1', '2'), TRUE, &buffer), E_INVALIDARG);
}
