#include "tests/ndi/RuntimeFixture.h"

#include <functional>

using namespace ndi_test;

namespace
{

// Sends what must be ignored, then a good frame, which has to be the first to arrive.
void expectIgnored(const Pair &pair, const NDIlib_video_frame_v2_t &bad)
{
    NDIlib_send_send_video_v2(pair.sender.get(), &bad);
    auto good = uyvyPicture();
    good.frame.timecode = 99;
    NDIlib_send_send_video_v2(pair.sender.get(), &good.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_EQ(video->timecode, 99);
}

void expectIgnored(const Pair &pair, const NDIlib_audio_frame_v2_t &bad)
{
    NDIlib_send_send_audio_v2(pair.sender.get(), &bad);
    Sound good(2, 160);
    good.frame.timecode = 99;
    NDIlib_send_send_audio_v2(pair.sender.get(), &good.frame);
    const Audio audio(pair.receiver);
    ASSERT_TRUE(audio);
    EXPECT_EQ(audio->timecode, 99);
}

} // namespace

TEST(HostileCalls, VideoThatCannotBeRightIsIgnored)
{
    const Pair pair;
    const auto picture = uyvyPicture();
    using Frame = NDIlib_video_frame_v2_t;
    const std::function<void(Frame &)> spoilers[] = {
        [](Frame &f) { f.xres = 0; },
        [](Frame &f) { f.xres = -64; },
        [](Frame &f) { f.xres = INT32_MAX; },
        [](Frame &f) { f.yres = 0; },
        [](Frame &f) { f.yres = INT32_MIN; },
        [](Frame &f) { f.yres = INT32_MAX; },
        [](Frame &f) { f.xres = f.yres = 32768; },
        [](Frame &f) { f.line_stride_in_bytes = 127; },
        [](Frame &f) { f.line_stride_in_bytes = -128; },
        [](Frame &f) { f.p_data = nullptr; },
        [](Frame &f) { f.FourCC = static_cast<NDIlib_FourCC_video_type_e>(0x31323334); },
        [](Frame &f) { f.frame_format_type = static_cast<NDIlib_frame_format_type_e>(4); },
        [](Frame &f) { f.frame_format_type = static_cast<NDIlib_frame_format_type_e>(-1); },
        [](Frame &f) {
            f.frame_format_type = NDIlib_frame_format_type_interleaved;
            f.yres = 1;
        },
    };
    for (const auto &spoil : spoilers) {
        auto bad = picture.frame;
        spoil(bad);
        expectIgnored(pair, bad);
    }
}

TEST(HostileCalls, AudioThatCannotBeRightIsIgnored)
{
    const Pair pair;
    Sound sound(2, 160);
    using Frame = NDIlib_audio_frame_v2_t;
    const std::function<void(Frame &)> spoilers[] = {
        [](Frame &f) { f.no_samples = 0; },
        [](Frame &f) { f.no_samples = -1; },
        [](Frame &f) { f.no_samples = INT32_MAX; },
        [](Frame &f) { f.no_channels = 0; },
        [](Frame &f) { f.no_channels = -2; },
        [](Frame &f) { f.no_channels = INT32_MAX; },
        [](Frame &f) { f.sample_rate = 0; },
        [](Frame &f) { f.channel_stride_in_bytes = 639; },
        [](Frame &f) { f.channel_stride_in_bytes = -640; },
        [](Frame &f) { f.p_data = nullptr; },
    };
    for (const auto &spoil : spoilers) {
        auto bad = sound.frame;
        spoil(bad);
        expectIgnored(pair, bad);
    }
}

TEST(HostileCalls, FrameRatesThatMakeNoSenseArriveWithoutHarm)
{
    const auto name = uniqueName();
    const auto sender = makeSender(name, true, true);
    const auto receiver = makeReceiver(findSource(name));
    ASSERT_EQ(NDIlib_send_get_no_connections(sender.get(), patienceMs), 1);
    auto picture = uyvyPicture();
    const std::pair<int, int> rates[] = {{0, 0}, {0, 1}, {1, 0}, {-30, 1}, {30, -1}, {INT32_MAX, 1}, {1, INT32_MAX}};
    for (const auto &[numerator, denominator] : rates) {
        picture.frame.frame_rate_N = numerator;
        picture.frame.frame_rate_D = denominator;
        picture.frame.frame_format_type = NDIlib_frame_format_type_interleaved;
        picture.frame.timecode = INT64_MAX - 1;
        NDIlib_send_send_video_v2(sender.get(), &picture.frame);
        EXPECT_TRUE(Video(receiver));
        EXPECT_TRUE(Video(receiver));
    }
}

TEST(HostileCalls, AVideoFrameOfOnePixelArrives)
{
    const Pair pair(NDIlib_recv_color_format_BGRX_BGRA);
    auto picture = uyvyPicture(1, 1, 4);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    EXPECT_TRUE(Video(pair.receiver));
}

TEST(HostileCalls, MetadataThatCannotBeRightIsIgnored)
{
    const Pair pair;
    char text[] = "x";
    NDIlib_metadata_frame_t frame;
    NDIlib_send_send_metadata(pair.sender.get(), &frame);
    frame.p_data = text;
    frame.length = -1;
    NDIlib_send_send_metadata(pair.sender.get(), &frame);
    sendMetadata(pair.sender, std::string(5 << 20, 'z'));
    sendMetadata(pair.sender, "good");
    const auto metadata = captureMetadata(pair.receiver);
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->text, "good");
}

