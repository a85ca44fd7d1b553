#include "pattern/TestPicture.h"
#include "pattern/FrameRate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

using namespace pattern;

namespace
{

std::vector<std::uint8_t> bytesOf(const TestPicture &test)
{
    const Picture &picture = test.picture();
    return {picture.topLine, picture.topLine + picture.stride * picture.height};
}

int brightness(const Picture &picture, int x, int y)
{
    return picture.line(y)[detail::greyOffset(picture.layout, x)];
}

// Where the white bar begins in a line: the colour bars are all below full level.
int barStart(const Picture &picture, int y)
{
    for (int x = 0; x < picture.width; ++x) {
        if (brightness(picture, x, y) >= 235)
            return x;
    }
    return -1;
}

class TestPictureLayouts : public testing::TestWithParam<PixelLayout>
{
};

TEST_P(TestPictureLayouts, CarriesItsCode)
{
    TestPicture test(GetParam(), 320, 240);
    test.draw(7, true);
    ASSERT_TRUE(test.stamp({7, 99}));
    const auto code = readCode(test.picture());
    ASSERT_TRUE(code);
    EXPECT_EQ(code->frame, 7U);
    EXPECT_EQ(code->sendTimeHns, 99U);
}

// What is left from earlier frames must not show: the picture of a frame depends on that frame alone.
TEST_P(TestPictureLayouts, APictureDrawnAfterOthersIsThePictureDrawnFirst)
{
    for (const Scan scan : {Scan::Progressive, Scan::Interlaced}) {
        TestPicture reused(GetParam(), 720, 480, scan);
        for (std::uint64_t frame = 0; frame < 700; frame += 1 + frame % 7)
            reused.draw(frame, frame % 3 == 0);
        reused.draw(12345, false);

        TestPicture fresh(GetParam(), 720, 480, scan);
        fresh.draw(12345, false);
        EXPECT_EQ(bytesOf(reused), bytesOf(fresh));
    }
}

TEST_P(TestPictureLayouts, ConsecutiveFramesDifferWithoutTheCode)
{
    TestPicture test(GetParam(), 640, 360);
    test.draw(0, false);
    for (std::uint64_t frame = 1; frame < 600; ++frame) {
        const auto before = bytesOf(test);
        test.draw(frame, false);
        ASSERT_NE(bytesOf(test), before) << frame;
    }
}

TEST_P(TestPictureLayouts, TheFlashLightsTheBoxAtTheBottomRight)
{
    TestPicture test(GetParam(), 640, 360);
    test.draw(0, true);
    EXPECT_GE(brightness(test.picture(), 600, 350), 235);
    test.draw(0, false);
    EXPECT_LE(brightness(test.picture(), 600, 350), 16);
}

INSTANTIATE_TEST_SUITE_P(All, TestPictureLayouts,
                         testing::Values(PixelLayout::UYVY, PixelLayout::YUY2, PixelLayout::BGRA));

TEST(TestPicture, TheSecondFieldShowsTheBarLater)
{
    TestPicture test(PixelLayout::UYVY, 1920, 1080, Scan::Interlaced);
    test.draw(10, false);
    const int first = barStart(test.picture(), 100);
    const int second = barStart(test.picture(), 101);
    EXPECT_GT(second, first);
    test.draw(11, false);
    EXPECT_EQ(barStart(test.picture(), 100) - second, second - first);
}

TEST(TestPicture, EverySizeFromTheSmallestIsDrawnInsideItsMemory)
{
    for (const int width : {2, 4, 46, 158, 160, 162, 322}) {
        for (const int height : {1, 2, 7, 63, 64, 65}) {
            TestPicture test(PixelLayout::UYVY, width, height);
            for (std::uint64_t frame = 0; frame < 300; ++frame)
                test.draw(frame, frame % 2 == 0);
            EXPECT_EQ(test.stamp({1, 2}), width >= CodeMinWidth && height >= codeHeight(width));
        }
    }
}

TEST(TestPicture, RefusesWhatItCannotPaint)
{
    EXPECT_THROW(TestPicture(PixelLayout::NV12, 640, 480), std::invalid_argument);
    EXPECT_THROW(TestPicture(PixelLayout::UYVY, 641, 480), std::invalid_argument);
    EXPECT_THROW(TestPicture(PixelLayout::UYVY, 0, 480), std::invalid_argument);
    EXPECT_THROW(TestPicture(PixelLayout::UYVY, 640, 0), std::invalid_argument);
}

TEST(Painter, TheFiguresOfANumberStandInTheirCells)
{
    std::vector<std::uint8_t> bytes(2 * 60 * 8, 0);
    const Picture picture{bytes.data(), 120, 60, 8, PixelLayout::YUY2};
    drawNumber(picture, 0, 0, 2, 17, 2);
    const auto row = [&](int y) {
        std::string dots;
        for (int x = 0; x < 24; x += 2)
            dots += brightness(picture, x, y) > 126 ? '#' : '.';
        return dots;
    };
    EXPECT_EQ(row(0), "..#...#####.");
    EXPECT_EQ(row(2), ".##.......#.");
    EXPECT_EQ(row(4), "..#......#..");
    EXPECT_EQ(row(6), "..#.....#...");
}

TEST(Painter, WhiteAndBlackAreTheEndsOfTheRange)
{
    constexpr Colour white(255, 255, 255);
    EXPECT_EQ(white.luma, 235);
    EXPECT_EQ(white.cb, 128);
    EXPECT_EQ(white.cr, 128);
    constexpr Colour black(0, 0, 0);
    EXPECT_EQ(black.luma, 16);
    constexpr Colour yellow(191, 191, 0); // the second of the usual bars: 168, 44, 136
    EXPECT_NEAR(yellow.luma, 168, 1);
    EXPECT_NEAR(yellow.cb, 44, 1);
    EXPECT_NEAR(yellow.cr, 136, 1);
}

TEST(FrameRate, FramesStartWhereTheFractionSays)
{
    constexpr FrameRate ntsc{30000, 1001};
    EXPECT_EQ(ntsc.frameStart(0, 48000), 0);
    EXPECT_EQ(ntsc.frameStart(1, 48000), 1601);
    EXPECT_EQ(ntsc.frameStart(2, 48000), 3203);
    EXPECT_EQ(ntsc.frameStart(5, 48000), 8008);
    EXPECT_EQ(ntsc.frameStart(30000, HnsPerSecond), 1001 * HnsPerSecond);
}

TEST(FrameRate, AYearOfFramesDoesNotOverflow)
{
    constexpr FrameRate fast{60000, 1001};
    constexpr std::int64_t year = 60000LL * 31536;
    EXPECT_EQ(fast.frameStart(year, HnsPerSecond), 1001LL * 31536 * HnsPerSecond);
    EXPECT_EQ(fast.frameStart(year * 1000, 48000), 1001LL * 31536 * 1000 * 48000);
}

TEST(FrameRate, EverySecondHasAFlashThatStartsWithItsFirstFrame)
{
    for (const FrameRate rate : {FrameRate{1, 2}, {1, 1}, {3, 2}, {24000, 1001}, {25, 1}, {30000, 1001}, {60, 1}}) {
        std::int64_t flashes = 0;
        for (std::int64_t frame = 0; frame < 1000; ++frame) {
            const bool begins = isFlashFrame(frame, rate) && (frame == 0 || !isFlashFrame(frame - 1, rate));
            const bool firstOfSecond = frame == 0 || rate.frameStart(frame, 1) != rate.frameStart(frame - 1, 1);
            EXPECT_FALSE(begins && !firstOfSecond) << rate.numerator << ' ' << frame;
            EXPECT_TRUE(!firstOfSecond || isFlashFrame(frame, rate)) << rate.numerator << ' ' << frame;
            flashes += isFlashFrame(frame, rate) ? 1 : 0;
        }
        EXPECT_GT(flashes, 0);
    }
    EXPECT_TRUE(isFlashFrame(54, {50, 1}));
    EXPECT_FALSE(isFlashFrame(55, {50, 1}));
}

} // namespace
