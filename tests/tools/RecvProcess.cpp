#include "tests/tools/RecvProcess.h"

#include "pattern/FrameRate.h"

#include <QtCore/QFile>

namespace
{

constexpr pattern::FrameRate Rate{10, 1};
constexpr int SamplesPerFrame = 48000 / 10;
constexpr std::uint32_t Patience = 20000; // milliseconds

} // namespace

Recv::Recv(const std::string &name, const QStringList &arguments, const QString &jsonFile)
    : Tool(NDI_RECV_PROGRAM, QStringList{QString::fromStdString(name), QStringLiteral("--json"), jsonFile} + arguments),
      m_jsonFile(jsonFile)
{
}

QJsonValue Recv::operator[](const char *key)
{
    if (m_json.isEmpty())
        m_json = readJson(m_jsonFile);
    EXPECT_TRUE(m_json.contains(QLatin1String(key))) << key;
    return m_json[QLatin1String(key)];
}

QByteArray NdiRecv::content(const char *name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

ScriptedSender::ScriptedSender()
{
    NDIlib_send_create_t settings;
    settings.p_ndi_name = m_name.c_str();
    settings.clock_video = true;
    settings.clock_audio = false;
    m_sender.reset(NDIlib_send_create(&settings));
}

bool ScriptedSender::waitForReceiver() const
{
    return NDIlib_send_get_no_connections(m_sender.get(), Patience) > 0;
}

void ScriptedSender::sendPattern(std::int64_t number, int width, int height)
{
    pattern::TestPicture picture(pattern::PixelLayout::UYVY, width, height);
    picture.draw(static_cast<std::uint64_t>(number), pattern::isFlashFrame(number, Rate));
    picture.stamp({static_cast<std::uint64_t>(number), pattern::steadyNowHns()});
    send(picture, number);
}

void ScriptedSender::sendPlain(std::int64_t number)
{
    pattern::TestPicture picture(pattern::PixelLayout::UYVY, 64, 48);
    picture.draw(static_cast<std::uint64_t>(number), false);
    send(picture, number);
}

void ScriptedSender::send(pattern::TestPicture &picture, std::int64_t number)
{
    NDIlib_video_frame_v2_t frame;
    frame.xres = picture.picture().width;
    frame.yres = picture.picture().height;
    frame.frame_rate_N = Rate.numerator;
    frame.frame_rate_D = Rate.denominator;
    frame.timecode = Rate.frameStart(number, pattern::HnsPerSecond);
    frame.p_data = picture.picture().topLine;
    frame.line_stride_in_bytes = static_cast<int>(picture.picture().stride);
    NDIlib_send_send_video_v2(m_sender.get(), &frame);
}

void ScriptedSender::sendSilence(std::int64_t number, int channels)
{
    std::vector<float> samples(static_cast<std::size_t>(SamplesPerFrame) * static_cast<std::size_t>(channels));
    NDIlib_audio_frame_v2_t frame;
    frame.no_channels = channels;
    frame.no_samples = SamplesPerFrame;
    frame.timecode = Rate.frameStart(number, pattern::HnsPerSecond);
    frame.p_data = samples.data();
    frame.channel_stride_in_bytes = SamplesPerFrame * static_cast<int>(sizeof(float));
    NDIlib_send_send_audio_v2(m_sender.get(), &frame);
}
