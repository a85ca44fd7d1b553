#include "tests/ndi/RuntimeFixture.h"

#include <atomic>
#include <random>

namespace ndi_test
{

std::string uniqueName(const std::string &stem)
{
    static const auto run = std::random_device()();
    static std::atomic<int> count{0};
    return stem + " " + std::to_string(run) + "-" + std::to_string(++count);
}

bool isListedAs(const Source &source, const std::string &name)
{
    const auto ending = " (" + name + ")";
    return source.name.size() > ending.size() &&
           source.name.compare(source.name.size() - ending.size(), ending.size(), ending) == 0;
}

Finder makeFinder(const char *groups)
{
    NDIlib_find_create_t settings;
    settings.p_groups = groups;
    return Finder(NDIlib_find_create_v2(&settings));
}

Sender makeSender(const std::string &name, bool clockVideo, bool clockAudio, const char *groups)
{
    NDIlib_send_create_t settings;
    settings.p_ndi_name = name.c_str();
    settings.p_groups = groups;
    settings.clock_video = clockVideo;
    settings.clock_audio = clockAudio;
    return Sender(NDIlib_send_create(&settings));
}

Receiver makeReceiver(const Source &source, NDIlib_recv_color_format_e colorFormat, bool allowFields,
                      NDIlib_recv_bandwidth_e bandwidth)
{
    NDIlib_recv_create_t settings;
    settings.source_to_connect_to.p_ndi_name = source.name.empty() ? nullptr : source.name.c_str();
    settings.source_to_connect_to.p_url_address = source.address.empty() ? nullptr : source.address.c_str();
    settings.color_format = colorFormat;
    settings.allow_video_fields = allowFields;
    settings.bandwidth = bandwidth;
    return Receiver(NDIlib_recv_create_v2(&settings));
}

std::vector<Source> currentSources(const Finder &finder)
{
    std::uint32_t count = 0;
    const auto *sources = NDIlib_find_get_current_sources(finder.get(), &count);
    std::vector<Source> list;
    for (std::uint32_t i = 0; i < count; ++i)
        list.push_back({sources[i].p_ndi_name, sources[i].p_url_address});
    return list;
}

namespace
{

template <typename Condition>
bool watch(const Finder &finder, std::chrono::milliseconds within, Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + within;
    while (!condition(currentSources(finder))) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        NDIlib_find_wait_for_sources(finder.get(), static_cast<std::uint32_t>(left.count()));
    }
    return true;
}

} // namespace

Source waitForSource(const Finder &finder, const std::string &name)
{
    Source found;
    watch(finder, patience, [&](const std::vector<Source> &sources) {
        for (const auto &source : sources)
            if (isListedAs(source, name))
                found = source;
        return !found.name.empty();
    });
    return found;
}

bool waitUntilGone(const Finder &finder, const std::string &name, std::chrono::milliseconds within)
{
    return watch(finder, within, [&](const std::vector<Source> &sources) {
        for (const auto &source : sources)
            if (isListedAs(source, name))
                return false;
        return true;
    });
}

Source findSource(const std::string &name)
{
    static const Finder finder = makeFinder(); // one for all tests: a new one takes its time
    return waitForSource(finder, name);
}

Pair::Pair(NDIlib_recv_color_format_e colorFormat, bool allowFields, NDIlib_recv_bandwidth_e bandwidth)
    : name(uniqueName()), sender(makeSender(name)), source(findSource(name)),
      receiver(makeReceiver(source, colorFormat, allowFields, bandwidth))
{
    EXPECT_EQ(NDIlib_send_get_no_connections(sender.get(), patienceMs), 1);
}

Video::Video(const Receiver &receiver, std::uint32_t timeout)
    : m_receiver(receiver.get()),
      m_arrived(NDIlib_recv_capture_v2(m_receiver, &m_frame, nullptr, nullptr, timeout) == NDIlib_frame_type_video)
{
}

Video::~Video()
{
    if (m_arrived)
        NDIlib_recv_free_video_v2(m_receiver, &m_frame);
}

Audio::Audio(const Receiver &receiver, std::uint32_t timeout)
    : m_receiver(receiver.get()),
      m_arrived(NDIlib_recv_capture_v2(m_receiver, nullptr, &m_frame, nullptr, timeout) == NDIlib_frame_type_audio)
{
}

Audio::~Audio()
{
    if (m_arrived)
        NDIlib_recv_free_audio_v2(m_receiver, &m_frame);
}

std::optional<Metadata> captureMetadata(const Receiver &receiver, std::uint32_t timeout)
{
    NDIlib_metadata_frame_t frame;
    if (NDIlib_recv_capture_v2(receiver.get(), nullptr, nullptr, &frame, timeout) != NDIlib_frame_type_metadata)
        return std::nullopt;
    Metadata metadata{frame.p_data, frame.length, frame.timecode};
    NDIlib_recv_free_metadata(receiver.get(), &frame);
    return metadata;
}

Picture::Picture(NDIlib_FourCC_video_type_e fourCC, int width, int height, int stride, std::size_t size) : bytes(size)
{
    std::minstd_rand random(static_cast<unsigned>(fourCC));
    for (auto &byte : bytes)
        byte = static_cast<std::uint8_t>(random() >> 8);
    frame.xres = width;
    frame.yres = height;
    frame.FourCC = fourCC;
    frame.line_stride_in_bytes = stride;
    frame.p_data = bytes.data();
}

Picture uyvyPicture(int width, int height, int stride)
{
    if (stride == 0)
        stride = width * 2;
    return {NDIlib_FourCC_video_type_UYVY, width, height, stride, static_cast<std::size_t>(stride) * height};
}

Sound::Sound(int channels, int samples, int strideSamples)
{
    if (strideSamples == 0)
        strideSamples = samples;
    for (int channel = 0; channel < channels; ++channel)
        for (int i = 0; i < strideSamples; ++i)
            values.push_back(static_cast<float>(channel) + static_cast<float>(i) / 65536.0F);
    frame.no_channels = channels;
    frame.no_samples = samples;
    frame.channel_stride_in_bytes = strideSamples * static_cast<int>(sizeof(float));
    frame.p_data = values.data();
}

void sendMetadata(const Sender &sender, const std::string &text)
{
    auto copy = text;
    NDIlib_metadata_frame_t frame;
    frame.p_data = copy.data();
    NDIlib_send_send_metadata(sender.get(), &frame);
}

} // namespace ndi_test
