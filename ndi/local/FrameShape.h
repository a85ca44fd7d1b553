#pragma once

#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/PixelLayout.h"
#include "ndi/local/Protocol.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace localndi
{

constexpr std::int64_t maximumFrameBytes = 512 << 20;

// What a caller's or a peer's frame says about its own size, checked: nothing that passes can make a copy leave its
// bounds or a buffer grow past the limit.
struct VideoShape {
    const PixelLayout *layout;
    int width;
    int height;          // of both fields together
    bool isFieldPair;    // lies in its slot as two packed pictures of half the height
    std::int64_t stride; // in the caller's memory

    std::int64_t packedSize() const;
};

// Empty for a frame that cannot be sent.
std::optional<VideoShape> shapeOf(const NDIlib_video_frame_v2_t &frame);
// Empty for an announcement that does not fit its own slot.
std::optional<VideoShape> shapeOf(const VideoAnnouncement &announcement);

struct AudioShape {
    int channels;
    int samples;
    std::int64_t stride; // bytes between channels in the caller's memory

    std::int64_t channelBytes() const { return std::int64_t{samples} * std::int64_t{sizeof(float)}; }
    std::int64_t packedSize() const { return channelBytes() * channels; }
};

std::optional<AudioShape> shapeOf(const NDIlib_audio_frame_v2_t &frame);
std::optional<AudioShape> shapeOf(const AudioAnnouncement &announcement);

// How many pictures there are in so many seconds as the rate's denominator says. Each field of a frame has half its
// time.
std::int64_t picturesPerUnits(const NDIlib_video_frame_v2_t &frame);
// As the caller says it, else that of the full frame's pixels.
float aspectOf(const NDIlib_video_frame_v2_t &frame);

// The text a caller attached to a frame; empty for none and for one past the limit.
std::string_view attachedText(const char *text);
// The text of a metadata frame; empty for one that cannot be sent.
std::string_view textOf(const NDIlib_metadata_frame_t &frame);

} // namespace localndi
