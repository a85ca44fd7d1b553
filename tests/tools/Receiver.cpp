#include "tests/tools/Receiver.h"

#include <algorithm>
#include <cmath>

namespace
{

std::string textOf(const char *text)
{
    return text != nullptr ? text : "";
}

ReceivedVideo copyOf(const NDIlib_video_frame_v2_t &frame)
{
    const auto bytes = static_cast<std::size_t>(frame.line_stride_in_bytes) * static_cast<std::size_t>(frame.yres);
    return {frame, textOf(frame.p_metadata), {frame.p_data, frame.p_data + bytes}};
}

ReceivedAudio copyOf(const NDIlib_audio_frame_v2_t &frame)
{
    ReceivedAudio copy{frame, textOf(frame.p_metadata), {}};
    for (int channel = 0; channel < frame.no_channels; ++channel) {
        const float *first = frame.p_data + channel * (frame.channel_stride_in_bytes / 4);
        copy.samples.insert(copy.samples.end(), first, first + frame.no_samples);
    }
    return copy;
}

} // namespace

pattern::ConstPicture ReceivedVideo::picture() const
{
    const bool bgra = header.FourCC == NDIlib_FourCC_video_type_BGRA || header.FourCC == NDIlib_FourCC_video_type_BGRX;
    return {pixels.data(), header.line_stride_in_bytes, header.xres, header.yres,
            bgra ? pattern::PixelLayout::BGRA : pattern::PixelLayout::UYVY};
}

float ReceivedAudio::peak() const
{
    float peak = 0;
    for (const float sample : samples)
        peak = std::max(peak, std::abs(sample));
    return peak;
}

Receiver::Receiver(const std::string &name, NDIlib_recv_color_format_e colorFormat)
{
    const std::string wanted = "(" + name + ")";
    const auto deadline = std::chrono::steady_clock::now() + Patience;
    const NDIlib_find_create_t all;
    NDIlib_find_instance_t finder = NDIlib_find_create_v2(&all);
    while (finder != nullptr && !m_receiver && std::chrono::steady_clock::now() < deadline) {
        NDIlib_find_wait_for_sources(finder, 500);
        std::uint32_t count = 0;
        const NDIlib_source_t *sources = NDIlib_find_get_current_sources(finder, &count);
        const auto *source = std::find_if(sources, sources + count, [&](const NDIlib_source_t &listed) {
            return textOf(listed.p_ndi_name).find(wanted) != std::string::npos;
        });
        if (source == sources + count)
            continue;
        NDIlib_recv_create_t settings;
        settings.source_to_connect_to = *source;
        settings.color_format = colorFormat;
        m_receiver.reset(NDIlib_recv_create_v2(&settings));
    }
    if (finder != nullptr)
        NDIlib_find_destroy(finder);
}

bool Receiver::setTally(bool onProgram, bool onPreview)
{
    const NDIlib_tally_t tally{onProgram, onPreview};
    return NDIlib_recv_set_tally(m_receiver.get(), &tally);
}

std::optional<Received> Receiver::next()
{
    const auto deadline = std::chrono::steady_clock::now() + Patience;
    while (std::chrono::steady_clock::now() < deadline) {
        NDIlib_video_frame_v2_t video;
        NDIlib_audio_frame_v2_t audio;
        NDIlib_metadata_frame_t metadata;
        switch (NDIlib_recv_capture_v2(m_receiver.get(), &video, &audio, &metadata, 500)) {
        case NDIlib_frame_type_video: {
            ReceivedVideo copy = copyOf(video);
            NDIlib_recv_free_video_v2(m_receiver.get(), &video);
            return copy;
        }
        case NDIlib_frame_type_audio: {
            ReceivedAudio copy = copyOf(audio);
            NDIlib_recv_free_audio_v2(m_receiver.get(), &audio);
            return copy;
        }
        case NDIlib_frame_type_metadata: {
            ReceivedMetadata copy{textOf(metadata.p_data)};
            NDIlib_recv_free_metadata(m_receiver.get(), &metadata);
            return copy;
        }
        default:
            break;
        }
    }
    return std::nullopt;
}
