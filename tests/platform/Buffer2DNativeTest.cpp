// What is documented of locks of pictures and not kept by every system, and what packed memory looks like here.

#include "tests/platform/DataSupport.h"

#include <d3d9types.h>

namespace
{

CComPtr<IMF2DBuffer2> rgbPictureOfWidth(DWORD width)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(MFCreate2DMediaBuffer(width, 4, D3DFMT_X8R8G8B8, FALSE, &buffer), S_OK);
    return faceOf<IMF2DBuffer2>(buffer);
}

} // namespace

TEST(PictureBufferNative, ShowsPackedMemoryToLockAsItIs)
{
    const auto buffer = rgbPictureOfWidth(16);
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

TEST(PictureBufferNative, GivesALaterLockNoMoreThanTheFirst)
{
    const auto buffer = rgbPictureOfWidth(6);
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

TEST(PictureBufferNative, IsNotMadeWithoutPixels)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(MFCreate2DMediaBuffer(0, 4, D3DFMT_X8R8G8B8, FALSE, &buffer), E_INVALIDARG);
    EXPECT_EQ(MFCreate2DMediaBuffer(4, 0, D3DFMT_X8R8G8B8, FALSE, &buffer), E_INVALIDARG);
}

TEST(PictureBufferNative, HasRoomForWholeGroupsOfPixels)
{
    struct Expectation {
        DWORD format;
        DWORD length; // of 5 x 3 pixels
    };
    const Expectation expectations[] = {
        {MAKEFOURCC('U', 'Y', 'V', 'Y'), 12 * 3},
        {MAKEFOURCC('Y', 'U', 'Y', '2'), 12 * 3},
        {MAKEFOURCC('N', 'V', '1', '2'), 6 * 3 + 6 * 2},
        {MAKEFOURCC('I', '4', '2', '0'), 5 * 3 + 2 * (3 * 2)},
    };
    for (const Expectation &expected : expectations) {
        CComPtr<IMFMediaBuffer> buffer;
        ASSERT_EQ(MFCreate2DMediaBuffer(5, 3, expected.format, FALSE, &buffer), S_OK);
        const auto picture = faceOf<IMF2DBuffer>(buffer);
        const Bytes content = countingBytes(expected.length);
        Bytes found(expected.length);
        EXPECT_EQ(picture->ContiguousCopyFrom(content.data(), expected.length), S_OK) << std::hex << expected.format;
        EXPECT_EQ(picture->ContiguousCopyTo(found.data(), expected.length), S_OK) << std::hex << expected.format;
        EXPECT_EQ(found, content) << std::hex << expected.format;
        DWORD length = 0;
        EXPECT_EQ(picture->GetContiguousLength(&length), S_OK);
        EXPECT_EQ(length, expected.length) << std::hex << expected.format;
    }
}

TEST(PictureBufferNative, SaysThatItWasUnlocked)
{
    const auto buffer = rgbPictureOfWidth(6);
    BYTE *data = nullptr;
    LONG pitch = 0;
    EXPECT_EQ(buffer->Unlock2D(), HRESULT_FROM_WIN32(ERROR_WAS_UNLOCKED));
    EXPECT_EQ(faceOf<IMFMediaBuffer>(buffer)->Unlock(), HRESULT_FROM_WIN32(ERROR_WAS_UNLOCKED));
    EXPECT_EQ(buffer->GetScanline0AndPitch(&data, &pitch), HRESULT_FROM_WIN32(ERROR_WAS_UNLOCKED));
}
