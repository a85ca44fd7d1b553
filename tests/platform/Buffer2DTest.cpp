#include "tests/platform/Buffer2DSupport.h"

#include <algorithm>

namespace
{

class PictureBuffer : public StartedPlatform
{
};

} // namespace

TEST_F(PictureBuffer, AnswersItsThreeInterfaces)
{
    const auto buffer = rgbPicture();
    EXPECT_TRUE(faceOf<IMFMediaBuffer>(buffer));
    EXPECT_TRUE(faceOf<IMF2DBuffer>(buffer));
    EXPECT_TRUE(isSameObject(buffer.p, faceOf<IMFMediaBuffer>(buffer)));
}

TEST_F(PictureBuffer, IsNotMadeOfAnUnknownFormat)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(MFCreate2DMediaBuffer(16, 16, fourCC("ABCD"), FALSE, &buffer), MF_E_INVALIDMEDIATYPE);
    EXPECT_FALSE(buffer);
}

TEST_F(PictureBuffer, IsUpsideDownOfRgbOnly)
{
    for (const DWORD format : {fourCC("NV12"), fourCC("YUY2"), fourCC("UYVY"), fourCC("AYUV")}) {
        CComPtr<IMFMediaBuffer> buffer;
        EXPECT_EQ(MFCreate2DMediaBuffer(16, 16, format, TRUE, &buffer), MF_E_INVALIDMEDIATYPE) << format;
        EXPECT_FALSE(buffer);
    }
}

TEST_F(PictureBuffer, HasTheContiguousLengthOfItsFormat)
{
    struct Expectation {
        DWORD format;
        DWORD length;
    };
    const Expectation expectations[] = {
        {fourCC("UYVY"), 64 * 16 * 2},     {fourCC("YUY2"), 64 * 16 * 2},     {fourCC("NV12"), 64 * 16 * 3 / 2},
        {fourCC("I420"), 64 * 16 * 3 / 2}, {fourCC("YV12"), 64 * 16 * 3 / 2}, {fourCC("IYUV"), 64 * 16 * 3 / 2},
        {D3DFMT_A8R8G8B8, 64 * 16 * 4},    {D3DFMT_X8R8G8B8, 64 * 16 * 4},    {D3DFMT_R5G6B5, 64 * 16 * 2},
    };
    for (const Expectation &expected : expectations) {
        const auto buffer = picture(64, 16, expected.format);
        ASSERT_TRUE(buffer);
        DWORD length = 0;
        EXPECT_EQ(buffer->GetContiguousLength(&length), S_OK);
        EXPECT_EQ(length, expected.length) << std::hex << expected.format;
    }
}

TEST_F(PictureBuffer, HasLinesFartherApartThanTheirBytes)
{
    const auto buffer = rgbPicture();
    const Lines lines(buffer);
    EXPECT_GT(lines.pitch(), 6 * 4);
    BOOL contiguous = TRUE;
    EXPECT_EQ(buffer->IsContiguousFormat(&contiguous), S_OK);
    EXPECT_FALSE(contiguous);
}

TEST_F(PictureBuffer, HasANegativePitchWhenItIsBottomUp)
{
    const auto buffer = rgbPicture(true);
    BYTE *first = nullptr;
    BYTE *start = nullptr;
    LONG pitch = 0;
    DWORD length = 0;
    ASSERT_EQ(buffer->Lock2DSize(MF2DBuffer_LockFlags_ReadWrite, &first, &pitch, &start, &length), S_OK);
    EXPECT_LT(pitch, -6 * 4);
    EXPECT_EQ(first, start - 3 * static_cast<ptrdiff_t>(pitch));
    EXPECT_GE(length, 3U * static_cast<DWORD>(-pitch) + 6 * 4);
    EXPECT_EQ(buffer->Unlock2D(), S_OK);
}

TEST_F(PictureBuffer, ShowsItsLinesPackedToLock)
{
    const auto buffer = rgbPicture();
    numberLines(buffer);
    const auto packed = faceOf<IMFMediaBuffer>(buffer);
    packed->SetCurrentLength(96);
    EXPECT_EQ(contentOf(packed), packedLines({1, 2, 3, 4}));
}

