#include "host/monitor/Y4mWriter.h"

#include <QtCore/QFileInfo>

#include <mfapi.h>

namespace host
{

namespace
{

bool sameFormat(const VideoFormat &left, const VideoFormat &right)
{
    return left.width == right.width && left.height == right.height && left.rateNumerator == right.rateNumerator &&
           left.rateDenominator == right.rateDenominator && left.interlaceMode == right.interlaceMode;
}

char interlacing(unsigned mode)
{
    if (mode == MFVideoInterlace_Progressive)
        return 'p';
    if (mode == MFVideoInterlace_FieldInterleavedUpperFirst)
        return 't';
    return mode == MFVideoInterlace_FieldInterleavedLowerFirst ? 'b' : '?';
}

} // namespace

QString numberedPath(const QString &path, int number)
{
    if (number <= 1)
        return path;
    const QFileInfo info(path);
    const QString ending = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
    return path.left(path.size() - ending.size()) + QLatin1Char('-') + QString::number(number) + ending;
}

Y4mWriter::Y4mWriter(const QString &path) : m_path(path) {}

void Y4mWriter::write(const pattern::ConstPicture &picture, const VideoFormat &format)
{
    if (!m_error.isEmpty())
        return;
    const bool uyvy = picture.layout == pattern::PixelLayout::UYVY;
    if (!uyvy && picture.layout != pattern::PixelLayout::YUY2) {
        m_error = QStringLiteral("%1 pictures cannot be recorded, only UYVY and YUY2").arg(subtypeName(format.subtype));
        return;
    }
    if ((!m_file.isOpen() || !sameFormat(format, m_format)) && !begin(format))
        return;
    const int chromaWidth = (picture.width + 1) / 2;
    auto *luma = reinterpret_cast<std::uint8_t *>(m_frame.data());
    auto *u = luma + static_cast<std::ptrdiff_t>(picture.width) * picture.height;
    auto *v = u + static_cast<std::ptrdiff_t>(chromaWidth) * picture.height;
    for (int y = 0; y < picture.height; ++y) {
        const std::uint8_t *const line = picture.line(y);
        for (int x = 0; x < picture.width; ++x)
            *luma++ = line[x * 2 + (uyvy ? 1 : 0)];
        for (int x = 0; x < chromaWidth; ++x) {
            const std::uint8_t *const group = line + static_cast<std::ptrdiff_t>(x) * 4 + (uyvy ? 0 : 1);
            *u++ = group[0];
            // Half a group ends a line of odd width; V lies beyond the line then and is taken from the group before.
            const bool whole = x * 2 + 1 < picture.width;
            *v++ = whole ? group[2] : (x > 0 ? group[-2] : 128);
        }
    }
    if (m_file.write("FRAME\n") < 0 || m_file.write(m_frame) != m_frame.size())
        m_error = m_file.errorString();
}

bool Y4mWriter::begin(const VideoFormat &format)
{
    m_file.close();
    m_file.setFileName(numberedPath(m_path, ++m_files));
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        m_error = m_file.errorString();
        return false;
    }
    m_format = format;
    const int chromaWidth = (format.width + 1) / 2;
    m_frame.resize((format.width + 2 * chromaWidth) * format.height);
    m_file.write(QStringLiteral("YUV4MPEG2 W%1 H%2 F%3:%4 I%5 A0:0 C422\n")
                     .arg(format.width)
                     .arg(format.height)
                     .arg(format.rateNumerator)
                     .arg(format.rateDenominator)
                     .arg(QLatin1Char(interlacing(format.interlaceMode)))
                     .toLatin1());
    return true;
}

} // namespace host
