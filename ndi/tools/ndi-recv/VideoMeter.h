#pragma once

// What the pictures of a sender tell: how many, how often, what is missing, how late they are. Takes memory of a fixed
// size. Used by one thread.

#include "ndi/tools/ndi-recv/GapCounter.h"
#include "ndi/tools/ndi-recv/RecentLatency.h"
#include "pattern/PatternCode.h"
#include "pattern/SyncMeter.h"
#include "recording/Histogram.h"

#include <Processing.NDI.Interface.h>

#include <cstdint>
#include <optional>

namespace ndirecv
{

enum class Fields { Progressive, Interleaved, Separate };

struct VideoFormat {
    int width = 0;
    int height = 0; // of a field, where fields come separately
    NDIlib_FourCC_video_type_e fourCC = NDIlib_FourCC_video_type_UYVY;
    int rateNumerator = 0;
    int rateDenominator = 0;
    Fields fields = Fields::Progressive;

    bool operator==(const VideoFormat &other) const;
};

struct VideoFigures {
    std::int64_t frames = 0; // two fields are one frame
    std::optional<VideoFormat> format;
    std::int64_t formatChanges = 0; // without the first format
    std::int64_t withMetadata = 0;
    std::int64_t gaps = 0;
    std::int64_t lost = 0;
    std::int64_t repeated = 0;
    std::int64_t restarts = 0;
    // By the code of the test pattern.
    std::int64_t coded = 0;
    std::optional<std::uint64_t> firstFrame;
    std::optional<std::uint64_t> lastFrame;
    recording::Histogram latency;        // milliseconds
    std::optional<double> recentLatency; // the median of the last two seconds, milliseconds
    double rate = 0; // frames a second by arrival, over all times of connection; 0 before the second frame
};

// What a frame changed that the user is told.
struct VideoNews {
    bool isNewFormat = false;
    std::int64_t lost = 0; // before this frame
    bool isRestart = false;
};

class VideoMeter
{
public:
    explicit VideoMeter(pattern::SyncMeter &sync) : m_sync(sync) {}

    // `arrival` on the clock of pattern::steadyNowHns().
    VideoNews add(const NDIlib_video_frame_v2_t &frame, std::int64_t arrival);
    // The next frame follows on none.
    void connectionLost();

    // False while the second field of the last frame is awaited.
    bool isFrameComplete() const { return !m_afterUpperField; }
    std::int64_t frames() const { return m_figures.frames; }
    VideoFigures figures() const;

private:
    bool isSecondField(const NDIlib_video_frame_v2_t &frame);
    bool noteFormat(const NDIlib_video_frame_v2_t &frame);
    void noteArrival(std::int64_t arrival);
    Step noteStep(const std::optional<pattern::PatternCode> &code, const NDIlib_video_frame_v2_t &frame);
    void noteCode(const pattern::PatternCode &code, const pattern::ConstPicture &picture,
                  const pattern::SyncMark &begin);

    pattern::SyncMeter &m_sync;
    VideoFigures m_figures;
    RecentLatency m_recentLatency;
    std::int64_t m_intervals = 0;   // between frames of one connection
    std::int64_t m_intervalSum = 0; // 100 ns
    std::optional<std::int64_t> m_lastArrival;
    std::optional<std::uint64_t> m_lastNumber; // of the frame before, where it had one
    std::optional<std::int64_t> m_lastTimecode;
    std::optional<bool> m_lastFlash;
    bool m_afterUpperField = false;
};

} // namespace ndirecv
