// What goes through the module and out again, received without it: picture, sound and times, to the bit.

#include "tests/e2e/ReceivedPattern.h"
#include "tests/e2e/SendingScenes.h"
#include "tests/e2e/TestReceiver.h"
#include "tests/e2e/TestSender.h"
#include "tests/e2e/TimeLimits.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace
{

constexpr std::size_t Enough = 10; // pictures, and pieces of sound

bool isOfFormat(const ReceivedPicture &picture, const SenderFormat &format)
{
    return picture.header.xres == format.width && picture.header.yres == format.height;
}

// Waits until enough has come in this format.
bool receives(const TestReceiver &receiver, const SenderFormat &format)
{
    const auto isThere = [&] {
        return isOfFormat(receiver.newestPicture(), format) &&
               receiver.newestSound().header.no_channels == format.channels;
    };
    if (!waitUntil(isThere, Patience))
        return false;
    const std::size_t pictures = receiver.pictureCount() + Enough;
    const std::size_t pieces = receiver.soundCount() + Enough;
    return waitUntil([&] { return receiver.pictureCount() >= pictures && receiver.soundCount() >= pieces; }, Patience);
}

void expectExact(const ReceivedPicture &picture, const SenderFormat &format)
{
    const quint32 frame = frameNumber(picture.bytes);
    ASSERT_TRUE(isOfFormat(picture, format)) << picture.header.xres << "x" << picture.header.yres;
    ASSERT_EQ(picture.header.FourCC, NDIlib_FourCC_video_type_UYVY);
    ASSERT_EQ(picture.header.frame_format_type, NDIlib_frame_format_type_progressive);
    ASSERT_EQ(picture.header.frame_rate_N, format.rate);
    ASSERT_EQ(picture.header.frame_rate_D, format.seconds);
    ASSERT_TRUE(picture.bytes == frameBytes(format, frame)) << "frame " << frame;
}

void expectExact(const ReceivedSound &sound, const SenderFormat &format)
{
    ASSERT_EQ(sound.header.sample_rate, format.sampleRate);
    ASSERT_EQ(sound.header.no_channels, format.channels);
    ASSERT_FALSE(sound.samples.empty());
    ASSERT_EQ(sound.samples, frameSound(format, frameNumber(sound.samples)));
}

// The distance from a frame's place in its sender's time to its timecode, the same for all that is in order.
template <typename Frame, typename Content>
long long displacement(const Frame &frame, const Content &content, const SenderFormat &format)
{
    return frame.header.timecode - format.frameStart(frameNumber(content), pattern::HnsPerSecond);
}

// A sender, the scene that passes it on, and who receives that.
class RoundTrip
{
public:
    explicit RoundTrip(const SenderFormat &format)
        : m_format(format), m_sender(m_in, format), m_receiver(m_out), m_scene(m_in, m_out)
    {
    }

    void expectExactness()
    {
        ASSERT_TRUE(m_scene.isLoaded());
        ASSERT_TRUE(waitUntil(
            [this] { return m_receiver.pictureCount() >= Enough && m_receiver.soundCount() >= Enough; }, Patience));
        const auto pictures = m_receiver.pictures();
        const long long begin = displacement(pictures.front(), pictures.front().bytes, m_format);
        quint32 last = 0;
        for (const ReceivedPicture &picture : pictures) {
            ASSERT_NO_FATAL_FAILURE(expectExact(picture, m_format));
            EXPECT_GT(frameNumber(picture.bytes), last);
            EXPECT_EQ(displacement(picture, picture.bytes, m_format), begin);
            last = frameNumber(picture.bytes);
        }
        for (const ReceivedSound &piece : m_receiver.sound()) {
            ASSERT_NO_FATAL_FAILURE(expectExact(piece, m_format));
            EXPECT_EQ(displacement(piece, piece.samples, m_format), begin);
        }
    }

private:
    const SenderFormat m_format;
    const QString m_in = uniqueName("in");
    const QString m_out = uniqueName("out");
    const TestSender m_sender;
    const TestReceiver m_receiver;
    PassingScene m_scene;
};

TEST(Sending, PassesPicturesWithPaddedLinesAndTheirTimesExactly)
{
    SenderFormat format;
    format.width = 718;
    format.height = 405;
    format.padding = 37;
    RoundTrip(format).expectExactness();
}

TEST(Sending, PassesFullHdExactly)
{
    SenderFormat format;
    format.width = 1920;
    format.height = 1080;
    format.rate = 25;
    RoundTrip(format).expectExactness();
}

TEST(Sending, PassesOneToEightChannelsInPiecesOfDifferentLengthsExactly)
{
    std::vector<std::unique_ptr<RoundTrip>> trips; // side by side
    for (const int channels : {1, 2, 3, 4, 5, 6, 7, 8}) {
        SenderFormat format;
        format.rate = 30000;
        format.seconds = 1001; // 1601 or 1602 samples a frame
        format.channels = channels;
        trips.push_back(std::make_unique<RoundTrip>(format));
    }
    for (const auto &trip : trips)
        ASSERT_NO_FATAL_FAILURE(trip->expectExactness());
}

TEST(Sending, FollowsChangesOfFormatWithOneSender)
{
    std::vector<SenderFormat> formats;
    for (const int step : {0, 1, 2, 3}) {
        SenderFormat format;
        format.width = 320 + (step % 2 == 0 ? 64 : -64) * step;
        format.height = 180 + 36 * step;
        format.channels = 2 + step;
        formats.push_back(format);
    }
    const QString in = uniqueName("formats in");
    const QString out = uniqueName("formats out");
    TestSender sender(in, formats.front());
    const TestReceiver receiver(out, 1000);
    PassingScene scene(in, out);
    ASSERT_TRUE(scene.isLoaded());
    for (const SenderFormat &format : formats) {
        sender.setFormat(format);
        ASSERT_TRUE(receives(receiver, format));
    }
    // Each of all frames, those around the changes included, is one of its format.
    for (const ReceivedPicture &picture : receiver.pictures()) {
        const auto format = std::find_if(formats.begin(), formats.end(),
                                         [&](const SenderFormat &candidate) { return isOfFormat(picture, candidate); });
        ASSERT_NE(format, formats.end()) << picture.header.xres << "x" << picture.header.yres;
        ASSERT_NO_FATAL_FAILURE(expectExact(picture, *format));
    }
    for (const ReceivedSound &sound : receiver.sound()) {
        const int step = sound.header.no_channels - 2;
        ASSERT_TRUE(step >= 0 && step < static_cast<int>(formats.size())) << sound.header.no_channels;
        ASSERT_NO_FATAL_FAILURE(expectExact(sound, formats[static_cast<std::size_t>(step)]));
    }
    EXPECT_EQ(receiver.losses(), 0);
    EXPECT_EQ(scene.graph().restarts(), 0);
}

// The module takes no pictures with alpha.
TEST(Sending, PassesTheSoundBesidePicturesWithAlphaAndThoseThatFollowThemExactly)
{
    SenderFormat format;
    format.fourCC = NDIlib_FourCC_video_type_BGRA;
    const QString in = uniqueName("alpha in");
    const QString out = uniqueName("alpha out");
    TestSender sender(in, format);
    const TestReceiver receiver(out);
    PassingScene scene(in, out);
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(waitUntil([&] { return receiver.soundCount() >= Enough; }, Patience));
    EXPECT_EQ(receiver.pictureCount(), 0U);
    for (const ReceivedSound &piece : receiver.sound())
        ASSERT_NO_FATAL_FAILURE(expectExact(piece, format));

    format.fourCC = NDIlib_FourCC_video_type_UYVY;
    sender.setFormat(format);
    ASSERT_TRUE(receives(receiver, format));
    for (const ReceivedPicture &picture : receiver.pictures())
        ASSERT_NO_FATAL_FAILURE(expectExact(picture, format));
    EXPECT_EQ(scene.graph().restarts(), 0);
}

// What is kept by its place in the sender's time, which the sound beside it tells.
std::map<long long, ReceivedPicture> picturesByPlace(const TestReceiver &receiver, const SenderFormat &format)
{
    std::map<long long, ReceivedPicture> pictures;
    const ReceivedSound sound = receiver.newestSound();
    if (sound.samples.empty())
        return pictures;
    const long long begin = displacement(sound, sound.samples, format);
    for (const ReceivedPicture &picture : receiver.pictures())
        pictures.emplace(picture.header.timecode - begin, picture);
    return pictures;
}

// Calls it with each two pictures of the same place and returns how many there are.
template <typename Compare>
std::size_t forEachPair(const TestReceiver &left, const TestReceiver &right, const SenderFormat &format,
                        const Compare &compare)
{
    const std::map<long long, ReceivedPicture> candidates = picturesByPlace(right, format);
    std::size_t pairs = 0;
    for (const auto &[place, picture] : picturesByPlace(left, format)) {
        const auto other = candidates.find(place);
        if (other == candidates.end())
            continue; // a receiver on a busy machine may lose frames
        compare(picture, other->second);
        ++pairs;
    }
    return pairs;
}

class SendingConverted : public testing::TestWithParam<NDIlib_FourCC_video_type_e>
{
};

// Pictures of other layouts come out of the runtime as UYVY, the same for the module as for a receiver beside it.
TEST_P(SendingConverted, PassesTheRuntimesPicturesExactly)
{
    SenderFormat format;
    format.fourCC = GetParam();
    const QString in = uniqueName("converted in");
    const QString out = uniqueName("converted out");
    const TestReceiver beside(in, 1000, NDIlib_recv_color_format_fastest);
    const TestReceiver behind(out, 1000);
    const TestSender sender(in, format);
    PassingScene scene(in, out);
    ASSERT_TRUE(scene.isLoaded());
    const auto pairs = [&](const auto &compare) { return forEachPair(beside, behind, format, compare); };
    ASSERT_TRUE(waitUntil([&] { return pairs([](const auto &, const auto &) {}) >= Enough; }, Patience));
    pairs([&](const ReceivedPicture &expected, const ReceivedPicture &picture) {
        EXPECT_EQ(expected.header.FourCC, NDIlib_FourCC_video_type_UYVY);
        EXPECT_EQ(picture.header.FourCC, NDIlib_FourCC_video_type_UYVY);
        EXPECT_TRUE(isOfFormat(picture, format)) << picture.header.xres << "x" << picture.header.yres;
        EXPECT_TRUE(picture.bytes == expected.bytes) << picture.header.timecode;
    });
    EXPECT_EQ(scene.graph().restarts(), 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, SendingConverted,
                         testing::Values(NDIlib_FourCC_video_type_BGRX, NDIlib_FourCC_video_type_RGBX),
                         [](const auto &kind) {
                             return std::string(kind.param == NDIlib_FourCC_video_type_BGRX ? "BGRX" : "RGBX");
                         });

struct PatternKind {
    const char *subtype;
    NDIlib_FourCC_video_type_e fourCC;
    NDIlib_recv_color_format_e colors;
};

class SendingPattern : public testing::TestWithParam<PatternKind>
{
};

TEST_P(SendingPattern, SendsThePictureExactly)
{
    const QString name = uniqueName(GetParam().subtype);
    const TestReceiver receiver(name, 20, GetParam().colors);
    PatternScene scene(name, QStringLiteral("subtype: \"%1\"").arg(GetParam().subtype));
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(waitUntil([&] { return receiver.pictureCount() >= Enough; }, Patience));
    const pattern::FrameRate rate{50, 1};
    for (const ReceivedPicture &picture : receiver.pictures()) {
        ASSERT_EQ(picture.header.FourCC, GetParam().fourCC);
        ASSERT_EQ(picture.header.xres, 320);
        ASSERT_EQ(picture.header.yres, 240);
        const auto code = exactPattern(picture, rate);
        ASSERT_TRUE(code);
        EXPECT_EQ(picture.header.timecode,
                  rate.frameStart(static_cast<std::int64_t>(code->frame), pattern::HnsPerSecond));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SendingPattern,
    testing::Values(PatternKind{"UYVY", NDIlib_FourCC_video_type_UYVY, NDIlib_recv_color_format_UYVY_BGRA},
                    PatternKind{"ARGB32", NDIlib_FourCC_video_type_BGRA, NDIlib_recv_color_format_UYVY_BGRA},
                    PatternKind{"RGB32", NDIlib_FourCC_video_type_BGRX, NDIlib_recv_color_format_BGRX_BGRA}),
    [](const auto &kind) { return kind.param.subtype; });

} // namespace
