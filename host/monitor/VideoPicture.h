#pragma once

#include "hostfw/MediaBuffers.h"
#include "pattern/Picture.h"
#include "recording/Y4mWriter.h"

#include <QtCore/QString>
#include <QtGui/QImage>

#include <mfobjects.h>

#include <optional>

namespace host
{

// What the monitor reads from a video media type.
struct VideoFormat {
    GUID subtype = {};
    int width = 0;  // pixels
    int height = 0; // lines
    unsigned rateNumerator = 0;
    unsigned rateDenominator = 0;
    unsigned interlaceMode = 0; // MFVideoInterlaceMode, 0 when the type names none
};

// Nothing for a type without size or subtype.
std::optional<VideoFormat> videoFormat(IMFMediaType *type);
// "UYVY", "RGB32", …; the FourCC or number of subtypes that have no short name.
QString subtypeName(const GUID &subtype);
// Whether pictures of that subtype can be looked at: UYVY, YUY2, NV12, RGB32, ARGB32.
bool isReadable(const GUID &subtype);

// What a recording says about pictures of that format.
recording::Y4mFormat recordingFormat(const VideoFormat &format);

// A sample's picture, mapped for the object's lifetime.
class SamplePicture
{
public:
    SamplePicture(IMFSample *sample, const VideoFormat &format);

    // False when the buffer cannot be mapped or is too small, or the subtype is not readable.
    bool isValid() const { return m_picture.topLine != nullptr; }
    const pattern::ConstPicture &view() const { return m_picture; }

private:
    std::optional<MediaBufferMapping2D> m_mapping;
    pattern::ConstPicture m_picture;
};

// A copy in RGB, with the alpha of ARGB32.
QImage toImage(const pattern::ConstPicture &picture, const GUID &subtype);

} // namespace host
