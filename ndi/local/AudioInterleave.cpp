#include "ndi/include/Processing.NDI.Interface.h"

#include <cstddef>
#include <cstring>

namespace
{

// The bytes of channel `channel` of planar audio. The stride may be anything the caller chose: 0, or what leaves
// samples where no float may lie.
unsigned char *channelOf(const NDIlib_audio_frame_v2_t &planar, int channel)
{
    return reinterpret_cast<unsigned char *>(planar.p_data) + std::ptrdiff_t{channel} * planar.channel_stride_in_bytes;
}

unsigned char *sampleOf(unsigned char *channel, int index)
{
    return channel + std::ptrdiff_t{index} * static_cast<std::ptrdiff_t>(sizeof(float));
}

template <typename From, typename To>
void describe(const From &from, To &to)
{
    to.sample_rate = from.sample_rate;
    to.no_channels = from.no_channels;
    to.no_samples = from.no_samples;
    to.timecode = from.timecode;
}

} // namespace

void NDIlib_util_audio_to_interleaved_32f_v2(const NDIlib_audio_frame_v2_t *source,
                                             NDIlib_audio_frame_interleaved_32f_t *destination)
{
    if (source == nullptr || destination == nullptr)
        return;
    describe(*source, *destination);
    if (source->p_data == nullptr || destination->p_data == nullptr)
        return;
    const int channels = source->no_channels;
    const int samples = source->no_samples;
    for (int channel = 0; channel < channels; ++channel) {
        unsigned char *const from = channelOf(*source, channel);
        float *to = destination->p_data + channel;
        for (int i = 0; i < samples; ++i, to += channels)
            std::memcpy(to, sampleOf(from, i), sizeof(float));
    }
}

void NDIlib_util_audio_from_interleaved_32f_v2(const NDIlib_audio_frame_interleaved_32f_t *source,
                                               NDIlib_audio_frame_v2_t *destination)
{
    if (source == nullptr || destination == nullptr)
        return;
    describe(*source, *destination);
    if (source->p_data == nullptr || destination->p_data == nullptr)
        return;
    const int channels = source->no_channels;
    const int samples = source->no_samples;
    for (int channel = 0; channel < channels; ++channel) {
        const float *from = source->p_data + channel;
        unsigned char *const to = channelOf(*destination, channel);
        for (int i = 0; i < samples; ++i, from += channels)
            std::memcpy(sampleOf(to, i), from, sizeof(float));
    }
}
