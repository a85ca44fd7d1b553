#include "tests/e2e/TestSender.h"

#include <QtCore/QCoreApplication>

#include <cstring>
#include <memory>
#include <mutex>

namespace
{

// Enough for the largest frame at the largest offset.
constexpr int NoiseSize = 1920 * 1080 * 4 + (1 << 20);
constexpr int NoiseStep = 64;

const QByteArray &noise()
{
    static const QByteArray bytes = [] {
        QByteArray made(NoiseSize, Qt::Uninitialized);
        quint32 state = 2463534242U;
        for (int i = 0; i < made.size(); ++i) {
            state ^= state << 13;
            state ^= state >> 17;
            state ^= state << 5;
            made[i] = static_cast<char>(state);
        }
        return made;
    }();
    return bytes;
}

int bytesPerPixel(const SenderFormat &format)
{
    return format.fourCC == NDIlib_FourCC_video_type_UYVY ? 2 : 4;
}

// Exact in 24 bits.
constexpr float NumberScale = 1.0F / (1 << 20);

} // namespace

struct TestSender::State {
    std::mutex lock; // guards the two
    SenderFormat format;
    std::string metadata;
};

QString uniqueName(const char *purpose)
{
    static int count = 0;
    return QStringLiteral("e2e %1 %2 %3")
        .arg(QLatin1String(purpose))
        .arg(QCoreApplication::applicationPid())
        .arg(++count);
}

QByteArray frameBytes(const SenderFormat &format, quint32 frame)
{
    const int offset = static_cast<int>(frame % 1024) * NoiseStep;
    QByteArray bytes = noise().mid(offset, format.width * bytesPerPixel(format) * format.height);
    std::memcpy(bytes.data(), &frame, sizeof(frame));
    return bytes;
}

std::vector<float> frameSound(const SenderFormat &format, quint32 frame)
{
    const auto samples = static_cast<std::size_t>(format.frameStart(frame + 1, format.sampleRate) -
                                                  format.frameStart(frame, format.sampleRate));
    const auto channels = static_cast<std::size_t>(format.channels);
    std::vector<float> sound(samples * channels);
    for (std::size_t i = 0; i < sound.size(); ++i)
        sound[i] = static_cast<float>((i * 7919 + frame * 104729 + i % channels) % 4093) / 4093.0F - 0.5F;
    sound[0] = static_cast<float>(frame) * NumberScale;
    return sound;
}

quint32 frameNumber(const QByteArray &bytes)
{
    quint32 frame = 0;
    std::memcpy(&frame, bytes.constData(), sizeof(frame));
    return frame;
}

quint32 frameNumber(const std::vector<float> &sound)
{
    return static_cast<quint32>(sound.at(0) / NumberScale);
}

TestSender::TestSender(const QString &name, const SenderFormat &format) : m_state(std::make_unique<State>())
{
    m_state->format = format;
    const QByteArray utf8 = name.toUtf8();
    NDIlib_send_create_t settings;
    settings.p_ndi_name = utf8.constData();
    settings.clock_video = true;
    settings.clock_audio = false;
    m_sender = NDIlib_send_create(&settings);
    if (m_sender)
        m_thread = std::thread(&TestSender::run, this);
}

TestSender::~TestSender()
{
    m_ended = true;
    if (m_thread.joinable())
        m_thread.join();
    if (m_sender)
        NDIlib_send_destroy(m_sender);
}

void TestSender::setFormat(const SenderFormat &format)
{
    const std::lock_guard<std::mutex> guard(m_state->lock);
    m_state->format = format;
}

void TestSender::setFrameMetadata(const std::string &text)
{
    const std::lock_guard<std::mutex> guard(m_state->lock);
    m_state->metadata = text;
}

void TestSender::sendMetadata(const std::string &text)
{
    std::string copy = text; // the interface takes no constant text
    NDIlib_metadata_frame_t frame;
    frame.p_data = copy.data();
    NDIlib_send_send_metadata(m_sender, &frame);
}

NDIlib_tally_t TestSender::tally() const
{
    NDIlib_tally_t tally;
    NDIlib_send_get_tally(m_sender, &tally, 0);
    return tally;
}

void TestSender::run()
{
    long long timecode = 10000000; // one second; 0 means none
    for (quint32 frame = 1; !m_ended; ++frame) {
        m_frame = frame;
        SenderFormat format;
        std::string metadata;
        {
            const std::lock_guard<std::mutex> guard(m_state->lock);
            format = m_state->format;
            metadata = m_state->metadata;
        }
        const std::vector<float> sound = frameSound(format, frame);
        const auto channels = static_cast<std::size_t>(format.channels);
        const std::size_t samples = sound.size() / channels;
        std::vector<float> planes(sound.size());
        for (std::size_t i = 0; i < sound.size(); ++i)
            planes[i % channels * samples + i / channels] = sound[i];
        NDIlib_audio_frame_v2_t audio;
        audio.sample_rate = format.sampleRate;
        audio.no_channels = format.channels;
        audio.no_samples = static_cast<int>(samples);
        audio.timecode = timecode;
        audio.p_data = planes.data();
        audio.channel_stride_in_bytes = static_cast<int>(samples * sizeof(float));
        audio.p_metadata = metadata.empty() ? nullptr : metadata.c_str();
        NDIlib_send_send_audio_v2(m_sender, &audio);

        const QByteArray packed = frameBytes(format, frame);
        const int line = format.width * bytesPerPixel(format);
        std::vector<std::uint8_t> picture(static_cast<std::size_t>((line + format.padding) * format.height), 0xEE);
        for (int y = 0; y < format.height; ++y)
            std::memcpy(&picture[static_cast<std::size_t>(y * (line + format.padding))], packed.constData() + y * line,
                        static_cast<std::size_t>(line));
        NDIlib_video_frame_v2_t video;
        video.xres = format.width;
        video.yres = format.height;
        video.FourCC = format.fourCC;
        video.frame_rate_N = format.rate;
        video.frame_rate_D = format.seconds;
        video.timecode = timecode;
        video.p_data = picture.data();
        video.line_stride_in_bytes = line + format.padding;
        video.p_metadata = metadata.empty() ? nullptr : metadata.c_str();
        NDIlib_send_send_video_v2(m_sender, &video); // waits until the frame is due
        timecode +=
            format.frameStart(frame + 1, pattern::HnsPerSecond) - format.frameStart(frame, pattern::HnsPerSecond);
    }
}
