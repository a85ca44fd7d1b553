#include "ndi/tools/ndi-recv/Recordings.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace ndirecv
{

namespace
{

// A second of 1080p60, and much more of anything else but larger pictures.
constexpr std::size_t MostBytes = std::size_t{256} << 20;

template <class Recording>
std::unique_ptr<Recording> recordingOrNull(const QString &path)
{
    return path.isEmpty() ? nullptr : std::make_unique<Recording>(path, MostBytes);
}

QByteArray metadataLine(const char *kind, const char *text, std::int64_t timecode)
{
    // A timecode may have more digits than a JSON number keeps.
    const QJsonObject line{{QStringLiteral("kind"), QLatin1String(kind)},
                           {QStringLiteral("timecode"), QString::number(timecode)},
                           {QStringLiteral("text"), QString::fromUtf8(text)}};
    return QJsonDocument(line).toJson(QJsonDocument::Compact);
}

} // namespace

Recordings::Recordings(const Options &options)
    : m_snapshotFile(options.snapshotFile), m_video{"record-video",
                                                    recordingOrNull<BackgroundRecording<VideoWriter, SharedPicture>>(
                                                        options.videoFile)},
      m_raw{"record-raw", recordingOrNull<BackgroundRecording<RawWriter, SharedPicture>>(options.rawFile)},
      m_audio{"record-audio", recordingOrNull<BackgroundRecording<SoundWriter, Sound>>(options.audioFile)},
      m_metadata{"metadata", recordingOrNull<BackgroundRecording<LineWriter, QByteArray>>(options.metadataFile)}
{
}

void Recordings::addVideo(const NDIlib_video_frame_v2_t &frame)
{
    addText("video", frame.p_metadata, frame.timecode);
    if (!m_video.recording && !m_raw.recording && m_snapshotFile.isEmpty())
        return;
    const SharedPicture picture = m_pictures.add(frame);
    if (!picture)
        return;
    if (m_video.recording)
        m_video.recording->write(picture, picture->bytes.size());
    if (m_raw.recording)
        m_raw.recording->write(picture, picture->bytes.size());
    if (!m_snapshotFile.isEmpty())
        m_last = picture;
}

void Recordings::addAudio(const NDIlib_audio_frame_v2_t &frame)
{
    addText("audio", frame.p_metadata, frame.timecode);
    if (!m_audio.recording || frame.no_channels <= 0 || frame.no_samples <= 0)
        return;
    Sound sound = Sound::of(frame);
    const std::size_t bytes = sound.bytes();
    m_audio.recording->write(std::move(sound), bytes);
}

void Recordings::addMetadata(const NDIlib_metadata_frame_t &frame)
{
    addText("metadata", frame.p_data, frame.timecode);
}

void Recordings::addText(const char *kind, const char *text, std::int64_t timecode)
{
    if (!m_metadata.recording || text == nullptr || *text == '\0')
        return;
    QByteArray line = metadataLine(kind, text, timecode);
    const auto bytes = static_cast<std::size_t>(line.size());
    m_metadata.recording->write(std::move(line), bytes);
}

template <class Action>
void Recordings::forEach(Action action)
{
    action(m_video);
    action(m_raw);
    action(m_audio);
    action(m_metadata);
}

template <class Writer, class Record>
void Recordings::takeErrors(Output<Writer, Record> &output, std::vector<QString> &errors)
{
    if (!output.recording)
        return;
    const QString place = QStringLiteral("--%1: %2: ").arg(QLatin1String(output.option), output.recording->path());
    const QString error = output.recording->error();
    if (!error.isEmpty() && !output.isErrorTold) {
        output.isErrorTold = true;
        errors.push_back(place + error);
    }
    if (output.recording->leftOut() > 0 && !output.isLossTold) {
        output.isLossTold = true;
        errors.push_back(place + QStringLiteral("the disk is too slow, frames are left out"));
    }
}

std::vector<QString> Recordings::takeErrors()
{
    std::vector<QString> errors;
    forEach([&](auto &output) { takeErrors(output, errors); });
    if (!m_snapshotError.isEmpty()) {
        errors.push_back(QStringLiteral("--snapshot: %1: %2").arg(m_snapshotFile, m_snapshotError));
        m_snapshotError.clear();
    }
    return errors;
}

std::int64_t Recordings::leftOut()
{
    std::int64_t sum = 0;
    forEach([&sum](const auto &output) { sum += output.recording ? output.recording->leftOut() : 0; });
    return sum;
}

void Recordings::finish()
{
    forEach([](auto &output) {
        if (output.recording)
            output.recording->finish();
    });
    if (m_snapshotFile.isEmpty())
        return;
    m_snapshotError = m_last ? writeSnapshot(m_last, m_snapshotFile) : QStringLiteral("no picture came");
}

} // namespace ndirecv