TEST_F(PictureBuffer, CountsAsWholeUnderLock)
{
    const auto packed = faceOf<IMFMediaBuffer>(rgbPicture());
    BYTE *data = nullptr;
    DWORD room = 0;
    DWORD length = 0;
    ASSERT_EQ(packed->Lock(&data, &room, &length), S_OK);
    EXPECT_EQ(room, 96U);
    EXPECT_EQ(length, 96U);
    EXPECT_EQ(packed->Unlock(), S_OK);
}

TEST_F(PictureBuffer, TakesBackWhatWasWrittenUnderLock)
{
    const auto buffer = rgbPicture();
    const auto packed = faceOf<IMFMediaBuffer>(buffer);
    const Bytes content = countingBytes(96);
    BYTE *data = nullptr;
    ASSERT_EQ(packed->Lock(&data, nullptr, nullptr), S_OK);
    std::copy(content.begin(), content.end(), data);
    EXPECT_EQ(packed->Unlock(), S_OK);
    expectLines(Lines(buffer), 4, 24, content, 24);
}

TEST_F(PictureBuffer, IsLockedInOneWayAtATime)
{
    const auto buffer = rgbPicture();
    const auto packed = faceOf<IMFMediaBuffer>(buffer);
    BYTE *data = nullptr;
    LONG pitch = 0;
    ASSERT_EQ(packed->Lock(&data, nullptr, nullptr), S_OK);
    EXPECT_EQ(buffer->Lock2D(&data, &pitch), MF_E_UNEXPECTED);
    EXPECT_EQ(packed->Unlock(), S_OK);
    ASSERT_EQ(buffer->Lock2D(&data, &pitch), S_OK);
    EXPECT_EQ(packed->Lock(&data, nullptr, nullptr), MF_E_INVALIDREQUEST);
    EXPECT_EQ(buffer->Unlock2D(), S_OK);
    EXPECT_EQ(packed->Lock(&data, nullptr, nullptr), S_OK);
    EXPECT_EQ(packed->Unlock(), S_OK);
}

TEST_F(PictureBuffer, IsLockedAgainInTheSameWay)
{
    const auto buffer = rgbPicture();
    const Lines first(buffer);
    const Lines second(buffer);
    EXPECT_EQ(first.first(), second.first());
    BYTE *data = nullptr;
    LONG pitch = 0;
    EXPECT_EQ(buffer->GetScanline0AndPitch(&data, &pitch), S_OK);
    EXPECT_EQ(data, first.first());
    EXPECT_EQ(pitch, first.pitch());
}

TEST_F(PictureBuffer, IsNotUnlockedMoreOftenThanLocked)
{
    const auto buffer = rgbPicture();
    BYTE *data = nullptr;
    LONG pitch = 0;
    EXPECT_TRUE(FAILED(buffer->Unlock2D()));
    EXPECT_TRUE(FAILED(buffer->GetScanline0AndPitch(&data, &pitch)));
}

TEST_F(PictureBuffer, IsLockedToReadToWriteAndForBoth)
{
    const auto buffer = rgbPicture();
    BYTE *first = nullptr;
    BYTE *start = nullptr;
    LONG pitch = 0;
    DWORD length = 0;
    for (const auto flags : {MF2DBuffer_LockFlags_Read, MF2DBuffer_LockFlags_Write, MF2DBuffer_LockFlags_ReadWrite}) {
        EXPECT_EQ(buffer->Lock2DSize(flags, &first, &pitch, &start, &length), S_OK) << flags;
        EXPECT_EQ(first, start);
        EXPECT_GE(length, 3U * static_cast<DWORD>(pitch) + 24);
        EXPECT_EQ(buffer->Unlock2D(), S_OK);
    }
}

TEST_F(PictureBuffer, HasTheLengthThatIsSet)
{
    const auto buffer = faceOf<IMFMediaBuffer>(rgbPicture());
    EXPECT_EQ(buffer->SetCurrentLength(96), S_OK);
    DWORD length = 0;
    EXPECT_EQ(buffer->GetCurrentLength(&length), S_OK);
    EXPECT_EQ(length, 96U);
}
