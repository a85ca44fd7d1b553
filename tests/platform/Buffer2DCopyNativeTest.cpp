// Pictures as contiguous bytes, which not every system has.

#include "tests/platform/Buffer2DSupport.h"

#include <algorithm>

namespace
{

Bytes contiguousContent(IMF2DBuffer *buffer)
{
    DWORD length = 0;
    EXPECT_EQ(buffer->GetContiguousLength(&length), S_OK);
    Bytes content(length);
    EXPECT_EQ(buffer->ContiguousCopyTo(content.data(), length), S_OK);
    return content;
}

class PictureCopyNative : public StartedPlatform
{
};

} // namespace

TEST_F(PictureCopyNative, HasRoomForItsContiguousBytes)
{
    const std::pair<DWORD, DWORD> lengths[] = {{fourCC("NV12"), 64 * 16 * 3 / 2},
                                               {fourCC("I420"), 64 * 16 * 3 / 2},
                                               {fourCC("YUY2"), 64 * 16 * 2},
                                               {D3DFMT_X8R8G8B8, 64 * 16 * 4},
                                               {D3DFMT_R8G8B8, 64 * 16 * 3}};
    for (const auto &[format, expected] : lengths) {
        const auto buffer = picture(64, 16, format);
        DWORD length = 0;
        EXPECT_EQ(buffer->GetContiguousLength(&length), S_OK);
        EXPECT_EQ(length, expected) << std::hex << format;
        EXPECT_EQ(faceOf<IMFMediaBuffer>(buffer)->GetMaxLength(&length), S_OK);
        EXPECT_EQ(length, expected) << std::hex << format;
    }
}

TEST_F(PictureCopyNative, IsNotUnlockedWithoutALock)
{
    EXPECT_TRUE(FAILED(faceOf<IMFMediaBuffer>(rgbPicture())->Unlock()));
}

TEST_F(PictureCopyNative, CopiesItsLinesPacked)
{
    const auto buffer = rgbPicture();
    numberLines(buffer);
    EXPECT_EQ(contiguousContent(buffer), packedLines({1, 2, 3, 4}));
}

TEST_F(PictureCopyNative, CopiesContiguousBytesBothWays)
{
    for (const bool bottomUp : {false, true}) {
        const auto buffer = rgbPicture(bottomUp);
        const Bytes content = countingBytes(96);
        EXPECT_EQ(buffer->ContiguousCopyFrom(content.data(), 96), S_OK);
        EXPECT_EQ(contiguousContent(buffer), content);
    }
}

TEST_F(PictureCopyNative, CopiesItsBottomLineFirstWhenItIsBottomUp)
{
    const auto buffer = rgbPicture(true);
    numberLines(buffer);
    EXPECT_EQ(contiguousContent(buffer), packedLines({4, 3, 2, 1}));
}

TEST_F(PictureCopyNative, KeepsLinesOfPackedChromaAPitchApart)
{
    for (const DWORD format : {fourCC("UYVY"), fourCC("YUY2")}) {
        const auto buffer = picture(6, 3, format);
        const Bytes content = countingBytes(36);
        ASSERT_EQ(buffer->ContiguousCopyFrom(content.data(), 36), S_OK);
        expectLines(Lines(buffer), 3, 12, content, 12);
    }
}

TEST_F(PictureCopyNative, PadsPackedLinesOfRgbToFourBytes)
{
    const auto buffer = picture(5, 2, D3DFMT_R8G8B8);
    const Bytes content = countingBytes(32);
    ASSERT_EQ(contiguousContent(buffer).size(), 32U);
    ASSERT_EQ(buffer->ContiguousCopyFrom(content.data(), 32), S_OK);
    expectLines(Lines(buffer), 2, 15, content, 16);
}

TEST_F(PictureCopyNative, CopiesNothingOfTooFewBytes)
{
    const auto buffer = rgbPicture();
    Bytes bytes(96);
    EXPECT_EQ(buffer->ContiguousCopyTo(bytes.data(), 95), E_INVALIDARG);
    EXPECT_EQ(buffer->ContiguousCopyFrom(bytes.data(), 95), E_INVALIDARG);
}

TEST_F(PictureCopyNative, KeepsInterleavedChromaBehindTheLines)
{
    const auto buffer = picture(8, 4, fourCC("NV12"));
    const Bytes content = countingBytes(8 * 6);
    ASSERT_EQ(buffer->ContiguousCopyFrom(content.data(), 48), S_OK);
    expectLines(Lines(buffer), 6, 8, content, 8);
}

TEST_F(PictureCopyNative, KeepsPlanesOfChromaAtHalfThePitch)
{
    const auto buffer = picture(8, 4, fourCC("I420"));
    const Bytes content = countingBytes(8 * 6);
    ASSERT_EQ(buffer->ContiguousCopyFrom(content.data(), 48), S_OK);
    const Lines lines(buffer);
    expectLines(lines, 4, 8, content, 8);
    const BYTE *const chroma = lines.line(4);
    for (int line = 0; line < 4; ++line) {
        const BYTE *const data = chroma + static_cast<ptrdiff_t>(lines.pitch() / 2) * line;
        EXPECT_TRUE(std::equal(data, data + 4, content.begin() + 32 + line * 4)) << line;
    }
}

TEST_F(PictureCopyNative, IsCopiedToAnother)
{
    const auto source = rgbPicture();
    const auto destination = rgbPicture();
    const Bytes content = countingBytes(96);
    ASSERT_EQ(source->ContiguousCopyFrom(content.data(), 96), S_OK);
    EXPECT_EQ(source->Copy2DTo(destination), S_OK);
    EXPECT_EQ(contiguousContent(destination), content);
}
