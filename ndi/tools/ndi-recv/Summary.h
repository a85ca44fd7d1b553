#pragma once

// What a run received.

#include "ndi/tools/ndi-recv/AudioMeter.h"
#include "ndi/tools/ndi-recv/VideoMeter.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <vector>

namespace ndirecv
{

struct Summary {
    QString name; // the sender's, in full
    QString address;
    QString ended;      // "limit", "lost" or "interrupt"
    double seconds = 0; // from the first frame
    VideoFigures video;
    AudioFigures audio;
    std::int64_t metadataFrames = 0;
    std::int64_t reconnects = 0;
    // Milliseconds by which the picture is late, by timecode and by arrival.
    std::optional<double> avOffset;
    std::optional<double> avArrival;
    std::int64_t leftOut = 0;    // by recordings
    std::vector<QString> errors; // of files

    QByteArray toJson() const;
    // One line without its end.
    std::string toText() const;
};

// "UYVY 1280x720 at 60000/1001, progressive"
std::string textOf(const VideoFormat &format);
// "2 channels at 48000 Hz"
std::string textOf(const AudioFormat &format);

} // namespace ndirecv
