#include "ndi/tools/ndi-recv/VideoMeter.h"

#include "ndi/tools/ndi-recv/PixelLayouts.h"
#include "pattern/FlashFinder.h"
#include "pattern/FrameRate.h"

namespace ndirecv
{

namespace
{

constexpr double HnsPerMs = 10'000.0;
// The time in the code of another machine's frame is on a clock that knows nothing of ours.
constexpr std::int64_t LargestLatency = 60 * pattern::HnsPerSecond;

Fields fieldsOf(NDIlib_frame_format_type_e type)
{
    if (type == NDIlib_frame_format_type_progressive)
        return Fields::Progressive;
    return type == NDIlib_frame_format_type_interleaved ? Fields::Interleaved : Fields::Separate;
}

std::int64_t durationOf(const NDIlib_video_frame_v2_t &frame)
{
    if (frame.frame_rate_N <= 0 || frame.frame_rate_D <= 0)
        return 0;
    return pattern::FrameRate{frame.frame_rate_N, frame.frame_rate_D}.frameStart(1, pattern::HnsPerSecond);
}

} // namespace

bool VideoFormat::operator==(const VideoFormat &other) const
{
    return width == other.width && height == other.height && fourCC == other.fourCC &&
           rateNumerator == other.rateNumerator && rateDenominator == other.rateDenominator && fields == other.fields;
}

VideoNews VideoMeter::add(const NDIlib_video_frame_v2_t &frame, std::int64_t arrival)
{
    if (isSecondField(frame))
        return {};
    VideoNews news;
    news.isNewFormat = noteFormat(frame);
    noteArrival(arrival);
    const auto picture = pictureOf(frame);
    const auto code = picture ? pattern::readCode(*picture) : std::nullopt;
    const Step step = noteStep(code, frame);
    news.lost = step.lost;
    news.isRestart = step.isRestart;
    if (code)
        noteCode(*code, *picture, {frame.timecode, arrival});
    else
        m_lastFlash.reset();
    ++m_figures.frames;
    if (frame.p_metadata != nullptr && *frame.p_metadata != '\0')
        ++m_figures.withMetadata;
    return news;
}

void VideoMeter::connectionLost()
{
    m_lastArrival.reset();
    m_lastNumber.reset();
    m_lastTimecode.reset();
    m_lastFlash.reset();
    m_afterUpperField = false;
}

VideoFigures VideoMeter::figures() const
{
    VideoFigures figures = m_figures;
    figures.recentLatency = m_recentLatency.median();
    if (m_intervalSum > 0)
        figures.rate = static_cast<double>(m_intervals) * pattern::HnsPerSecond / static_cast<double>(m_intervalSum);
    return figures;
}

// Says it of the lower field that follows on its upper one.
bool VideoMeter::isSecondField(const NDIlib_video_frame_v2_t &frame)
{
    const bool isSecond = m_afterUpperField && frame.frame_format_type == NDIlib_frame_format_type_field_1;
    m_afterUpperField = frame.frame_format_type == NDIlib_frame_format_type_field_0;
    return isSecond;
}

bool VideoMeter::noteFormat(const NDIlib_video_frame_v2_t &frame)
{
    const VideoFormat format{frame.xres,         frame.yres,         frame.FourCC,
                             frame.frame_rate_N, frame.frame_rate_D, fieldsOf(frame.frame_format_type)};
    if (m_figures.format && *m_figures.format == format)
        return false;
    if (m_figures.format)
        ++m_figures.formatChanges;
    m_figures.format = format;
    return true;
}

void VideoMeter::noteArrival(std::int64_t arrival)
{
    if (m_lastArrival) {
        ++m_intervals;
        m_intervalSum += arrival - *m_lastArrival;
    }
    m_lastArrival = arrival;
}

Step VideoMeter::noteStep(const std::optional<pattern::PatternCode> &code, const NDIlib_video_frame_v2_t &frame)
{
    Step step;
    if (code && m_lastNumber) {
        step = stepOfNumbers(*m_lastNumber, code->frame);
    } else if (m_lastTimecode) {
        step = stepOfTimes(*m_lastTimecode, frame.timecode, durationOf(frame));
    }
    m_lastNumber.reset();
    if (code)
        m_lastNumber = code->frame;
    m_lastTimecode = frame.timecode;
    m_figures.gaps += step.lost > 0 ? 1 : 0;
    m_figures.lost += step.lost;
    m_figures.repeated += step.isRepeated ? 1 : 0;
    m_figures.restarts += step.isRestart ? 1 : 0;
    return step;
}

void VideoMeter::noteCode(const pattern::PatternCode &code, const pattern::ConstPicture &picture,
                          const pattern::SyncMark &begin)
{
    ++m_figures.coded;
    if (!m_figures.firstFrame)
        m_figures.firstFrame = code.frame;
    m_figures.lastFrame = code.frame;

    const auto sent = static_cast<std::int64_t>(code.sendTimeHns);
    if (sent <= begin.arrival && sent >= begin.arrival - LargestLatency) {
        const double latency = static_cast<double>(begin.arrival - sent) / HnsPerMs;
        m_figures.latency.add(latency);
        m_recentLatency.add(latency, begin.arrival);
    }

    const bool flash = pattern::isFlashShown(picture);
    if (flash && m_lastFlash == false)
        m_sync.addFlash(begin);
    m_lastFlash = flash;
}

} // namespace ndirecv
