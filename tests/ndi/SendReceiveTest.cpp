#include "tests/ndi/RuntimeFixture.h"

#include <algorithm>
#include <cstring>

using namespace ndi_test;

TEST(SendReceive, VideoArrivesUnchangedWithItsDescription)
{
    const Pair pair;
    auto picture = uyvyPicture(640, 360);
    picture.frame.frame_rate_N = 60000;
    picture.frame.frame_rate_D = 1001;
    picture.frame.picture_aspect_ratio = 2.35F;
    picture.frame.timecode = 123456789;
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_EQ(video->xres, 640);
    EXPECT_EQ(video->yres, 360);
    EXPECT_EQ(video->FourCC, NDIlib_FourCC_video_type_UYVY);
    EXPECT_EQ(video->frame_rate_N, 60000);
    EXPECT_EQ(video->frame_rate_D, 1001);
    EXPECT_EQ(video->picture_aspect_ratio, 2.35F);
    EXPECT_EQ(video->frame_format_type, NDIlib_frame_format_type_progressive);
    EXPECT_EQ(video->timecode, 123456789);
    EXPECT_EQ(video->line_stride_in_bytes, 1280);
    EXPECT_EQ(video->p_metadata, nullptr);
    EXPECT_EQ(std::memcmp(video->p_data, picture.bytes.data(), picture.bytes.size()), 0);
}

TEST(SendReceive, VideoArrivesPackedWhenTheSendersLinesAreNot)
{
    const Pair pair;
    auto picture = uyvyPicture(64, 36, 200);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    ASSERT_EQ(video->line_stride_in_bytes, 128);
    for (int line = 0; line < 36; ++line)
        EXPECT_EQ(std::memcmp(video->p_data + line * 128, picture.bytes.data() + line * 200, 128), 0) << line;
}

TEST(SendReceive, AspectRatioIsThatOfThePixelsWhenTheSenderNamesNone)
{
    const Pair pair;
    auto picture = uyvyPicture(720, 576);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_FLOAT_EQ(video->picture_aspect_ratio, 720.0F / 576.0F);
}

TEST(SendReceive, AnAsynchronousFrameArrivesAndIsNotHeld)
{
    const Pair pair;
    auto picture = uyvyPicture();
    const auto expected = picture.bytes;
    NDIlib_send_send_video_async_v2(pair.sender.get(), &picture.frame);
    NDIlib_send_send_video_async_v2(pair.sender.get(), nullptr);
    std::fill(picture.bytes.begin(), picture.bytes.end(), std::uint8_t{0});
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_EQ(std::memcmp(video->p_data, expected.data(), expected.size()), 0);
}

TEST(SendReceive, TimestampIsTheTimeOfTheSend)
{
    const Pair pair;
    const auto now = [] {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
                   .count() /
               100;
    };
    auto picture = uyvyPicture();
    const auto before = now();
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const auto after = now();
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_GE(video->timestamp, before);
    EXPECT_LE(video->timestamp, after);
}

TEST(SendReceive, AudioArrivesPackedWithItsDescription)
{
    const Pair pair;
    Sound sound(3, 1602, 1700);
    sound.frame.sample_rate = 44100;
    sound.frame.timecode = 77;
    sound.frame.p_metadata = "<audio/>";
    NDIlib_send_send_audio_v2(pair.sender.get(), &sound.frame);
    const Audio audio(pair.receiver);
    ASSERT_TRUE(audio);
    EXPECT_EQ(audio->sample_rate, 44100);
    EXPECT_EQ(audio->no_channels, 3);
    EXPECT_EQ(audio->no_samples, 1602);
    EXPECT_EQ(audio->timecode, 77);
    EXPECT_STREQ(audio->p_metadata, "<audio/>");
    ASSERT_EQ(audio->channel_stride_in_bytes, 1602 * 4);
    for (int channel = 0; channel < 3; ++channel)
        EXPECT_EQ(std::memcmp(audio->p_data + channel * 1602, sound.values.data() + channel * 1700, 1602 * 4), 0);
}

TEST(SendReceive, KindsThatAreNotAskedForStayQueued)
{
    const Pair pair;
    auto picture = uyvyPicture();
    Sound sound(2, 160);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    NDIlib_send_send_audio_v2(pair.sender.get(), &sound.frame);
    EXPECT_TRUE(Audio(pair.receiver));
    EXPECT_TRUE(Video(pair.receiver));
}

TEST(SendReceive, CaptureComesBackWithNothingAfterItsTimeout)
{
    const Pair pair;
    NDIlib_video_frame_v2_t video;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(NDIlib_recv_capture_v2(pair.receiver.get(), &video, nullptr, nullptr, 50), NDIlib_frame_type_none);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
}

TEST(SendReceive, HeldFramesKeepTheirPixelsWhileMoreArrive)
{
    const Pair pair;
    auto picture = uyvyPicture();
    std::vector<std::unique_ptr<Video>> held;
    for (int i = 0; i < 6; ++i) {
        std::fill(picture.bytes.begin(), picture.bytes.end(), static_cast<std::uint8_t>(i));
        NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
        held.push_back(std::make_unique<Video>(pair.receiver));
        ASSERT_TRUE(*held.back());
    }
    for (int i = 0; i < 6; ++i) {
        const auto &video = *held[static_cast<std::size_t>(i)];
        EXPECT_EQ(video->p_data[0], i);
        EXPECT_EQ(video->p_data[64 * 2 * 36 - 1], i);
    }
}

