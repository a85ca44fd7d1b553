#pragma once

// Captures what a sender sends until a limit, its end or an interrupt; measures it, records it and tells what changes.

#include "ndi/tools/common/StatusLines.h"
#include "ndi/tools/ndi-recv/Connection.h"
#include "ndi/tools/ndi-recv/Recordings.h"
#include "ndi/tools/ndi-recv/Summary.h"

#include <chrono>

namespace ndirecv
{

class Reception
{
public:
    Reception(const Options &options, const nditools::FoundSender &sender, nditools::StatusLines &lines);

    // Throws a Failure when nothing comes in time.
    Summary run();

private:
    using Clock = std::chrono::steady_clock;

    bool isOver();
    void take(const CapturedFrame &frame);
    void takeVideo(const NDIlib_video_frame_v2_t &frame, std::int64_t arrival);
    void takeAudio(const NDIlib_audio_frame_v2_t &frame, std::int64_t arrival);
    void connected();
    void watchConnection();
    void tellErrors();
    Summary summary();

    const Options &m_options;
    nditools::StatusLines &m_lines;
    Connection m_connection;
    Recordings m_recordings;
    pattern::SyncMeter m_sync;
    VideoMeter m_video{m_sync};
    AudioMeter m_audio{m_sync};
    const Clock::time_point m_start = Clock::now();
    std::optional<Clock::time_point> m_firstFrame;
    bool m_isConnected = false;
    std::int64_t m_connections = 0;
    std::int64_t m_metadataFrames = 0;
    QString m_ended;
    double m_seconds = 0; // received, in the end
    std::vector<QString> m_errors;
};

} // namespace ndirecv
