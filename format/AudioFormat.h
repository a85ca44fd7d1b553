#pragma once

#include "Processing.NDI.Interface.h"

#include <windows.h>

// What of an audio frame has to stay the same for its stream to keep its media type.
struct AudioFormat {
    int sample_rate = 48000; // Hz
    int no_channels = 2;
};

void copyAudioFormat(AudioFormat &destination, const NDIlib_audio_frame_v2_t &source);
bool isSameAudioFormat(const AudioFormat &format, const NDIlib_audio_frame_v2_t &frame);

// The speakers that MF_MT_AUDIO_CHANNEL_MASK names for a channel count. Six channels have a back centre speaker and
// none for low frequencies; counts that are not listed get SPEAKER_ALL.
UINT32 channelMaskForChannels(int channels);
