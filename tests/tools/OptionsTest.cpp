#include "ndi/tools/ndi-send/Options.h"

#include "tests/tools/FailureMatcher.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>

using namespace ndisend;
using nditools::ExitCode;

namespace
{

Options parse(const QStringList &arguments)
{
    return parseOptions(QStringList(QStringLiteral("ndi-send")) + arguments).options;
}

Options parse(const char *arguments)
{
    return parse(QString::fromUtf8(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts));
}

TEST(Options, DefaultToA1080p25PatternWithStereo)
{
    const Options options = parse("");
    EXPECT_EQ(options.name, QStringLiteral("ndi-send"));
    EXPECT_TRUE(options.video);
    EXPECT_TRUE(options.audio);
    EXPECT_EQ(options.width, 1920);
    EXPECT_EQ(options.height, 1080);
    EXPECT_EQ(options.format, NDIlib_FourCC_video_type_UYVY);
    EXPECT_FALSE(options.rate);
    EXPECT_FALSE(options.interlaced);
    EXPECT_EQ(options.channels, 2);
    EXPECT_EQ(options.sampleRate, 48000);
    EXPECT_FALSE(options.frames);
    EXPECT_FALSE(options.seconds);
    EXPECT_EQ(0, options.clockPpm);
    EXPECT_EQ(0, options.audioClockPpm);
}

TEST(Options, ReadEveryValue)
{
    const Options options = parse("--name Bühne --size 640x360 --rate 30000/1001 --format BGRX --interleaved "
                                  "--channels 8 --sample-rate 44100 --frames 12 --metadata <a/> --frame-metadata <b/> "
                                  "--json out.json --quiet");
    EXPECT_EQ(options.name, QString::fromUtf8("Bühne"));
    EXPECT_EQ(options.width, 640);
    EXPECT_EQ(options.height, 360);
    ASSERT_TRUE(options.rate);
    EXPECT_EQ(options.rate->numerator, 30000);
    EXPECT_EQ(options.rate->denominator, 1001);
    EXPECT_EQ(options.format, NDIlib_FourCC_video_type_BGRX);
    EXPECT_EQ(options.interlaced, true);
    EXPECT_EQ(options.channels, 8);
    EXPECT_EQ(options.sampleRate, 44100);
    EXPECT_EQ(options.frames, 12);
    EXPECT_EQ(options.metadata, "<a/>");
    EXPECT_EQ(options.frameMetadata, "<b/>");
    EXPECT_EQ(options.jsonFile, QStringLiteral("out.json"));
    EXPECT_TRUE(options.quiet);
}

TEST(Options, ProgressiveOverridesAFilesOwnScan)
{
    EXPECT_EQ(parse("--video a.y4m --progressive").interlaced, false);
}

TEST(Options, DurationIsInSeconds)
{
    EXPECT_EQ(parse("--duration 2.5").seconds, 2.5);
}

TEST(Options, TheSoundHasThePicturesClockUnlessItIsGivenItsOwn)
{
    EXPECT_EQ(-300, parse("--clock-ppm -300").clockPpm);
    EXPECT_EQ(-300, parse("--clock-ppm -300").audioClockPpm);
    EXPECT_EQ(300, parse("--clock-ppm 300 --audio-clock-ppm 0").clockPpm);
    EXPECT_EQ(0, parse("--clock-ppm 300 --audio-clock-ppm 0").audioClockPpm);
    EXPECT_EQ(0, parse("--audio-clock-ppm 10000").clockPpm);
    EXPECT_EQ(10000, parse("--audio-clock-ppm 10000").audioClockPpm);
}

TEST(Options, AFilmHasNoToneUnlessASoundFileIsNamed)
{
    EXPECT_FALSE(parse("--video a.y4m").audio);
    EXPECT_TRUE(parse("--video a.y4m --audio a.wav").audio);
    EXPECT_TRUE(parse("--audio a.wav").video);
}

TEST(Options, HelpAndVersionAreTextsAndNeedNothingElseToBeRight)
{
    const auto text = [](const char *option) {
        const auto parsed = parseOptions(
            {QStringLiteral("ndi-send"), QLatin1String(option), QStringLiteral("--rate"), QStringLiteral("nonsense")});
        return parsed.text.value_or(QString()).toStdString();
    };
    EXPECT_THAT(text("--help"), testing::HasSubstr("--frame-metadata"));
    EXPECT_THAT(text("--version"), testing::StartsWith("ndi-send "));
}

struct WrongUse {
    const char *arguments;
    std::vector<std::string> words;
};

class OptionsWrongUse : public testing::TestWithParam<WrongUse>
{
};

TEST_P(OptionsWrongUse, IsRefusedWithTheOptionsNameAndTheReason)
{
    expectFailure(ExitCode::Usage, GetParam().words, [] { parse(GetParam().arguments); });
}

INSTANTIATE_TEST_SUITE_P(
    All, OptionsWrongUse,
    testing::Values(WrongUse{"--size 640", {"--size", "'640'"}}, WrongUse{"--size 640x", {"--size"}},
                    WrongUse{"--size 1x480", {"--size"}}, WrongUse{"--size 0x480", {"--size"}},
                    WrongUse{"--size 640x-2", {"--size"}}, WrongUse{"--size 20000x100", {"--size", "16384"}},
                    WrongUse{"--size 1x2x3", {"--size"}}, WrongUse{"--rate 0", {"--rate", "'0'"}},
                    WrongUse{"--rate 25/0", {"--rate"}}, WrongUse{"--rate -25", {"--rate"}},
                    WrongUse{"--rate 1/2/3", {"--rate"}}, WrongUse{"--rate 5000", {"--rate", "1000"}},
                    WrongUse{"--rate x", {"--rate"}}, WrongUse{"--rate 1/100", {"--rate"}},
                    WrongUse{"--format uyvy", {"--format", "UYVY, BGRA or BGRX"}},
                    WrongUse{"--channels 0", {"--channels"}}, WrongUse{"--channels 65", {"--channels", "64"}},
                    WrongUse{"--sample-rate 12", {"--sample-rate"}}, WrongUse{"--frames 0", {"--frames"}},
                    WrongUse{"--clock-ppm 10001", {"--clock-ppm", "'10001'", "-10000 to 10000"}},
                    WrongUse{"--clock-ppm -10001", {"--clock-ppm"}}, WrongUse{"--clock-ppm 0.5", {"--clock-ppm"}},
                    WrongUse{"--audio-clock-ppm 10001", {"--audio-clock-ppm"}},
                    WrongUse{"--audio-clock-ppm fast", {"--audio-clock-ppm", "'fast'"}},
                    WrongUse{"--frames many", {"--frames", "'many'"}}, WrongUse{"--duration 0", {"--duration"}},
                    WrongUse{"--duration nan", {"--duration"}}, WrongUse{"--duration 1e300", {"--duration"}},
                    WrongUse{"--frames 5 --duration 5", {"--frames", "--duration"}},
                    WrongUse{"--no-audio --no-video", {"--no-video", "--no-audio"}},
                    WrongUse{"--video a --no-video", {"--no-video", "--video"}},
                    WrongUse{"--audio a --no-audio", {"--no-audio", "--audio"}},
                    WrongUse{"--video a --size 2x2", {"--size", "--video"}},
                    WrongUse{"--video a --format BGRA", {"--format", "--video"}},
                    WrongUse{"--audio a --channels 2", {"--channels", "--audio"}},
                    WrongUse{"--audio a --sample-rate 48000", {"--sample-rate", "--audio"}},
                    WrongUse{"--interleaved --progressive", {"--interleaved", "--progressive"}},
                    WrongUse{"--video - --audio -", {"--audio", "standard input"}},
                    WrongUse{"--video - --loop", {"--loop", "standard input"}},
                    WrongUse{"--loop", {"--loop", "--video"}}, WrongUse{"--name=", {"--name"}},
                    WrongUse{"--video=", {"--video"}}, WrongUse{"--unheard-of", {"unheard-of"}},
                    WrongUse{"--size", {"size"}}, WrongUse{"surplus", {"surplus"}}));

TEST(Options, MetadataIsReadFromAFileAsItIs)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("meta.xml"));
    std::ofstream(path.toStdString(), std::ios::binary) << "<x>\n\xc3\xa4</x>\n";
    EXPECT_EQ(parse({QStringLiteral("--metadata"), QLatin1Char('@') + path}).metadata, "<x>\n\xc3\xa4</x>\n");
    EXPECT_EQ(parse({QStringLiteral("--frame-metadata"), QLatin1Char('@') + path}).frameMetadata,
              "<x>\n\xc3\xa4</x>\n");
}

TEST(Options, AMetadataFileThatIsMissingIsNamed)
{
    expectFailure(ExitCode::NoInput, {"--metadata", "/no/such/file"}, [] { parse("--metadata @/no/such/file"); });
}

TEST(Options, AMetadataFileWithAZeroByteIsRefused)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("meta.bin"));
    std::ofstream(path.toStdString(), std::ios::binary).write("a\0b", 3);
    expectFailure(ExitCode::BadData, {"--metadata", "meta.bin"}, [&] {
        parse({QStringLiteral("--metadata"), QLatin1Char('@') + path});
    });
}

} // namespace
