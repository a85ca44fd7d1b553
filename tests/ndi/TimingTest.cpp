#include "tests/ndi/RuntimeFixture.h"

using namespace ndi_test;

namespace
{

constexpr std::int64_t synthesize = NDIlib_send_timecode_synthesize;
using Milliseconds = std::chrono::duration<double, std::milli>;

std::int64_t wallClockHns()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
               .count() /
           100;
}

std::int64_t videoTimecode(const Pair &pair, Picture &picture, std::int64_t timecode)
{
    picture.frame.timecode = timecode;
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    EXPECT_TRUE(video);
    return video ? video->timecode : -1;
}

std::int64_t audioTimecode(const Pair &pair, Sound &sound, std::int64_t timecode)
{
    sound.frame.timecode = timecode;
    NDIlib_send_send_audio_v2(pair.sender.get(), &sound.frame);
    const Audio audio(pair.receiver);
    EXPECT_TRUE(audio);
    return audio ? audio->timecode : -1;
}

} // namespace

TEST(Timecode, ArrivesAsSent)
{
    const Pair pair;
    auto picture = uyvyPicture();
    for (const std::int64_t timecode : {std::int64_t{0}, std::int64_t{-5}, INT64_MAX - 1, INT64_MIN})
        EXPECT_EQ(videoTimecode(pair, picture, timecode), timecode);
}

TEST(Timecode, SynthesizedContinuesEvenlyFromTheLastExplicitOne)
{
    const Pair pair;
    auto picture = uyvyPicture();
    picture.frame.frame_rate_N = 30000;
    picture.frame.frame_rate_D = 1001;
    EXPECT_EQ(videoTimecode(pair, picture, 1000), 1000);
    for (int i = 1; i <= 30; ++i)
        EXPECT_EQ(videoTimecode(pair, picture, synthesize), 1000 + i * 10010000LL / 30);
    EXPECT_EQ(videoTimecode(pair, picture, 5), 5);
    EXPECT_EQ(videoTimecode(pair, picture, synthesize), 5 + 333666);
}

TEST(Timecode, SynthesizedContinuesByHalfAFrameFromFieldToField)
{
    const Pair pair;
    auto picture = uyvyPicture(64, 18);
    picture.frame.frame_rate_N = 30000;
    picture.frame.frame_rate_D = 1001;
    picture.frame.frame_format_type = NDIlib_frame_format_type_field_0;
    EXPECT_EQ(videoTimecode(pair, picture, 1000), 1000);
    for (int i = 1; i <= 60; ++i) {
        picture.frame.frame_format_type =
            i % 2 != 0 ? NDIlib_frame_format_type_field_1 : NDIlib_frame_format_type_field_0;
        EXPECT_EQ(videoTimecode(pair, picture, synthesize), 1000 + i * 10010000LL / 60);
    }
}

TEST(Timecode, SynthesizedIsTheWallClockBeforeThereIsAnExplicitOne)
{
    const Pair pair;
    auto picture = uyvyPicture();
    const auto before = wallClockHns();
    const auto timecode = videoTimecode(pair, picture, synthesize);
    EXPECT_GE(timecode, before);
    EXPECT_LE(timecode, wallClockHns());
}

TEST(Timecode, SynthesizedAudioContinuesByItsSamples)
{
    const Pair pair;
    Sound sound(2, 1600);
    EXPECT_EQ(audioTimecode(pair, sound, 0), 0);
    EXPECT_EQ(audioTimecode(pair, sound, synthesize), 333333);
    EXPECT_EQ(audioTimecode(pair, sound, synthesize), 666666);
    EXPECT_EQ(audioTimecode(pair, sound, synthesize), 1000000);
}

TEST(Timecode, SynthesizedAudioFollowsTheVideoThatHasTimecodes)
{
    const Pair pair;
    auto picture = uyvyPicture();
    Sound sound(2, 1600);
    EXPECT_EQ(videoTimecode(pair, picture, 1000), 1000);
    const auto timecode = audioTimecode(pair, sound, synthesize);
    EXPECT_GE(timecode, 1000);
    EXPECT_LT(timecode, 1000 + 100'000'000); // far from the wall clock
}

TEST(Pacing, SendsOfVideoTakeTheirFramesTime)
{
    const auto sender = makeSender(uniqueName(), true, false);
    auto picture = uyvyPicture();
    picture.frame.frame_rate_N = 25;
    picture.frame.frame_rate_D = 1;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 26; ++i)
        NDIlib_send_send_video_v2(sender.get(), &picture.frame);
    const Milliseconds taken = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(taken.count(), 999.0);
    EXPECT_LT(taken.count(), 4000.0);
}

TEST(Pacing, SendsOfFieldsTakeHalfTheirFramesTime)
{
    const auto sender = makeSender(uniqueName(), true, false);
    auto picture = uyvyPicture();
    picture.frame.frame_rate_N = 10;
    picture.frame.frame_rate_D = 1;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 21; ++i) {
        picture.frame.frame_format_type =
            i % 2 != 0 ? NDIlib_frame_format_type_field_1 : NDIlib_frame_format_type_field_0;
        NDIlib_send_send_video_v2(sender.get(), &picture.frame);
    }
    const Milliseconds taken = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(taken.count(), 999.0);
    EXPECT_LT(taken.count(), 1900.0); // whole frames would take two seconds
}

TEST(Pacing, TheFirstSendOfAudioTakesNoTime)
{
    const auto sender = makeSender(uniqueName(), false, true);
    Sound second(2, 480000); // ten seconds
    const auto begin = std::chrono::steady_clock::now();
    NDIlib_send_send_audio_v2(sender.get(), &second.frame);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(Pacing, SendsOfAudioTakeTheirSamplesTime)
{
    const auto sender = makeSender(uniqueName(), false, true);
    Sound sound(2, 1600);
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 10; ++i)
        NDIlib_send_send_audio_v2(sender.get(), &sound.frame);
    const Milliseconds taken = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(taken.count(), 299.0);
    EXPECT_LT(taken.count(), 1200.0);
}

TEST(Pacing, AnUnclockedSenderDoesNotWait)
{
    const auto sender = makeSender(uniqueName(), false, false);
    auto picture = uyvyPicture();
    picture.frame.frame_rate_N = 1;
    picture.frame.frame_rate_D = 1;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 100; ++i)
        NDIlib_send_send_video_v2(sender.get(), &picture.frame);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20)); // paced: 99 s
}

TEST(Pacing, ClocksOfVideoAndAudioDoNotWaitForEachOther)
{
    const auto sender = makeSender(uniqueName(), true, true);
    auto picture = uyvyPicture();
    picture.frame.frame_rate_N = 1;
    picture.frame.frame_rate_D = 5;
    Sound sound(2, 160);
    NDIlib_send_send_video_v2(sender.get(), &picture.frame);
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 10; ++i)
        NDIlib_send_send_audio_v2(sender.get(), &sound.frame);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4)); // a frame of video: 5 s
}