TEST(HostileCalls, TextTooLongForItsFrameIsLeftOff)
{
    const Pair pair;
    const std::string text(5 << 20, 'z');
    auto picture = uyvyPicture();
    picture.frame.p_metadata = text.c_str();
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_EQ(video->p_metadata, nullptr);
}

TEST(HostileCalls, NullHandlesAndPointersAreHarmless)
{
    const Pair pair;
    NDIlib_tally_t tally;
    NDIlib_video_frame_v2_t video;
    NDIlib_source_t *const none = nullptr;
    EXPECT_EQ(NDIlib_find_get_current_sources(nullptr, nullptr), none);
    EXPECT_FALSE(NDIlib_find_wait_for_sources(nullptr, 0));
    EXPECT_EQ(NDIlib_recv_capture_v2(nullptr, &video, nullptr, nullptr, 0), NDIlib_frame_type_none);
    EXPECT_EQ(NDIlib_recv_capture_v2(pair.receiver.get(), nullptr, nullptr, nullptr, 0), NDIlib_frame_type_none);
    EXPECT_EQ(NDIlib_recv_get_no_connections(nullptr), 0);
    EXPECT_FALSE(NDIlib_recv_set_tally(pair.receiver.get(), nullptr));
    EXPECT_FALSE(NDIlib_recv_set_tally(nullptr, &tally));
    EXPECT_FALSE(NDIlib_send_get_tally(nullptr, &tally, 0));
    EXPECT_FALSE(NDIlib_send_get_tally(pair.sender.get(), nullptr, 0));
    EXPECT_EQ(NDIlib_send_get_no_connections(nullptr, 0), 0);
    NDIlib_send_send_video_v2(pair.sender.get(), nullptr);
    NDIlib_send_send_audio_v2(pair.sender.get(), nullptr);
    NDIlib_send_send_metadata(pair.sender.get(), nullptr);
    NDIlib_send_send_video_v2(nullptr, &video);
    NDIlib_recv_free_video_v2(pair.receiver.get(), nullptr);
    NDIlib_recv_free_video_v2(nullptr, &video);
    NDIlib_send_destroy(nullptr);
    NDIlib_recv_destroy(nullptr);
    NDIlib_find_destroy(nullptr);
}

TEST(HostileCalls, FreeingWhatIsNotHeldIsHarmless)
{
    const Pair pair;
    auto picture = uyvyPicture();
    NDIlib_recv_free_video_v2(pair.receiver.get(), &picture.frame);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    NDIlib_video_frame_v2_t video;
    ASSERT_EQ(NDIlib_recv_capture_v2(pair.receiver.get(), &video, nullptr, nullptr, patienceMs),
              NDIlib_frame_type_video);
    NDIlib_recv_free_video_v2(pair.receiver.get(), &video);
    NDIlib_recv_free_video_v2(pair.receiver.get(), &video);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    EXPECT_TRUE(Video(pair.receiver));
}

TEST(HostileCalls, DefaultsStandInForMissingSettings)
{
    EXPECT_TRUE(Finder(NDIlib_find_create_v2(nullptr)));
    EXPECT_TRUE(Receiver(NDIlib_recv_create_v2(nullptr)));
    EXPECT_TRUE(Sender(NDIlib_send_create(nullptr)));
}

TEST(HostileCalls, ANameTooLongForTheRegistryMakesNoSender)
{
    EXPECT_FALSE(makeSender(std::string(100000, 'n')));
}
