#include "ndi/tools/ndi-recv/Options.h"

#include "tests/tools/FailureMatcher.h"

#include <gtest/gtest.h>

using namespace ndirecv;
using nditools::ExitCode;

namespace
{

Options parse(const char *arguments)
{
    return parseOptions(QString::fromUtf8(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts)).options;
}

TEST(NdiRecvOptions, NeedANameAndHaveNoLimit)
{
    const Options options = parse("ndi-recv Cam");
    EXPECT_EQ(options.name, QStringLiteral("Cam"));
    EXPECT_EQ(options.wait, std::chrono::seconds(10));
    EXPECT_FALSE(options.frames);
    EXPECT_FALSE(options.seconds);
    EXPECT_FALSE(options.untilLost);
    EXPECT_EQ(options.colour, NDIlib_recv_color_format_UYVY_BGRA);
    EXPECT_TRUE(options.fields);
    EXPECT_FALSE(options.tally);
    EXPECT_TRUE(options.videoFile.isEmpty());
    EXPECT_FALSE(options.quiet);
}

TEST(NdiRecvOptions, ReadEveryValue)
{
    const Options options =
        parse("ndi-recv Cam --wait 0.5 --seconds 2.5 --frames 12 --until-lost --color fastest --whole-frames "
              "--tally program --record-video a.y4m --record-raw a.raw --record-audio a.wav --snapshot a.png "
              "--metadata a.txt --json a.json --quiet");
    EXPECT_EQ(options.wait, std::chrono::milliseconds(500));
    EXPECT_EQ(options.seconds, 2.5);
    EXPECT_EQ(options.frames, 12);
    EXPECT_TRUE(options.untilLost);
    EXPECT_EQ(options.colour, NDIlib_recv_color_format_fastest);
    EXPECT_FALSE(options.fields);
    ASSERT_TRUE(options.tally);
    EXPECT_TRUE(options.tally->on_program);
    EXPECT_FALSE(options.tally->on_preview);
    EXPECT_EQ(options.videoFile, QStringLiteral("a.y4m"));
    EXPECT_EQ(options.rawFile, QStringLiteral("a.raw"));
    EXPECT_EQ(options.audioFile, QStringLiteral("a.wav"));
    EXPECT_EQ(options.snapshotFile, QStringLiteral("a.png"));
    EXPECT_EQ(options.metadataFile, QStringLiteral("a.txt"));
    EXPECT_EQ(options.jsonFile, QStringLiteral("a.json"));
    EXPECT_TRUE(options.quiet);
}

TEST(NdiRecvOptions, KnowEveryColourFormat)
{
    EXPECT_EQ(parse("ndi-recv Cam --color uyvy-bgra").colour, NDIlib_recv_color_format_UYVY_BGRA);
    EXPECT_EQ(parse("ndi-recv Cam --color uyvy-rgba").colour, NDIlib_recv_color_format_UYVY_RGBA);
    EXPECT_EQ(parse("ndi-recv Cam --color bgra").colour, NDIlib_recv_color_format_BGRX_BGRA);
    EXPECT_EQ(parse("ndi-recv Cam --color rgba").colour, NDIlib_recv_color_format_RGBX_RGBA);
    EXPECT_EQ(parse("ndi-recv Cam --color best").colour, NDIlib_recv_color_format_best);
}

TEST(NdiRecvOptions, LightBothLightsAndCallSecondsADurationToo)
{
    const Options options = parse("ndi-recv Cam --tally preview,program --duration 3");
    ASSERT_TRUE(options.tally);
    EXPECT_TRUE(options.tally->on_program);
    EXPECT_TRUE(options.tally->on_preview);
    EXPECT_EQ(options.seconds, 3.0);
}

TEST(NdiRecvOptions, AnswerHelpAndVersionWithoutAName)
{
    const auto text = [](const char *option) {
        return parseOptions({QStringLiteral("ndi-recv"), QLatin1String(option)}).text.value_or(QString()).toStdString();
    };
    EXPECT_THAT(text("--help"), testing::HasSubstr("--record-video"));
    EXPECT_THAT(text("--version"), testing::StartsWith("ndi-recv "));
}

struct WrongUse {
    const char *arguments;
    std::vector<std::string> words;
};

class NdiRecvOptionsWrongUse : public testing::TestWithParam<WrongUse>
{
};

TEST_P(NdiRecvOptionsWrongUse, IsRefusedWithTheOptionsNameAndTheReason)
{
    expectFailure(ExitCode::Usage, GetParam().words, [] { parse(GetParam().arguments); });
}

INSTANTIATE_TEST_SUITE_P(All, NdiRecvOptionsWrongUse,
                         testing::Values(WrongUse{"ndi-recv", {"name"}}, WrongUse{"ndi-recv a b", {"name"}},
                                         WrongUse{"ndi-recv a --seconds 0", {"--seconds", "'0'"}},
                                         WrongUse{"ndi-recv a --wait soon", {"--wait", "'soon'"}},
                                         WrongUse{"ndi-recv a --frames -1", {"--frames"}},
                                         WrongUse{"ndi-recv a --color UYVY", {"--color", "'UYVY'", "fastest"}},
                                         WrongUse{"ndi-recv a --tally red", {"--tally", "'red'", "preview"}},
                                         WrongUse{"ndi-recv a --tally program,", {"--tally"}},
                                         WrongUse{"ndi-recv a --record-video=", {"--record-video", "empty"}},
                                         WrongUse{"ndi-recv a --json=", {"--json"}},
                                         WrongUse{"ndi-recv a --nonsense", {"nonsense"}}));

} // namespace
