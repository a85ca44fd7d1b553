#pragma once

// What a sender carries, and how that is told.

#include "Processing.NDI.Interface.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace ndiprobe
{

struct FoundVideo {
    NDIlib_video_frame_v2_t format; // the format fields only
    bool hasFrameMetadata = false;
};

struct FoundAudio {
    int channels = 0;
    int sampleRate = 0; // Hz
    bool hasFrameMetadata = false;
};

struct Findings {
    QString name;
    QString address;
    std::optional<FoundVideo> video;
    std::optional<FoundAudio> audio;

    // UTF-8, lines with their ends.
    QByteArray toText() const;
    QByteArray toJson() const;
};

} // namespace ndiprobe
