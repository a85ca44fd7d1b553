#include "ndi/local/FrameShape.h"

#include <cstring>

namespace localndi
{
namespace
{

constexpr int maximumSide = 32768; // pixels
constexpr int maximumChannels = 256;

bool isFormat(std::int32_t format)
{
    return format >= NDIlib_frame_format_type_interleaved && format <= NDIlib_frame_format_type_field_1;
}

bool isField(const NDIlib_video_frame_v2_t &frame)
{
    return frame.frame_format_type == NDIlib_frame_format_type_field_0 ||
           frame.frame_format_type == NDIlib_frame_format_type_field_1;
}

std::optional<VideoShape> checkedVideo(std::int32_t fourCC, int width, int height, std::int32_t format)
{
    const auto *layout = findPixelLayout(fourCC);
    if (layout == nullptr || !isFormat(format))
        return std::nullopt;
    const bool isFieldPair = format == NDIlib_frame_format_type_interleaved;
    if (isFieldPair)
        height -= height % 2;
    if (width < 1 || width > maximumSide || height < 1 || height > maximumSide)
        return std::nullopt;
    VideoShape shape{layout, width, height, isFieldPair, layout->packedStride(width)};
    if (shape.packedSize() > maximumFrameBytes)
        return std::nullopt;
    return shape;
}

std::optional<AudioShape> checkedAudio(int sampleRate, int channels, int samples)
{
    if (sampleRate < 1 || channels < 1 || channels > maximumChannels || samples < 1)
        return std::nullopt;
    AudioShape shape{channels, samples, 0};
    shape.stride = shape.channelBytes();
    if (shape.packedSize() > maximumFrameBytes)
        return std::nullopt;
    return shape;
}

// Of a text that may lack its terminating zero.
std::size_t sizeWithin(const char *text, std::size_t limit)
{
    const void *end = std::memchr(text, 0, limit);
    return end != nullptr ? static_cast<std::size_t>(static_cast<const char *>(end) - text) : limit;
}

bool fitsItsSlot(const SlotPlace &place, std::int64_t size)
{
    return place.dataSize == static_cast<std::uint64_t>(size) && place.metadataSize <= maximumMetadata;
}

} // namespace

std::int64_t VideoShape::packedSize() const
{
    return isFieldPair ? 2 * layout->packedSize(width, height / 2) : layout->packedSize(width, height);
}

std::optional<VideoShape> shapeOf(const NDIlib_video_frame_v2_t &frame)
{
    auto shape = checkedVideo(frame.FourCC, frame.xres, frame.yres, frame.frame_format_type);
    if (!shape || frame.p_data == nullptr)
        return std::nullopt;
    if (frame.line_stride_in_bytes != 0) // 0: packed
        shape->stride = frame.line_stride_in_bytes;
    if (shape->stride < shape->layout->packedStride(shape->width))
        return std::nullopt;
    return shape;
}

std::optional<VideoShape> shapeOf(const VideoAnnouncement &announcement)
{
    const auto shape = checkedVideo(announcement.fourCC, announcement.width, announcement.height, announcement.format);
    if (!shape || shape->height != announcement.height || announcement.place.kind != SlotKind::Video ||
        !fitsItsSlot(announcement.place, shape->packedSize()))
        return std::nullopt;
    return shape;
}

std::optional<AudioShape> shapeOf(const NDIlib_audio_frame_v2_t &frame)
{
    auto shape = checkedAudio(frame.sample_rate, frame.no_channels, frame.no_samples);
    if (!shape || frame.p_data == nullptr)
        return std::nullopt;
    if (frame.no_channels > 1 && frame.channel_stride_in_bytes < shape->channelBytes())
        return std::nullopt;
    shape->stride = frame.channel_stride_in_bytes;
    return shape;
}

std::optional<AudioShape> shapeOf(const AudioAnnouncement &announcement)
{
    const auto shape = checkedAudio(announcement.sampleRate, announcement.channels, announcement.samples);
    if (!shape || announcement.place.kind != SlotKind::Audio || !fitsItsSlot(announcement.place, shape->packedSize()))
        return std::nullopt;
    return shape;
}

std::int64_t picturesPerUnits(const NDIlib_video_frame_v2_t &frame)
{
    return std::int64_t{frame.frame_rate_N} * (isField(frame) ? 2 : 1);
}

float aspectOf(const NDIlib_video_frame_v2_t &frame)
{
    if (frame.picture_aspect_ratio != 0.0F)
        return frame.picture_aspect_ratio;
    const float lines = static_cast<float>(frame.yres) * (isField(frame) ? 2.0F : 1.0F);
    return static_cast<float>(frame.xres) / lines;
}

std::string_view attachedText(const char *text)
{
    if (text == nullptr)
        return {};
    const auto size = sizeWithin(text, maximumMetadata);
    return {text, size < maximumMetadata ? size : 0};
}

std::string_view textOf(const NDIlib_metadata_frame_t &frame)
{
    if (frame.length < 0)
        return {};
    if (frame.length == 0)
        return attachedText(frame.p_data);
    if (frame.p_data == nullptr)
        return {};
    const auto size = sizeWithin(frame.p_data, static_cast<std::size_t>(frame.length));
    return {frame.p_data, size < maximumMetadata ? size : 0};
}

} // namespace localndi
