#pragma once

#include <QtCore/QFile>
#include <QtCore/QString>

#include <cstdint>

namespace recording
{

// Writes interleaved 32-bit float sound to a RIFF/WAVE file. The lengths in its header are right once it is closed. A
// change of rate or channels begins another file, numbered from 2, and so does the 4 GiB that a file can hold at most.
// Not thread-safe.
class WavWriter
{
public:
    explicit WavWriter(const QString &path);
    ~WavWriter();

    // What went wrong first; empty while all is well.
    QString error() const { return m_error; }
    // `frames`: samples per channel.
    void write(const float *data, int frames, int sampleRate, int channels);
    // Writes what is not in the file yet, and closes it.
    void finish();

private:
    bool begin(int sampleRate, int channels);
    void writeHeader();

    const QString m_path;
    QFile m_file;
    QString m_error;
    int m_files = 0;
    int m_sampleRate = 0;
    int m_channels = 0;
    std::uint64_t m_dataBytes = 0;
};

} // namespace recording
