#include "pattern/PatternCode.h"

#include <gtest/gtest.h>

#include <libyuv.h>

#include <cstdlib>
#include <vector>

using namespace pattern;

namespace
{

constexpr PatternCode SomeCode{0x0123456789abcdefULL, 0xfedcba9876543210ULL};
constexpr int Guard = 64;

int bytesPerPixel(PixelLayout layout)
{
    switch (layout) {
    case PixelLayout::UYVY:
    case PixelLayout::YUY2:
        return 2;
    case PixelLayout::BGRA:
        return 4;
    case PixelLayout::NV12:
        break;
    }
    return 1;
}

// Grey all over, with a guard band around the picture and padding at the end of each line.
struct Buffer {
    Buffer(PixelLayout layout, int width, int height, int padding = 24)
        : pitch(width * bytesPerPixel(layout) + padding),
          bytes(static_cast<std::size_t>(pitch * height + 2 * Guard), 100), picture{bytes.data() + Guard, pitch, width,
                                                                                    height, layout}
    {
    }

    Picture bottomUp() const
    {
        Picture flipped = picture;
        flipped.topLine = picture.line(picture.height - 1);
        flipped.stride = -picture.stride;
        return flipped;
    }

    int pitch;
    std::vector<std::uint8_t> bytes;
    Picture picture;
};

void expectCode(const std::optional<PatternCode> &code)
{
    ASSERT_TRUE(code.has_value());
    EXPECT_EQ(code->frame, SomeCode.frame);
    EXPECT_EQ(code->sendTimeHns, SomeCode.sendTimeHns);
}

class PatternCodeLayouts : public testing::TestWithParam<PixelLayout>
{
};

TEST_P(PatternCodeLayouts, WhatIsWrittenIsReadBackAtEveryNumberOfRows)
{
    for (const int width : {CodeMinWidth, 318, 320, 638, 640, 1278, 1280, 1920, 3840}) {
        SCOPED_TRACE(width);
        const Buffer buffer(GetParam(), width, CodeMinHeight);
        ASSERT_TRUE(writeCode(buffer.picture, SomeCode));
        expectCode(readCode(buffer.picture));
    }
}

TEST_P(PatternCodeLayouts, BottomUpPicturesCarryTheCodeAtTheirTop)
{
    const Buffer buffer(GetParam(), 640, 480);
    ASSERT_TRUE(writeCode(buffer.bottomUp(), SomeCode));
    expectCode(readCode(buffer.bottomUp()));
    EXPECT_FALSE(readCode(buffer.picture));
}

TEST_P(PatternCodeLayouts, AFieldOfTheFrameCarriesTheCode)
{
    const Buffer buffer(GetParam(), 720, 576);
    ASSERT_TRUE(writeCode(buffer.picture, SomeCode));
    for (const int parity : {0, 1}) {
        Picture field = buffer.picture;
        field.topLine += parity * field.stride;
        field.stride *= 2;
        field.height /= 2;
        expectCode(readCode(field));
    }
}

TEST_P(PatternCodeLayouts, NothingIsWrittenBelowBesideOrBetweenTheLines)
{
    const Buffer buffer(GetParam(), 330, 100);
    ASSERT_TRUE(writeCode(buffer.picture, SomeCode));
    const int used = 320 * bytesPerPixel(GetParam());
    for (std::size_t i = 0; i < buffer.bytes.size(); ++i) {
        const int at = static_cast<int>(i) - Guard;
        const bool inside = at >= 0 && at / buffer.pitch < codeHeight(330) && at % buffer.pitch < used;
        ASSERT_TRUE(inside || buffer.bytes[i] == 100) << "byte " << at;
    }
}

TEST_P(PatternCodeLayouts, APictureThatIsTooSmallIsLeftAlone)
{
    for (const auto &[width, height] : {std::pair{CodeMinWidth - 1, 480}, {CodeMinWidth, CodeMinHeight - 1}}) {
        const Buffer buffer(GetParam(), width, height);
        const auto before = buffer.bytes;
        EXPECT_FALSE(writeCode(buffer.picture, SomeCode));
        EXPECT_EQ(buffer.bytes, before);
        EXPECT_FALSE(readCode(buffer.picture));
    }
}

INSTANTIATE_TEST_SUITE_P(All, PatternCodeLayouts,
                         testing::Values(PixelLayout::UYVY, PixelLayout::YUY2, PixelLayout::BGRA, PixelLayout::NV12));

TEST(PatternCode, BlackGreyAndWhitePicturesCarryNone)
{
    Buffer buffer(PixelLayout::NV12, 640, 480);
    for (const int grey : {0, 16, 126, 235, 255}) {
        std::fill(buffer.bytes.begin(), buffer.bytes.end(), static_cast<std::uint8_t>(grey));
        EXPECT_FALSE(readCode(buffer.picture)) << grey;
    }
}

TEST(PatternCode, EverySingleDamagedBlockIsNoticed)
{
    Buffer buffer(PixelLayout::NV12, 1280, 64);
    for (int bit = 0; bit < CodeBits; ++bit) {
        ASSERT_TRUE(writeCode(buffer.picture, SomeCode));
        for (int y = 0; y < CodeBlock; ++y) {
            for (int x = bit * CodeBlock; x < (bit + 1) * CodeBlock; ++x)
                buffer.picture.line(y)[x] = static_cast<std::uint8_t>(251 - buffer.picture.line(y)[x]);
        }
        EXPECT_FALSE(readCode(buffer.picture)) << bit;
    }
}

TEST(PatternCode, SurvivesNoiseAndContrastLoss)
{
    Buffer buffer(PixelLayout::UYVY, 640, 480);
    ASSERT_TRUE(writeCode(buffer.picture, SomeCode));
    std::uint32_t random = 1;
    for (int y = 0; y < codeHeight(640); ++y) {
        for (int x = 0; x < 640; ++x) {
            random = random * 1664525U + 1013904223U;
            std::uint8_t &luma = buffer.picture.line(y)[2 * x + 1];
            luma = static_cast<std::uint8_t>(40 + luma / 2 + random % 40); // 235: 157..196, 16: 48..87
        }
    }
    expectCode(readCode(buffer.picture));
}

TEST(PatternCode, SurvivesConversionFromBgraToUyvyAndToNv12)
{
    const Buffer bgra(PixelLayout::BGRA, 640, 480, 0);
    ASSERT_TRUE(writeCode(bgra.picture, SomeCode));

    const Buffer uyvy(PixelLayout::UYVY, 640, 480, 0);
    ASSERT_EQ(libyuv::ARGBToUYVY(bgra.picture.topLine, bgra.pitch, uyvy.picture.topLine, uyvy.pitch, 640, 480), 0);
    expectCode(readCode(uyvy.picture));

    const Buffer nv12(PixelLayout::NV12, 640, 480, 0);
    std::vector<std::uint8_t> chroma(640 * 240);
    ASSERT_EQ(libyuv::ARGBToNV12(bgra.picture.topLine, bgra.pitch, nv12.picture.topLine, nv12.pitch, chroma.data(), 640,
                                 640, 480),
              0);
    expectCode(readCode(nv12.picture));
}

TEST(PatternCode, SurvivesConversionFromUyvyToBgra)
{
    const Buffer uyvy(PixelLayout::UYVY, 640, 480, 0);
    ASSERT_TRUE(writeCode(uyvy.picture, SomeCode));
    const Buffer bgra(PixelLayout::BGRA, 640, 480, 0);
    ASSERT_EQ(libyuv::UYVYToARGB(uyvy.picture.topLine, uyvy.pitch, bgra.picture.topLine, bgra.pitch, 640, 480), 0);
    expectCode(readCode(bgra.picture));
}

TEST(PatternCode, TheChecksumIsTheOneOfTheStandard)
{
    const std::uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(detail::crc32(digits, sizeof(digits)), 0xcbf43926U);
}

TEST(PatternCode, TheSteadyClockNeverGoesBack)
{
    const std::uint64_t first = steadyNowHns();
    EXPECT_GE(steadyNowHns(), first);
}

} // namespace
