#include "recording/WavWriter.h"

#include "recording/NumberedPath.h"

#include <QtCore/QDataStream>

namespace recording
{

namespace
{
constexpr quint16 FloatFormat = 3; // WAVE_FORMAT_IEEE_FLOAT
constexpr quint32 BytesBeforeData = 58;
constexpr std::uint64_t MostData = 0xFFFFFFFFULL - BytesBeforeData;
} // namespace

WavWriter::WavWriter(const QString &path) : m_path(path) {}

WavWriter::~WavWriter()
{
    finish();
}

void WavWriter::write(const float *data, int frames, int sampleRate, int channels)
{
    if (!m_error.isEmpty() || frames <= 0 || channels <= 0)
        return;
    const std::uint64_t bytes = std::uint64_t{4} * static_cast<unsigned>(frames) * static_cast<unsigned>(channels);
    const bool other = sampleRate != m_sampleRate || channels != m_channels || m_dataBytes + bytes > MostData;
    if ((!m_file.isOpen() || other) && !begin(sampleRate, channels))
        return;
    const auto size = static_cast<qint64>(bytes);
    if (m_file.write(reinterpret_cast<const char *>(data), size) != size)
        m_error = m_file.errorString();
    m_dataBytes += bytes;
}

bool WavWriter::begin(int sampleRate, int channels)
{
    finish();
    if (!m_error.isEmpty())
        return false;
    m_file.setFileName(numberedPath(m_path, ++m_files));
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        m_error = m_file.errorString();
        return false;
    }
    m_sampleRate = sampleRate;
    m_channels = channels;
    m_dataBytes = 0;
    writeHeader();
    return true;
}

void WavWriter::finish()
{
    if (!m_file.isOpen())
        return;
    // A pipe keeps the lengths it was begun with.
    if (!m_file.isSequential() && m_file.seek(0))
        writeHeader();
    if (!m_file.flush() && m_error.isEmpty())
        m_error = m_file.errorString();
    m_file.close();
}

void WavWriter::writeHeader()
{
    QDataStream out(&m_file);
    out.setByteOrder(QDataStream::LittleEndian);
    const auto data = static_cast<quint32>(m_dataBytes);
    const auto blockAlign = static_cast<quint16>(m_channels * 4);
    const auto rate = static_cast<quint32>(m_sampleRate);
    out.writeRawData("RIFF", 4);
    out << data + BytesBeforeData - 8;
    out.writeRawData("WAVEfmt ", 8);
    out << quint32{18} << FloatFormat << static_cast<quint16>(m_channels) << rate << rate * blockAlign << blockAlign
        << quint16{32} << quint16{0};
    out.writeRawData("fact", 4);
    out << quint32{4} << data / blockAlign;
    out.writeRawData("data", 4);
    out << data;
}

} // namespace recording
