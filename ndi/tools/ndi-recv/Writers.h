#pragma once

// What is written to files, and how. A writer is used by one thread; finish() is its last call, and error() then says
// whether all is in the file.

#include "ndi/tools/ndi-recv/StoredPicture.h"
#include "recording/WavWriter.h"
#include "recording/Y4mWriter.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <vector>

namespace ndirecv
{

// UYVY pictures as y4m.
class VideoWriter
{
public:
    explicit VideoWriter(const QString &path) : m_writer(path) {}

    QString error() const { return m_error.isEmpty() ? m_writer.error() : m_error; }
    void write(const SharedPicture &picture);
    void finish() { m_writer.finish(); }

private:
    recording::Y4mWriter m_writer;
    QString m_error;
};

// The bytes of pictures of any format, one picture behind the other. A change of size or pixel format begins another
// file, numbered from 2.
class RawWriter
{
public:
    explicit RawWriter(const QString &path) : m_path(path) {}

    QString error() const { return m_error; }
    void write(const SharedPicture &picture);
    void finish();

private:
    const QString m_path;
    QFile m_file;
    SharedPicture m_last;
    int m_files = 0;
    QString m_error;
};

struct Sound {
    int sampleRate = 0;
    int channels = 0;
    std::vector<float> samples; // interleaved

    static Sound of(const NDIlib_audio_frame_v2_t &frame);
    std::size_t bytes() const { return samples.size() * sizeof(float); }
};

class SoundWriter
{
public:
    explicit SoundWriter(const QString &path) : m_writer(path) {}

    QString error() const { return m_writer.error(); }
    void write(const Sound &sound);
    void finish() { m_writer.finish(); }

private:
    recording::WavWriter m_writer;
};

// Lines of text, each in the file as soon as it is written.
class LineWriter
{
public:
    explicit LineWriter(const QString &path) : m_file(path) {}

    QString error() const { return m_error; }
    void write(const QByteArray &line);
    void finish() { m_file.close(); }

private:
    QFile m_file;
    QString m_error;
};

// Writes the picture to a PNG file. What went wrong; empty when nothing did.
QString writeSnapshot(const SharedPicture &picture, const QString &path);

} // namespace ndirecv
