#include "format/AudioFormat.h"

namespace
{

struct MaskRow {
    int channels;
    UINT32 mask;
};
constexpr MaskRow channelMasks[] = {
    {1, 0x4},   // front centre
    {2, 0x3},   // front left, front right
    {3, 0x7},   // front left, front right, front centre
    {4, 0x33},  // front left, front right, back left, back right
    {5, 0x607}, // front left, front right, front centre, side left, side right
    {6, 0x707}, // front left, front right, front centre, back centre, side left, side right
};
constexpr UINT32 allSpeakers = 0x80000000;

} // namespace

void copyAudioFormat(AudioFormat &destination, const NDIlib_audio_frame_v2_t &source)
{
    destination.sample_rate = source.sample_rate;
    destination.no_channels = source.no_channels;
}

bool isSameAudioFormat(const AudioFormat &format, const NDIlib_audio_frame_v2_t &frame)
{
    return format.no_channels == frame.no_channels && format.sample_rate == frame.sample_rate;
}

UINT32 channelMaskForChannels(int channels)
{
    for (const MaskRow &row : channelMasks)
        if (row.channels == channels)
            return row.mask;
    return allSpeakers;
}
