#include "recording/Y4mWriter.h"

#include "recording/NumberedPath.h"

namespace recording
{

namespace
{

char interlacing(Scan scan)
{
    switch (scan) {
    case Scan::Progressive:
        return 'p';
    case Scan::UpperFieldFirst:
        return 't';
    case Scan::LowerFieldFirst:
        return 'b';
    case Scan::Unknown:
        break;
    }
    return '?';
}

} // namespace

Y4mWriter::Y4mWriter(const QString &path) : m_path(path) {}

void Y4mWriter::write(const pattern::ConstPicture &picture, const Y4mFormat &format)
{
    if (!m_error.isEmpty())
        return;
    const bool uyvy = picture.layout == pattern::PixelLayout::UYVY;
    if (!uyvy && picture.layout != pattern::PixelLayout::YUY2) {
        m_error = QStringLiteral("%1 pictures cannot be recorded as y4m, only UYVY and YUY2")
                      .arg(QLatin1String(picture.layout == pattern::PixelLayout::NV12 ? "NV12" : "RGB"));
        return;
    }
    const bool same = picture.width == m_width && picture.height == m_height && format == m_format;
    if ((!m_file.isOpen() || !same) && !begin(picture, format))
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

void Y4mWriter::finish()
{
    if (m_file.isOpen() && !m_file.flush() && m_error.isEmpty())
        m_error = m_file.errorString();
    m_file.close();
}

bool Y4mWriter::begin(const pattern::ConstPicture &picture, const Y4mFormat &format)
{
    finish();
    if (!m_error.isEmpty())
        return false;
    m_file.setFileName(numberedPath(m_path, ++m_files));
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        m_error = m_file.errorString();
        return false;
    }
    m_format = format;
    m_width = picture.width;
    m_height = picture.height;
    const int chromaWidth = (m_width + 1) / 2;
    m_frame.resize((m_width + 2 * chromaWidth) * m_height);
    m_file.write(QStringLiteral("YUV4MPEG2 W%1 H%2 F%3:%4 I%5 A0:0 C422\n")
                     .arg(m_width)
                     .arg(m_height)
                     .arg(format.rateNumerator)
                     .arg(format.rateDenominator)
                     .arg(QLatin1Char(interlacing(format.scan)))
                     .toLatin1());
    return true;
}

} // namespace recording
