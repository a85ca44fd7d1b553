#include "ndi/tools/ndi-send/Publisher.h"

#include "ndi/tools/common/FourCC.h"
#include "ndi/tools/common/Interrupt.h"
#include "ndi/tools/ndi-send/Failure.h"
#include "ndi/tools/ndi-send/Pace.h"
#include "ndi/tools/ndi-send/TallyWatcher.h"

#include <algorithm>
#include <cmath>

namespace ndisend
{

namespace
{

std::optional<std::int64_t> limitOf(const Options &options, const pattern::FrameRate &rate)
{
    if (!options.seconds)
        return options.frames;
    return static_cast<std::int64_t>(std::ceil(*options.seconds * rate.numerator / rate.denominator));
}

const char *textOrNull(const std::string &text)
{
    return text.empty() ? nullptr : text.c_str();
}

} // namespace

Publisher::Publisher(const Options &options, std::unique_ptr<VideoSource> video, std::unique_ptr<AudioSource> audio,
                     nditools::StatusLines &lines)
    : m_options(options), m_video(std::move(video)), m_audio(std::move(audio)), m_lines(lines),
      m_rate(m_video ? m_video->format().rate : options.rate.value_or(pattern::FrameRate{})),
      m_limit(limitOf(options, m_rate))
{
    m_summary.name = options.name;
}

Publisher::~Publisher() = default;

Summary Publisher::run()
{
    const std::string name = m_options.name.toStdString();
    NDIlib_send_create_t settings;
    settings.p_ndi_name = name.c_str();
    settings.clock_video = false;
    settings.clock_audio = false;
    m_sender.reset(NDIlib_send_create(&settings));
    if (!m_sender)
        throw Failure(ExitCode::NoRuntime, "the NDI runtime refused to create the sender '" + name + "'");
    m_lines.print("publishing " + description());

    {
        const TallyWatcher watcher(m_sender.get(), m_lines);
        publishFrames(watcher);
        m_summary.receivers = watcher.record();
    }
    m_sender.reset();

    m_lines.print("sent " + std::to_string(m_summary.videoFrames) + " video frames and " +
                  std::to_string(m_summary.audioFrames) + " audio frames, " + std::to_string(m_summary.lateFrames) +
                  " late");
    return m_summary;
}

void Publisher::publishFrames(const TallyWatcher &watcher)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    Pace pace(dueTime(1, m_rate, 0));
    const auto isAtLimit = [this] { return m_limit && leading().frame == *m_limit; };
    while (!isAtLimit() && publishNext(pace, watcher)) {
    }
    // The sender may still hold the last picture, which belongs to the source.
    if (m_video)
        NDIlib_send_send_video_async_v2(m_sender.get(), nullptr);

    m_summary.ended = QLatin1String(nditools::interrupted() ? "interrupt" : isAtLimit() ? "limit" : "input");
    m_summary.lateFrames = pace.lateFrames();
    m_summary.seconds = std::chrono::duration<double>(Clock::now() - start).count();
}

// False at the end of the input and when the program is interrupted.
bool Publisher::publishNext(Pace &pace, const TallyWatcher &watcher)
{
    if (!prepare())
        return false;
    const Hns videoDue = m_video ? dueTime(m_videoTurn.frame, m_rate, m_options.clockPpm) : Hns::max();
    const Hns audioDue = m_audio ? dueTime(m_audioTurn.frame, m_rate, m_options.audioClockPpm) : Hns::max();
    const Hns due = std::min(videoDue, audioDue);
    if (!pace.waitFor(due))
        return false;

    if ((m_video ? videoDue : audioDue) == due)
        sendMetadata(leading().frame, watcher.record().connections);
    if (audioDue == due)
        sendAudio();
    if (videoDue == due)
        sendVideo();
    return true;
}

// What is next of picture and of sound. False at the end of the input: that of the video file if there is one, else
// that of the audio file.
bool Publisher::prepare()
{
    try {
        if (m_video && !m_videoTurn.prepared && !m_video->prepare(m_videoTurn.frame))
            return false;
        m_videoTurn.prepared = true;
        if (m_audio && !m_audioTurn.prepared && !prepareAudio(m_audioTurn.frame))
            return false;
        m_audioTurn.prepared = true;
        return true;
    } catch (const Failure &) {
        // Whoever interrupts a pipeline cuts its last frame short.
        if (nditools::interrupted())
            return false;
        throw;
    }
}

