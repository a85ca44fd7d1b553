#include "pattern/FrameRate.h"
#include "pattern/PatternCode.h"
#include "pattern/TestPicture.h"
#include "tests/tools/SenderProcess.h"

#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>
#include <libyuv.h>

#include <map>

namespace
{

TEST_F(NdiSend, HelpNamesEveryOptionAndSucceeds)
{
    Sender sender(words("--help"));
    EXPECT_EQ(sender.wait(), 0);
    for (const char *option : {"name",        "video",     "audio",           "loop",           "size",
                               "rate",        "format",    "interleaved",     "progressive",    "channels",
                               "sample-rate", "clock-ppm", "audio-clock-ppm", "no-audio",       "no-video",
                               "frames",      "duration",  "metadata",        "frame-metadata", "json",
                               "quiet",       "help",      "version"})
        EXPECT_THAT(sender.output(), testing::AnyOf(testing::HasSubstr(std::string("--") + option + ' '),
                                                    testing::HasSubstr(std::string("--") + option + '\n')));
}

TEST_F(NdiSend, WrongUseEndsWith64AndNamesTheOption)
{
    Sender sender(words("--size big"));
    EXPECT_EQ(sender.wait(), 64);
    EXPECT_EQ(sender.errors(), "ndi-send: --size: 'big' is not WIDTHxHEIGHT from 2x2 to 16384x16384\n");
    EXPECT_EQ(sender.output(), "");
}

TEST_F(NdiSend, AMissingFileEndsWith66)
{
    Sender sender(words("--video /no/such/film.y4m"));
    EXPECT_EQ(sender.wait(), 66);
    EXPECT_THAT(sender.errors(), testing::HasSubstr("--video: /no/such/film.y4m"));
}

TEST_F(NdiSend, ADamagedFileEndsWith65)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("film.y4m"));
    writeFile(path, greyFilm(3).chopped(10));
    Sender sender({QStringLiteral("--video"), path});
    EXPECT_EQ(sender.wait(), 65);
    EXPECT_THAT(sender.errors(), testing::HasSubstr("frame 2 is cut short"));
}

TEST_F(NdiSend, ASenderThatTheRuntimeRefusesEndsWith70)
{
    Sender sender({QStringLiteral("--name"), QString(100000, QLatin1Char('x'))});
    EXPECT_EQ(sender.wait(), 70);
    EXPECT_THAT(sender.errors(), testing::HasSubstr("refused"));
}

TEST_F(NdiSend, ASummaryThatCannotBeWrittenEndsWith73)
{
    Sender sender(words("--frames 1 --json /no/such/folder/summary.json"));
    EXPECT_EQ(sender.wait(), 73);
    EXPECT_THAT(sender.errors(), testing::HasSubstr("/no/such/folder/summary.json"));
}

TEST_F(NdiSend, EndsAfterTheNumberOfFramesWithASummary)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("summary.json"));
    Sender sender(words("--size 320x240 --rate 100 --frames 20 --json") << path);
    EXPECT_EQ(sender.wait(), 0);
    const QJsonObject json = readJson(path);
    EXPECT_EQ(json[QStringLiteral("videoFrames")].toInt(), 20);
    EXPECT_EQ(json[QStringLiteral("audioSamples")].toInt(), 20 * 480);
    EXPECT_EQ(json[QStringLiteral("ended")].toString(), QStringLiteral("limit"));
    EXPECT_GE(json[QStringLiteral("seconds")].toDouble(), 0.19);
}

// Lateness of a busy machine only adds to the time.
TEST_F(NdiSend, ASlowClockTakesLongerForTheSameFrames)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("summary.json"));
    Sender sender(words("--size 160x64 --rate 100 --frames 201 --clock-ppm -10000 --json") << path);
    EXPECT_EQ(0, sender.wait());
    const QJsonObject json = readJson(path);
    EXPECT_EQ(201, json[QStringLiteral("videoFrames")].toInt());
    EXPECT_EQ(201, json[QStringLiteral("audioFrames")].toInt());
    EXPECT_GE(json[QStringLiteral("seconds")].toDouble(), 2.0 / 0.99);
}

