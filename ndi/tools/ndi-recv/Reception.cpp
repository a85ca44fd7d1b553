#include "ndi/tools/ndi-recv/Reception.h"

#include "ndi/tools/common/Interrupt.h"
#include "ndi/tools/ndi-recv/Failure.h"
#include "pattern/FrameRate.h"

#include <algorithm>
#include <cstdio>

namespace ndirecv
{

namespace
{

constexpr std::chrono::milliseconds LongestWait{50}; // until an interrupt or the end of the time is noticed
constexpr double HnsPerMs = pattern::HnsPerSecond / 1000.0;

std::optional<double> inMs(const std::optional<std::int64_t> &hns)
{
    return hns ? std::optional<double>(static_cast<double>(*hns) / HnsPerMs) : std::nullopt;
}

} // namespace

Reception::Reception(const Options &options, const nditools::FoundSender &sender, nditools::StatusLines &lines)
    : m_options(options), m_lines(lines), m_connection(sender, options), m_recordings(options)
{
}

Summary Reception::run()
{
    while (!isOver()) {
        const CapturedFrame frame(m_connection.receiver(), LongestWait);
        if (frame.hasContent())
            take(frame);
        else
            watchConnection();
        tellErrors();
    }
    if (m_firstFrame)
        m_seconds = std::chrono::duration<double>(Clock::now() - *m_firstFrame).count();
    m_lines.print(summary().toText()); // before what may take long
    m_recordings.finish();
    tellErrors();
    return summary();
}

bool Reception::isOver()
{
    const auto now = Clock::now();
    if (nditools::interrupted())
        m_ended = QStringLiteral("interrupt");
    else if (m_options.frames && m_video.frames() >= *m_options.frames && m_video.isFrameComplete())
        m_ended = QStringLiteral("limit");
    else if (m_options.seconds && m_firstFrame &&
             now - *m_firstFrame >= std::chrono::duration<double>(*m_options.seconds))
        m_ended = QStringLiteral("limit");
    else if (!m_firstFrame && now - m_start >= m_options.wait)
        throw Failure(ExitCode::NothingDelivered,
                      QStringLiteral("'%1' is on the network, but delivers nothing").arg(m_connection.sender().name));
    return !m_ended.isEmpty();
}

void Reception::take(const CapturedFrame &frame)
{
    const auto arrival = static_cast<std::int64_t>(pattern::steadyNowHns());
    if (!m_firstFrame)
        m_firstFrame = Clock::now();
    if (!m_isConnected)
        connected();
    if (frame.type() == NDIlib_frame_type_video) {
        takeVideo(frame.video(), arrival);
    } else if (frame.type() == NDIlib_frame_type_audio) {
        takeAudio(frame.audio(), arrival);
    } else {
        ++m_metadataFrames;
        m_recordings.addMetadata(frame.metadata());
    }
}

void Reception::takeVideo(const NDIlib_video_frame_v2_t &frame, std::int64_t arrival)
{
    const VideoNews news = m_video.add(frame, arrival);
    m_recordings.addVideo(frame);
    if (!news.isNewFormat && news.lost == 0 && !news.isRestart)
        return;
    const VideoFigures figures = m_video.figures();
    if (news.isNewFormat)
        m_lines.print("video: " + textOf(*figures.format));
    if (news.lost > 0)
        m_lines.print("gap: " + std::to_string(news.lost) + " frames lost" +
                      (figures.lastFrame ? " before frame " + std::to_string(*figures.lastFrame) : ""));
    if (news.isRestart)
        m_lines.print("the sender began anew");
}

void Reception::takeAudio(const NDIlib_audio_frame_v2_t &frame, std::int64_t arrival)
{
    const AudioNews news = m_audio.add(frame, arrival);
    m_recordings.addAudio(frame);
    if (news.isNewFormat)
        m_lines.print("audio: " + textOf(*m_audio.figures().format));
    if (news.lostSamples > 0)
        m_lines.print("gap: " + std::to_string(news.lostSamples) + " audio samples lost");
}

void Reception::connected()
{
    m_isConnected = true;
    ++m_connections;
    m_connection.found();
    m_connection.sendTally();
    const nditools::FoundSender &sender = m_connection.sender();
    m_lines.print(std::string(m_connections > 1 ? "connected again to '" : "connected to '") +
                  sender.name.toStdString() + "' at " + sender.address.toStdString());
}

// Called when there is no frame left: what the sender sent last still comes after its end.
void Reception::watchConnection()
{
    const bool isOpen = m_connection.isOpen();
    if (isOpen && !m_isConnected) {
        connected();
    } else if (!isOpen && m_isConnected) {
        m_isConnected = false;
        m_video.connectionLost();
        m_audio.connectionLost();
        m_recordings.connectionLost();
        m_sync.forget();
        m_lines.print("lost '" + m_connection.sender().name.toStdString() + "'");
        if (m_options.untilLost)
            m_ended = QStringLiteral("lost");
    }
    if (!m_isConnected)
        m_connection.lookForSender();
}

void Reception::tellErrors()
{
    for (const QString &error : m_recordings.takeErrors()) {
        std::fprintf(stderr, "ndi-recv: %s\n", qPrintable(error));
        m_errors.push_back(error);
    }
}

Summary Reception::summary()
{
    Summary result;
    result.name = m_connection.sender().name;
    result.address = m_connection.sender().address;
    result.ended = m_ended;
    result.seconds = m_seconds;
    result.video = m_video.figures();
    result.audio = m_audio.figures();
    result.metadataFrames = m_metadataFrames;
    result.reconnects = std::max<std::int64_t>(m_connections - 1, 0);
    result.avOffset = inMs(m_sync.timeOffset());
    result.avArrival = inMs(m_sync.arrivalOffset());
    result.leftOut = m_recordings.leftOut();
    result.errors = m_errors;
    return result;
}

} // namespace ndirecv
