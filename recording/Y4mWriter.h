#pragma once

#include "pattern/Picture.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

namespace recording
{

enum class Scan { Unknown, Progressive, UpperFieldFirst, LowerFieldFirst };

// What a y4m file says about its pictures besides their size.
struct Y4mFormat {
    unsigned rateNumerator = 0;
    unsigned rateDenominator = 0;
    Scan scan = Scan::Unknown;

    bool operator==(const Y4mFormat &other) const
    {
        return rateNumerator == other.rateNumerator && rateDenominator == other.rateDenominator && scan == other.scan;
    }
};

// Writes pictures to a YUV4MPEG2 file as planar 4:2:2. Takes UYVY and YUY2. A file holds one format: a change of size
// or format begins another file, numbered from 2: clip.y4m, clip-2.y4m. Not thread-safe.
class Y4mWriter
{
public:
    explicit Y4mWriter(const QString &path);

    // What went wrong first; empty while all is well. A writer that failed writes nothing more.
    QString error() const { return m_error; }
    void write(const pattern::ConstPicture &picture, const Y4mFormat &format);
    // Writes what is not in the file yet, and closes it.
    void finish();

private:
    bool begin(const pattern::ConstPicture &picture, const Y4mFormat &format);

    const QString m_path;
    QFile m_file;
    Y4mFormat m_format;
    int m_width = 0;
    int m_height = 0;
    QByteArray m_frame; // one frame's planes, allocated once per file
    QString m_error;
    int m_files = 0;
};

} // namespace recording