TEST(SendReceive, WhatOneReceiverDrawsIntoAFrameNobodyElseSees)
{
    const Pair pair;
    const auto other = makeReceiver(pair.source);
    ASSERT_TRUE(waitUntil([&] { return NDIlib_send_get_no_connections(pair.sender.get(), 0) == 2; }));
    auto picture = uyvyPicture();
    for (int round = 0; round < 10; ++round) {
        NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
        const Video mine(pair.receiver);
        ASSERT_TRUE(mine);
        EXPECT_EQ(std::memcmp(mine->p_data, picture.bytes.data(), picture.bytes.size()), 0) << round;
        std::memset(mine->p_data, 0, picture.bytes.size());
        const Video theirs(other);
        ASSERT_TRUE(theirs);
        EXPECT_EQ(std::memcmp(theirs->p_data, picture.bytes.data(), picture.bytes.size()), 0) << round;
    }
}

TEST(SendReceive, FramesOfChangingSizeArrive)
{
    const Pair pair;
    for (const int width : {64, 1920, 128, 3840, 2}) {
        auto picture = uyvyPicture(width, 32);
        NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
        const Video video(pair.receiver);
        ASSERT_TRUE(video);
        ASSERT_EQ(video->xres, width);
        EXPECT_EQ(std::memcmp(video->p_data, picture.bytes.data(), picture.bytes.size()), 0) << width;
    }
}

TEST(SendReceive, BandwidthForAudioBringsAudioAndMetadataOnly)
{
    const Pair pair(NDIlib_recv_color_format_fastest, true, NDIlib_recv_bandwidth_audio_only);
    auto picture = uyvyPicture();
    Sound sound(2, 160);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    NDIlib_send_send_audio_v2(pair.sender.get(), &sound.frame);
    sendMetadata(pair.sender, "<m/>");
    EXPECT_TRUE(captureMetadata(pair.receiver));
    EXPECT_TRUE(Audio(pair.receiver));
    EXPECT_FALSE(Video(pair.receiver, 0));
}

TEST(SendReceive, BandwidthForMetadataBringsMetadataOnly)
{
    const Pair pair(NDIlib_recv_color_format_fastest, true, NDIlib_recv_bandwidth_metadata_only);
    auto picture = uyvyPicture();
    Sound sound(2, 160);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    NDIlib_send_send_audio_v2(pair.sender.get(), &sound.frame);
    sendMetadata(pair.sender, "<m/>");
    EXPECT_TRUE(captureMetadata(pair.receiver));
    EXPECT_FALSE(Audio(pair.receiver, 0));
    EXPECT_FALSE(Video(pair.receiver, 0));
}

TEST(SendReceive, ALastFrameArrivesThoughItsSenderIsDestroyedAtOnce)
{
    Pair pair;
    auto picture = uyvyPicture();
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    pair.sender.reset(); // waits for the receiver
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_EQ(std::memcmp(video->p_data, picture.bytes.data(), picture.bytes.size()), 0);
}

TEST(SendReceive, AVanishedSenderMeansNoFramesAndNoConnection)
{
    Pair pair;
    ASSERT_TRUE(waitUntil([&] { return NDIlib_recv_get_no_connections(pair.receiver.get()) == 1; }));
    pair.sender.reset();
    ASSERT_TRUE(waitUntil([&] { return NDIlib_recv_get_no_connections(pair.receiver.get()) == 0; }));
    NDIlib_video_frame_v2_t video;
    NDIlib_audio_frame_v2_t audio;
    NDIlib_metadata_frame_t metadata;
    EXPECT_EQ(NDIlib_recv_capture_v2(pair.receiver.get(), &video, &audio, &metadata, 0), NDIlib_frame_type_none);
}

TEST(SendReceive, AReceiverNeedsOnlyTheNameOrTheAddress)
{
    const auto name = uniqueName();
    const auto sender = makeSender(name);
    const auto source = findSource(name);
    const auto byName = makeReceiver({source.name, ""});
    const auto byAddress = makeReceiver({"", source.address});
    EXPECT_TRUE(waitUntil([&] { return NDIlib_send_get_no_connections(sender.get(), 0) == 2; }));
}

TEST(SendReceive, AReceiverOfNothingStaysUnconnected)
{
    const auto name = uniqueName();
    const auto sender = makeSender(name);
    const auto receiver = makeReceiver({});
    EXPECT_EQ(NDIlib_send_get_no_connections(sender.get(), moment), 0);
    EXPECT_EQ(NDIlib_recv_get_no_connections(receiver.get()), 0);
}

TEST(SendReceive, ConnectionCountFallsWhenAReceiverGoes)
{
    Pair pair;
    pair.receiver.reset();
    EXPECT_TRUE(waitUntil([&] { return NDIlib_send_get_no_connections(pair.sender.get(), 0) == 0; }));
}
