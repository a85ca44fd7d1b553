#include "ndi/include/Processing.NDI.Interface.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

TEST(AudioInterleave, ToInterleavedHonoursTheStrideAndDescribesTheResult)
{
    float planar[] = {1, 2, 3, -1, 11, 12, 13, -1};
    std::vector<float> interleaved(6);
    NDIlib_audio_frame_v2_t source;
    source.sample_rate = 44100;
    source.no_channels = 2;
    source.no_samples = 3;
    source.timecode = 5;
    source.p_data = planar;
    source.channel_stride_in_bytes = 16;
    NDIlib_audio_frame_interleaved_32f_t destination;
    destination.p_data = interleaved.data();
    NDIlib_util_audio_to_interleaved_32f_v2(&source, &destination);
    EXPECT_EQ(interleaved, (std::vector<float>{1, 11, 2, 12, 3, 13}));
    EXPECT_EQ(destination.sample_rate, 44100);
    EXPECT_EQ(destination.no_channels, 2);
    EXPECT_EQ(destination.no_samples, 3);
    EXPECT_EQ(destination.timecode, 5);
}

TEST(AudioInterleave, FromInterleavedUsesTheDestinationsStride)
{
    float interleaved[] = {1, 11, 2, 12, 3, 13};
    std::vector<float> planar(8, -1.0F);
    NDIlib_audio_frame_interleaved_32f_t source;
    source.sample_rate = 32000;
    source.no_channels = 2;
    source.no_samples = 3;
    source.timecode = 6;
    source.p_data = interleaved;
    NDIlib_audio_frame_v2_t destination;
    destination.p_data = planar.data();
    destination.channel_stride_in_bytes = 16;
    NDIlib_util_audio_from_interleaved_32f_v2(&source, &destination);
    EXPECT_EQ(planar, (std::vector<float>{1, 2, 3, -1, 11, 12, 13, -1}));
    EXPECT_EQ(destination.sample_rate, 32000);
    EXPECT_EQ(destination.no_channels, 2);
    EXPECT_EQ(destination.no_samples, 3);
    EXPECT_EQ(destination.timecode, 6);
    EXPECT_EQ(destination.channel_stride_in_bytes, 16);
}

TEST(AudioInterleave, FromInterleavedWithoutAStridePutsEveryChannelOnTheSamePlace)
{
    float interleaved[] = {1, 11, 2, 12};
    std::vector<float> planar(2);
    NDIlib_audio_frame_interleaved_32f_t source;
    source.no_samples = 2;
    source.p_data = interleaved;
    NDIlib_audio_frame_v2_t destination;
    destination.p_data = planar.data();
    NDIlib_util_audio_from_interleaved_32f_v2(&source, &destination);
    EXPECT_EQ(planar, (std::vector<float>{11, 12}));
}

TEST(AudioInterleave, AStrideMayLeaveSamplesWhereNoFloatMayLie)
{
    constexpr int stride = 9; // bytes, for two samples
    const float second[] = {11, 12};
    float planar[5] = {1, 2};
    std::memcpy(reinterpret_cast<char *>(planar) + stride, second, sizeof(second));
    std::vector<float> interleaved(4);
    NDIlib_audio_frame_v2_t source;
    source.no_channels = 2;
    source.no_samples = 2;
    source.p_data = planar;
    source.channel_stride_in_bytes = stride;
    NDIlib_audio_frame_interleaved_32f_t between;
    between.p_data = interleaved.data();
    NDIlib_util_audio_to_interleaved_32f_v2(&source, &between);
    EXPECT_EQ(interleaved, (std::vector<float>{1, 11, 2, 12}));

    float back[5] = {};
    NDIlib_audio_frame_v2_t destination;
    destination.p_data = back;
    destination.channel_stride_in_bytes = stride;
    NDIlib_util_audio_from_interleaved_32f_v2(&between, &destination);
    EXPECT_EQ(std::memcmp(planar, back, stride + sizeof(second)), 0);
}

TEST(AudioInterleave, NullPointersAndNegativeCountsAreHarmless)
{
    NDIlib_audio_frame_v2_t planar;
    NDIlib_audio_frame_interleaved_32f_t interleaved;
    NDIlib_util_audio_to_interleaved_32f_v2(nullptr, &interleaved);
    NDIlib_util_audio_from_interleaved_32f_v2(nullptr, &planar);
    planar.no_samples = 100;
    NDIlib_util_audio_to_interleaved_32f_v2(&planar, &interleaved);
    float value = 1;
    planar.p_data = interleaved.p_data = &value;
    planar.no_samples = -100;
    NDIlib_util_audio_to_interleaved_32f_v2(&planar, &interleaved);
    EXPECT_EQ(value, 1);
}
