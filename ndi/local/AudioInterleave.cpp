#include "ndi/include/Processing.NDI.Interface.h"

#include <cstddef>
#include <type_traits>

namespace
{

// Channel `channel` of planar audio. The stride may be anything the caller chose, 0 included.
template <typename Sample, typename Frame>
Sample *channelOf(const Frame &planar, int channel)
{
    using Byte = std::conditional_t<std::is_const_v<Sample>, const unsigned char, unsigned char>;
    auto *bytes = reinterpret_cast<Byte *>(planar.p_data);
    return reinterpret_cast<Sample *>(bytes + std::ptrdiff_t{channel} * planar.channel_stride_in_bytes);
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
    for (int channel = 0; channel < channels; ++channel) {
        const auto *from = channelOf<const float>(*source, channel);
        float *to = destination->p_data + channel;
        for (int i = 0; i < source->no_samples; ++i, to += channels)
            *to = from[i];
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
    for (int channel = 0; channel < channels; ++channel) {
        const float *from = source->p_data + channel;
        auto *to = channelOf<float>(*destination, channel);
        for (int i = 0; i < source->no_samples; ++i, from += channels)
            to[i] = *from;
    }
}
