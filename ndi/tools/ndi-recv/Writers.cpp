#include "ndi/tools/ndi-recv/Writers.h"

#include "ndi/tools/common/FourCC.h"
#include "recording/NumberedPath.h"
#include "recording/PictureImage.h"

#include <QtGui/QImage>

namespace ndirecv
{

namespace
{

QString formatName(const StoredPicture &picture)
{
    return QString::fromStdString(nditools::fourCCText(picture.fourCC));
}

bool isSameFormat(const StoredPicture &left, const StoredPicture &right)
{
    return left.width == right.width && left.height == right.height && left.fourCC == right.fourCC;
}

} // namespace

void VideoWriter::write(const SharedPicture &picture)
{
    if (!error().isEmpty())
        return;
    // Of UYVA the alpha would be lost, and without a loss RGB does not become YUV.
    if (picture->fourCC != NDIlib_FourCC_video_type_UYVY) {
        m_error = QStringLiteral("%1 pictures cannot be recorded as y4m, only UYVY; --record-raw takes any")
                      .arg(formatName(*picture));
        return;
    }
    m_writer.write(*picture->view(),
                   {static_cast<unsigned>(picture->rateNumerator), static_cast<unsigned>(picture->rateDenominator),
                    picture->isInterlaced ? recording::Scan::UpperFieldFirst : recording::Scan::Progressive});
}

void RawWriter::write(const SharedPicture &picture)
{
    if (!m_error.isEmpty())
        return;
    if (!m_last || !isSameFormat(*m_last, *picture)) {
        finish();
        if (!m_error.isEmpty())
            return;
        m_file.setFileName(recording::numberedPath(m_path, ++m_files));
        if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            m_error = m_file.errorString();
            return;
        }
    }
    m_last = picture;
    const auto size = static_cast<qint64>(picture->bytes.size());
    if (m_file.write(reinterpret_cast<const char *>(picture->bytes.data()), size) != size)
        m_error = m_file.errorString();
}

void RawWriter::finish()
{
    if (m_file.isOpen() && !m_file.flush() && m_error.isEmpty())
        m_error = m_file.errorString();
    m_file.close();
}

Sound Sound::of(const NDIlib_audio_frame_v2_t &frame)
{
    Sound sound{frame.sample_rate, frame.no_channels, {}};
    const auto channels = static_cast<std::size_t>(frame.no_channels);
    const auto count = static_cast<std::size_t>(frame.no_samples);
    sound.samples.resize(channels * count);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const float *from =
            frame.p_data + channel * static_cast<std::size_t>(frame.channel_stride_in_bytes) / sizeof(float);
        for (std::size_t i = 0; i < count; ++i)
            sound.samples[i * channels + channel] = from[i];
    }
    return sound;
}

void SoundWriter::write(const Sound &sound)
{
    m_writer.write(sound.samples.data(), static_cast<int>(sound.samples.size()) / sound.channels, sound.sampleRate,
                   sound.channels);
}

void LineWriter::write(const QByteArray &line)
{
    if (!m_error.isEmpty())
        return;
    if (!m_file.isOpen() && !m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        m_error = m_file.errorString();
        return;
    }
    if (m_file.write(line) != line.size() || m_file.write("\n") != 1 || !m_file.flush())
        m_error = m_file.errorString();
}

QString writeSnapshot(const SharedPicture &picture, const QString &path)
{
    const auto view = picture->view();
    if (!view)
        return QStringLiteral("%1 pictures cannot be shown").arg(formatName(*picture));
    const bool hasAlpha =
        picture->fourCC == NDIlib_FourCC_video_type_BGRA || picture->fourCC == NDIlib_FourCC_video_type_RGBA;
    QImage image = recording::toImage(*view, hasAlpha ? recording::Alpha::Kept : recording::Alpha::Ignored);
    if (picture->fourCC == NDIlib_FourCC_video_type_RGBA || picture->fourCC == NDIlib_FourCC_video_type_RGBX)
        image = std::move(image).rgbSwapped();
    return image.save(path, "PNG") ? QString() : QStringLiteral("cannot be written");
}

} // namespace ndirecv
