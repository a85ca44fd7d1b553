#pragma once

#include "host/monitor/VideoPicture.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

namespace host
{

// Writes pictures to a YUV4MPEG2 file as planar 4:2:2. Takes UYVY and YUY2. A file holds one format: a change of format
// begins another file, numbered from 2: clip.y4m, clip-2.y4m. Not thread-safe.
class Y4mWriter
{
public:
    explicit Y4mWriter(const QString &path);

    // What went wrong first; empty while all is well. A writer that failed writes nothing more.
    QString error() const { return m_error; }
    void write(const pattern::ConstPicture &picture, const VideoFormat &format);

private:
    bool begin(const VideoFormat &format);

    const QString m_path;
    QFile m_file;
    VideoFormat m_format;
    QByteArray m_frame; // one frame's planes, allocated once per file
    QString m_error;
    int m_files = 0;
};

// The name of the n-th file of a recording, n from 1.
QString numberedPath(const QString &path, int number);

} // namespace host
