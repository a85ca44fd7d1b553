#include "tests/e2e/TestReceiver.h"

#include "pattern/PatternCode.h"
#include "tests/e2e/Network.h"

#include <utility>

namespace
{

constexpr std::uint32_t Wait = 50; // milliseconds

std::int64_t now()
{
    return static_cast<std::int64_t>(pattern::steadyNowHns());
}

int bytesPerPixel(const NDIlib_video_frame_v2_t &frame)
{
    return frame.FourCC == NDIlib_FourCC_video_type_UYVY ? 2 : 4;
}

template <typename Frame>
void append(std::deque<Frame> &frames, Frame frame, std::size_t most)
{
    frames.push_back(std::move(frame));
    if (frames.size() > most)
        frames.pop_front();
}

} // namespace

TestReceiver::TestReceiver(const QString &sender, std::size_t kept, NDIlib_recv_color_format_e colors)
    : m_kept(kept), m_thread(&TestReceiver::run, this, "(" + sender.toStdString() + ")", colors)
{
}

TestReceiver::~TestReceiver()
{
    m_ended = true;
    m_thread.join();
}

std::size_t TestReceiver::pictureCount() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_pictureCount;
}

std::size_t TestReceiver::soundCount() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_soundCount;
}

std::deque<ReceivedPicture> TestReceiver::pictures() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_pictures;
}

std::deque<ReceivedSound> TestReceiver::sound() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_sound;
}

std::deque<ReceivedPicture> TestReceiver::takePictures()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return std::exchange(m_pictures, {});
}

std::deque<ReceivedSound> TestReceiver::takeSound()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return std::exchange(m_sound, {});
}

ReceivedPicture TestReceiver::newestPicture() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_pictures.empty() ? ReceivedPicture() : m_pictures.back();
}

ReceivedSound TestReceiver::newestSound() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_sound.empty() ? ReceivedSound() : m_sound.back();
}

std::vector<QByteArray> TestReceiver::metadata() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_metadata;
}

NDIlib_recv_instance_t TestReceiver::connect(const std::string &listedName, NDIlib_recv_color_format_e colors) const
{
    Network network;
    while (!m_ended) {
        const std::vector<NDIlib_source_t> found = network.sendersAfter(Wait, listedName);
        if (found.empty())
            continue;
        NDIlib_recv_create_t settings;
        settings.source_to_connect_to = found.front();
        settings.color_format = colors;
        return NDIlib_recv_create_v2(&settings);
    }
    return nullptr;
}

void TestReceiver::run(const std::string &listedName, NDIlib_recv_color_format_e colors)
{
    NDIlib_recv_instance_t receiver = connect(listedName, colors);
    if (!receiver)
        return;
    bool wasConnected = false;
    while (!m_ended) {
        NDIlib_video_frame_v2_t video;
        NDIlib_audio_frame_v2_t audio;
        NDIlib_metadata_frame_t metadata;
        switch (NDIlib_recv_capture_v2(receiver, &video, &audio, &metadata, Wait)) {
        case NDIlib_frame_type_video:
            keep(video);
            NDIlib_recv_free_video_v2(receiver, &video);
            break;
        case NDIlib_frame_type_audio:
            keep(audio);
            NDIlib_recv_free_audio_v2(receiver, &audio);
            break;
        case NDIlib_frame_type_metadata:
            keep(metadata);
            NDIlib_recv_free_metadata(receiver, &metadata);
            break;
        default:
            break;
        }
        const bool isConnected = NDIlib_recv_get_no_connections(receiver) > 0;
        if (wasConnected && !isConnected)
            ++m_losses;
        wasConnected = isConnected;
    }
    NDIlib_recv_destroy(receiver);
}

void TestReceiver::keep(const NDIlib_video_frame_v2_t &frame)
{
    ReceivedPicture picture{frame, {}, frame.p_metadata, now()};
    const int line = frame.xres * bytesPerPixel(frame);
    picture.bytes.reserve(line * frame.yres);
    for (int y = 0; y < frame.yres; ++y)
        picture.bytes.append(reinterpret_cast<const char *>(frame.p_data) +
                                 static_cast<std::ptrdiff_t>(y) * frame.line_stride_in_bytes,
                             line);
    const std::lock_guard<std::mutex> guard(m_lock);
    append(m_pictures, std::move(picture), m_kept);
    ++m_pictureCount;
}

void TestReceiver::keep(const NDIlib_audio_frame_v2_t &frame)
{
    ReceivedSound sound{frame, {}, frame.p_metadata, now()};
    const int stride = frame.channel_stride_in_bytes / static_cast<int>(sizeof(float));
    for (int sample = 0; sample < frame.no_samples; ++sample)
        for (int channel = 0; channel < frame.no_channels; ++channel)
            sound.samples.push_back(frame.p_data[static_cast<std::ptrdiff_t>(channel) * stride + sample]);
    const std::lock_guard<std::mutex> guard(m_lock);
    append(m_sound, std::move(sound), m_kept);
    ++m_soundCount;
}

void TestReceiver::keep(const NDIlib_metadata_frame_t &frame)
{
    const QByteArray text(frame.p_data);
    if (text.startsWith("<ndi_"))
        return;
    const std::lock_guard<std::mutex> guard(m_lock);
    m_metadata.push_back(text);
}