bool Publisher::prepareAudio(std::int64_t frame)
{
    const std::int64_t first = audioStart(frame);
    const int count = static_cast<int>(audioStart(frame + 1) - first);
    m_samples.resize(static_cast<std::size_t>(count) * static_cast<std::size_t>(m_audio->format().channels));
    const bool more = m_audio->render(first, count, pattern::isFlashFrame(frame, m_rate), m_samples.data());
    return more || !m_options.videoFile.isEmpty();
}

std::int64_t Publisher::audioStart(std::int64_t frame) const
{
    return m_rate.frameStart(frame, m_audio->format().sampleRate);
}

void Publisher::sendVideo()
{
    const VideoFormat format = m_video->format();
    const pattern::Picture picture = m_video->finish();
    NDIlib_video_frame_v2_t video;
    video.xres = format.width;
    video.yres = format.height;
    video.FourCC = format.fourCC;
    video.frame_rate_N = m_rate.numerator;
    video.frame_rate_D = m_rate.denominator;
    video.picture_aspect_ratio = format.aspect;
    video.frame_format_type =
        format.interlaced ? NDIlib_frame_format_type_interleaved : NDIlib_frame_format_type_progressive;
    video.timecode = m_rate.frameStart(m_videoTurn.frame, pattern::HnsPerSecond);
    video.p_data = picture.topLine;
    video.line_stride_in_bytes = static_cast<int>(picture.stride);
    video.p_metadata = textOrNull(m_options.frameMetadata);
    NDIlib_send_send_video_async_v2(m_sender.get(), &video);
    ++m_summary.videoFrames;
    m_videoTurn = {m_videoTurn.frame + 1, false};
}

void Publisher::sendAudio()
{
    const std::int64_t first = audioStart(m_audioTurn.frame);
    m_audioTurn = {m_audioTurn.frame + 1, false};
    if (m_samples.empty())
        return;
    const AudioFormat format = m_audio->format();
    const int count = static_cast<int>(m_samples.size()) / format.channels;
    NDIlib_audio_frame_v2_t audio;
    audio.sample_rate = format.sampleRate;
    audio.no_channels = format.channels;
    audio.no_samples = count;
    audio.timecode = pattern::FrameRate{format.sampleRate, 1}.frameStart(first, pattern::HnsPerSecond);
    audio.p_data = m_samples.data();
    audio.channel_stride_in_bytes = count * static_cast<int>(sizeof(float));
    audio.p_metadata = textOrNull(m_options.frameMetadata);
    NDIlib_send_send_audio_v2(m_sender.get(), &audio);
    ++m_summary.audioFrames;
    m_summary.audioSamples += count;
}

// When a receiver has joined, and with the first frame of each second as long as there is one.
void Publisher::sendMetadata(std::int64_t frame, int connections)
{
    const bool joined = connections > m_knownConnections;
    m_knownConnections = connections;
    const bool newSecond = frame > 0 && m_rate.frameStart(frame, 1) != m_rate.frameStart(frame - 1, 1);
    if (m_options.metadata.empty() || !(joined || (newSecond && connections > 0)))
        return;

    std::string text = m_options.metadata; // the interface takes text it might write to
    NDIlib_metadata_frame_t metadata;
    metadata.p_data = text.data();
    metadata.timecode = m_rate.frameStart(frame, pattern::HnsPerSecond);
    NDIlib_send_send_metadata(m_sender.get(), &metadata);
    ++m_summary.metadataFrames;
}

std::string Publisher::description() const
{
    std::string text = "'" + m_options.name.toStdString() + "'";
    if (m_video) {
        const VideoFormat format = m_video->format();
        text += ", " + std::to_string(format.width) + "x" + std::to_string(format.height) + " " +
                nditools::fourCCText(format.fourCC) + " " + (format.interlaced ? "interleaved" : "progressive") +
                " at " + std::to_string(m_rate.numerator) + "/" + std::to_string(m_rate.denominator);
    }
    if (m_audio) {
        const AudioFormat format = m_audio->format();
        text += ", " + std::to_string(format.channels) + " channels at " + std::to_string(format.sampleRate) + " Hz";
    }
    return text;
}

} // namespace ndisend
