#include "ndi/tools/ndi-send/Y4mReader.h"

#include "tests/tools/FailureMatcher.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace ndisend;
using nditools::ExitCode;

namespace
{

Y4mHeader headerOf(const std::string &line)
{
    std::istringstream stream(line + "\n");
    return Y4mReader(stream).header();
}

TEST(Y4mReader, ReadsTheHeader)
{
    const Y4mHeader header = headerOf("YUV4MPEG2 W720 H576 F30000:1001 It A16:15 C422 XYSCSS=422");
    EXPECT_EQ(header.width, 720);
    EXPECT_EQ(header.height, 576);
    EXPECT_EQ(header.chroma, Chroma::Yuv422);
    ASSERT_TRUE(header.rate);
    EXPECT_EQ(header.rate->numerator, 30000);
    EXPECT_EQ(header.rate->denominator, 1001);
    EXPECT_TRUE(header.interlaced);
    EXPECT_FLOAT_EQ(header.pixelAspect, 16.0F / 15.0F);
}

TEST(Y4mReader, LeavesOutWhatTheHeaderDoesNotSay)
{
    const Y4mHeader header = headerOf("YUV4MPEG2 W64 H48 F0:0 I? A0:0");
    EXPECT_EQ(header.chroma, Chroma::Yuv420);
    EXPECT_FALSE(header.rate);
    EXPECT_FALSE(header.interlaced);
    EXPECT_EQ(header.pixelAspect, 0.0F);
}

TEST(Y4mReader, KnowsThePlanesOfEveryChromaAndOfOddSizes)
{
    EXPECT_EQ(headerOf("YUV4MPEG2 W5 H3 C420mpeg2").frameBytes(), 15U + 2U * 6U);
    EXPECT_EQ(headerOf("YUV4MPEG2 W5 H3 C422").frameBytes(), 15U + 2U * 9U);
    EXPECT_EQ(headerOf("YUV4MPEG2 W5 H3 C444").frameBytes(), 45U);
}

TEST(Y4mReader, ReadsFramesUntilTheEnd)
{
    std::istringstream stream("YUV4MPEG2 W2 H2\nFRAME\nabcdefFRAME Ip\nghijkl");
    Y4mReader reader(stream);
    std::vector<std::uint8_t> planes;
    ASSERT_TRUE(reader.readFrame(planes));
    EXPECT_EQ(std::string(planes.begin(), planes.end()), "abcdef");
    ASSERT_TRUE(reader.readFrame(planes));
    EXPECT_EQ(std::string(planes.begin(), planes.end()), "ghijkl");
    EXPECT_FALSE(reader.readFrame(planes));
}

TEST(Y4mReader, BeginsAgainAfterTheEnd)
{
    std::istringstream stream("YUV4MPEG2 W2 H2\nFRAME\nabcdef");
    Y4mReader reader(stream);
    std::vector<std::uint8_t> planes;
    ASSERT_TRUE(reader.readFrame(planes));
    ASSERT_FALSE(reader.readFrame(planes));
    ASSERT_TRUE(reader.rewind());
    ASSERT_TRUE(reader.readFrame(planes));
    EXPECT_EQ(std::string(planes.begin(), planes.end()), "abcdef");
}

struct BadStream {
    std::string bytes;
    std::string word;
};

class Y4mReaderBadHeader : public testing::TestWithParam<BadStream>
{
};

TEST_P(Y4mReaderBadHeader, IsRefusedWithTheReason)
{
    std::istringstream stream(GetParam().bytes);
    expectFailure(ExitCode::BadData, {"y4m", GetParam().word}, [&] { Y4mReader reader(stream); });
}

INSTANTIATE_TEST_SUITE_P(
    All, Y4mReaderBadHeader,
    testing::Values(BadStream{"", "empty"}, BadStream{"YUV4MPEG2 W2 H2", "ends"}, BadStream{"RIFF W2 H2\n", "begin"},
                    BadStream{"\n", "begin"}, BadStream{std::string(5000, 'x'), "no end"},
                    BadStream{"YUV4MPEG2 H2\n", "0 x 2"}, BadStream{"YUV4MPEG2 W2\n", "2 x 0"},
                    BadStream{"YUV4MPEG2 W-2 H2\n", "'W-2'"}, BadStream{"YUV4MPEG2 W H2\n", "'W'"},
                    BadStream{"YUV4MPEG2 W2x H2\n", "'W2x'"},
                    BadStream{"YUV4MPEG2 W99999999999999999999 H2\n", "out of range"},
                    BadStream{"YUV4MPEG2 W20000 H2\n", "out of range"},
                    BadStream{"YUV4MPEG2 W16384 H16384\n", "cannot be sent"},
                    BadStream{"YUV4MPEG2 W2 H2 F25\n", "fraction"}, BadStream{"YUV4MPEG2 W2 H2 F25:-1\n", "'F25:-1'"},
                    BadStream{"YUV4MPEG2 W2 H2 C420p10\n", "8 bit"}, BadStream{"YUV4MPEG2 W2 H2 Cmono\n", "8 bit"},
                    BadStream{"YUV4MPEG2 W2 H2 Ib\n", "lower field"}));

class Y4mReaderBadFrame : public testing::TestWithParam<BadStream>
{
};

TEST_P(Y4mReaderBadFrame, IsRefusedWithItsNumber)
{
    std::istringstream stream("YUV4MPEG2 W2 H2\nFRAME\nabcdef" + GetParam().bytes);
    Y4mReader reader(stream);
    std::vector<std::uint8_t> planes;
    ASSERT_TRUE(reader.readFrame(planes));
    expectFailure(ExitCode::BadData, {"y4m", GetParam().word}, [&] { reader.readFrame(planes); });
}

INSTANTIATE_TEST_SUITE_P(All, Y4mReaderBadFrame,
                         testing::Values(BadStream{"FRAME\nabcde", "frame 1 is cut short"},
                                         BadStream{"FRAME\n", "frame 1 is cut short"},
                                         BadStream{"FRAMES\nabcdef", "frame 1 does not begin"},
                                         BadStream{"FRA", "header line"}, BadStream{"\nabcdef", "frame 1"},
                                         BadStream{"FRAME " + std::string(5000, 'x'), "no end"}));

} // namespace