TEST_F(NdiSend, AFastClockOfTheSoundSendsMoreOfItBesideTheSamePictures)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("summary.json"));
    Sender sender(words("--size 160x64 --rate 100 --frames 201 --audio-clock-ppm 10000 --json") << path);
    EXPECT_EQ(0, sender.wait());
    const QJsonObject json = readJson(path);
    EXPECT_EQ(201, json[QStringLiteral("videoFrames")].toInt());
    // The last picture leaves at 2 s, the sound of frame 202 as well.
    EXPECT_EQ(203, json[QStringLiteral("audioFrames")].toInt());
    EXPECT_EQ(203 * 480, json[QStringLiteral("audioSamples")].toInt());
}

TEST_F(NdiSend, TimecodesAreThoseOfTheSendersOwnClock)
{
    Sender sender(words("--size 320x240 --rate 100 --clock-ppm 10000 --audio-clock-ppm -10000"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    for (int i = 0; i < 5; ++i) {
        const auto video = receiver.nextOf<ReceivedVideo>();
        ASSERT_TRUE(video);
        const auto code = pattern::readCode(video->picture());
        ASSERT_TRUE(code);
        EXPECT_EQ(static_cast<std::int64_t>(code->frame) * 100000, video->header.timecode);
        EXPECT_EQ(100, video->header.frame_rate_N);
        const auto audio = receiver.nextOf<ReceivedAudio>();
        ASSERT_TRUE(audio);
        EXPECT_EQ(480, audio->header.no_samples);
        EXPECT_EQ(0, audio->header.timecode % 100000);
    }
}

// What the pattern looks like, drawn here once more: as it was sent, lines packed.
std::vector<std::uint8_t> drawnPixels(const ReceivedVideo &video, const pattern::PatternCode &code,
                                      pattern::PixelLayout layout)
{
    const auto &header = video.header;
    pattern::TestPicture drawn(layout, header.xres + header.xres % 2, header.yres);
    const pattern::FrameRate rate{header.frame_rate_N, header.frame_rate_D};
    drawn.draw(code.frame, pattern::isFlashFrame(static_cast<std::int64_t>(code.frame), rate));
    pattern::Picture shown = drawn.picture();
    shown.width = header.xres;
    EXPECT_TRUE(pattern::writeCode(shown, code));

    const int lineBytes = layout == pattern::PixelLayout::UYVY ? (header.xres + 1) / 2 * 4 : header.xres * 4;
    std::vector<std::uint8_t> pixels;
    for (int line = 0; line < header.yres; ++line)
        pixels.insert(pixels.end(), shown.line(line), shown.line(line) + lineBytes);
    return pixels;
}

// What a receiver that takes no BGRX is given of it.
std::vector<std::uint8_t> asUyvy(const std::vector<std::uint8_t> &bgrx, int width, int height)
{
    std::vector<std::uint8_t> uyvy(bgrx.size() / 2);
    libyuv::ARGBToUYVY(bgrx.data(), width * 4, uyvy.data(), width * 2, width, height);
    return uyvy;
}

struct PixelFormat {
    const char *sent;
    pattern::PixelLayout layout;
    int width;
    NDIlib_recv_color_format_e wanted;
    NDIlib_FourCC_video_type_e delivered;
    bool isConverted; // by the runtime
};

class NdiSendPixels : public NdiSend, public testing::WithParamInterface<PixelFormat>
{
};

TEST_P(NdiSendPixels, EachFrameCarriesItsNumberItsTimecodeAndThePattern)
{
    const auto &format = GetParam();
    Sender sender(words("--rate 60000/1001 --no-audio --format")
                  << QLatin1String(format.sent) << QStringLiteral("--size")
                  << QStringLiteral("%1x360").arg(format.width));
    Receiver receiver(sender.name(), format.wanted);
    ASSERT_TRUE(receiver.found());
    std::optional<std::uint64_t> last;
    for (int i = 0; i < 10; ++i) {
        const auto video = receiver.nextOf<ReceivedVideo>();
        ASSERT_TRUE(video);
        EXPECT_EQ(video->header.xres, format.width);
        EXPECT_EQ(video->header.yres, 360);
        EXPECT_EQ(video->header.FourCC, format.delivered);
        EXPECT_EQ(video->header.frame_rate_N, 60000);
        EXPECT_EQ(video->header.frame_rate_D, 1001);
        EXPECT_EQ(video->header.frame_format_type, NDIlib_frame_format_type_progressive);
        const auto code = pattern::readCode(video->picture());
        ASSERT_TRUE(code);
        const pattern::FrameRate rate{60000, 1001};
        EXPECT_EQ(video->header.timecode,
                  rate.frameStart(static_cast<std::int64_t>(code->frame), pattern::HnsPerSecond));
        EXPECT_LE(code->sendTimeHns, pattern::steadyNowHns());
        EXPECT_TRUE(!last || code->frame > *last);
        last = code->frame;
        const auto sent = drawnPixels(*video, *code, format.layout);
        EXPECT_TRUE(video->pixels == (format.isConverted ? asUyvy(sent, format.width, 360) : sent))
            << "frame " << code->frame;
    }
}

using Layout = pattern::PixelLayout;
constexpr auto UyvyOrBgra = NDIlib_recv_color_format_UYVY_BGRA;
constexpr auto BgrxOrBgra = NDIlib_recv_color_format_BGRX_BGRA;

INSTANTIATE_TEST_SUITE_P(
    All, NdiSendPixels,
    testing::Values(PixelFormat{"UYVY", Layout::UYVY, 640, UyvyOrBgra, NDIlib_FourCC_video_type_UYVY, false},
                    PixelFormat{"UYVY", Layout::UYVY, 641, UyvyOrBgra, NDIlib_FourCC_video_type_UYVY, false},
                    PixelFormat{"UYVY", Layout::UYVY, 639, UyvyOrBgra, NDIlib_FourCC_video_type_UYVY, false},
                    PixelFormat{"BGRA", Layout::BGRA, 640, UyvyOrBgra, NDIlib_FourCC_video_type_BGRA, false},
                    PixelFormat{"BGRA", Layout::BGRA, 641, UyvyOrBgra, NDIlib_FourCC_video_type_BGRA, false},
                    PixelFormat{"BGRX", Layout::BGRA, 640, UyvyOrBgra, NDIlib_FourCC_video_type_UYVY, true},
                    PixelFormat{"BGRX", Layout::BGRA, 642, BgrxOrBgra, NDIlib_FourCC_video_type_BGRX, false},
                    PixelFormat{"BGRX", Layout::BGRA, 641, BgrxOrBgra, NDIlib_FourCC_video_type_BGRX, false}),
    [](const auto &tested) { return std::string(tested.param.sent) + std::to_string(tested.param.width); });

TEST_F(NdiSend, AnInterleavedFrameCarriesItsNumberInBothFields)
{
    Sender sender(words("--size 640x480 --rate 25 --no-audio --interleaved"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    std::optional<ReceivedVideo> upper;
    do {
        upper = receiver.nextOf<ReceivedVideo>();
        ASSERT_TRUE(upper);
    } while (upper->header.frame_format_type != NDIlib_frame_format_type_field_0);
    const auto lower = receiver.nextOf<ReceivedVideo>();
    ASSERT_TRUE(lower);
    EXPECT_EQ(lower->header.frame_format_type, NDIlib_frame_format_type_field_1);
    const auto first = pattern::readCode(upper->picture());
    const auto second = pattern::readCode(lower->picture());
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_EQ(first->frame, second->frame);
}

TEST_F(NdiSend, SoundIsCutAtTheFrameBoundariesOnTheSameTimeBase)
{
    Sender sender(words("--size 160x64 --rate 30000/1001 --channels 4"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    const pattern::FrameRate rate{30000, 1001};
    for (int i = 0; i < 8; ++i) {
        const auto audio = receiver.nextOf<ReceivedAudio>();
        ASSERT_TRUE(audio);
        EXPECT_EQ(audio->header.no_channels, 4);
        const std::int64_t sample = (audio->header.timecode * 48 + 9999) / 10000;
        // The frame that this sound belongs to: the first one that does not start before it.
        std::int64_t frame = 0;
        while (rate.frameStart(frame, 48000) < sample)
            ++frame;
        EXPECT_EQ(rate.frameStart(frame, 48000), sample);
        EXPECT_EQ(audio->header.no_samples, rate.frameStart(frame + 1, 48000) - sample);
    }
}

TEST_F(NdiSend, TheBeepSoundsWithTheFlash)
{
    Sender sender(words("--size 320x240 --rate 50 --duration 30"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    std::map<std::int64_t, float> loudness; // by timecode
    int flashes = 0;
    int darks = 0;
    for (int i = 0; i < 400 && (flashes < 2 || darks < 5); ++i) {
        const auto received = receiver.next();
        ASSERT_TRUE(received);
        if (const auto *audio = std::get_if<ReceivedAudio>(&*received))
            loudness[audio->header.timecode] = audio->peak();
        const auto *video = std::get_if<ReceivedVideo>(&*received);
        if (video == nullptr || loudness.count(video->header.timecode) == 0)
            continue;
        const bool flash = video->picture().line(235)[2 * 310 + 1] > 200;
        const float peak = loudness[video->header.timecode];
        EXPECT_EQ(flash, peak > 0.4F) << "at " << video->header.timecode << ", peak " << peak;
        (flash ? flashes : darks) += 1;
    }
    EXPECT_GE(flashes, 2);
    EXPECT_GE(darks, 5);
}

TEST_F(NdiSend, FrameMetadataIsOnEveryFrame)
{
    Sender sender(words("--size 160x64 --rate 50 --frame-metadata <score>2:1</score>"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    for (int i = 0; i < 5; ++i) {
        const auto video = receiver.nextOf<ReceivedVideo>();
        ASSERT_TRUE(video);
        EXPECT_EQ(video->metadata, "<score>2:1</score>");
    }
    const auto audio = receiver.nextOf<ReceivedAudio>();
    ASSERT_TRUE(audio);
    EXPECT_EQ(audio->metadata, "<score>2:1</score>");
}

TEST_F(NdiSend, MetadataReachesAReceiverThatJoinsAsItIsAndComesAgain)
{
    Sender sender(words("--size 160x64 --rate 50 --metadata no<xml&"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    for (int i = 0; i < 2; ++i) {
        std::optional<ReceivedMetadata> metadata;
        do {
            metadata = receiver.nextOf<ReceivedMetadata>();
            ASSERT_TRUE(metadata);
        } while (metadata->text.rfind("<ndi_tally_echo", 0) == 0);
        EXPECT_EQ(metadata->text, "no<xml&");
    }
}

TEST_F(NdiSend, AFileIsPublishedInItsOwnSizeAndRateAndStartedAgain)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("film.y4m"));
    writeFile(path, greyFilm(3));
    Sender sender({QStringLiteral("--video"), path, QStringLiteral("--loop")});
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    for (int i = 0; i < 7; ++i) {
        const auto video = receiver.nextOf<ReceivedVideo>();
        ASSERT_TRUE(video);
        EXPECT_EQ(video->header.xres, 64);
        EXPECT_EQ(video->header.yres, 48);
        EXPECT_EQ(video->header.frame_rate_N, 50);
        const std::int64_t frame = video->header.timecode / 200000;
        EXPECT_EQ(video->pixels[1], 40 + frame % 3);
        EXPECT_EQ(video->pixels[0], 128);
    }
}

} // namespace
