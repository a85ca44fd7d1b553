#include "host/monitor/VideoConsumer.h"

#include "host/monitor/FrameMetadata.h"
#include "pattern/PatternCode.h"

#include <mfapi.h>

namespace host
{

HnsTime steadyNow()
{
    return static_cast<long long>(pattern::steadyNowHns());
}

const GUID &VideoConsumer::majorType() const
{
    return MFMediaType_Video;
}

bool VideoConsumer::takes(IMFMediaType *type) const
{
    const std::optional<VideoFormat> format = videoFormat(type);
    return format && isReadable(format->subtype);
}

void VideoConsumer::typeChanged(IMFMediaType *type)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_figures.format = videoFormat(type);
    m_meter.addTypeChange();
}

void VideoConsumer::sample(IMFSample *sample, HnsTime arrival)
{
    std::unique_lock<std::mutex> lock(m_lock);
    LONGLONG time = 0;
    LONGLONG duration = 0;
    sample->GetSampleTime(&time);
    sample->GetSampleDuration(&duration);
    m_meter.addSample(arrival, time, duration);
    const QByteArray metadata = frameMetadata(sample);
    if (!metadata.isEmpty()) {
        ++m_figures.withMetadata;
        m_metadata = metadata;
    }
    if (!m_figures.format)
        return;
    const VideoFormat format = *m_figures.format;
    const SamplePicture picture(sample, format);
    if (!picture.isValid()) {
        ++m_figures.unreadable;
        return;
    }
    readCode(picture.view(), arrival);
    m_last = sample;
    m_lastFormat = format;
    lock.unlock();
    m_recorder.write(picture.view(), recordingFormat(format));
}

VideoFigures VideoConsumer::figures() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    VideoFigures figures = m_figures;
    figures.stream = m_meter.figures(steadyNow());
    figures.latencyMedianMs = m_latency.quantile(0.5);
    figures.latency95Ms = m_latency.quantile(0.95);
    figures.latencyMaxMs = m_latency.maximum();
    figures.recordingError = m_recorder.error();
    return figures;
}

QImage VideoConsumer::lastPicture() const
{
    CComPtr<IMFSample> last;
    std::optional<VideoFormat> format;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        last = m_last;
        format = m_lastFormat;
    }
    if (!last || !format)
        return {};
    const SamplePicture picture(last, *format);
    return picture.isValid() ? toImage(picture.view(), format->subtype) : QImage();
}

QByteArray VideoConsumer::metadata() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_metadata;
}

void VideoConsumer::record(const QString &path)
{
    m_recorder.record(path);
}

void VideoConsumer::readCode(const pattern::ConstPicture &picture, HnsTime arrival)
{
    const std::optional<pattern::PatternCode> code = pattern::readCode(picture);
    if (!code)
        return;
    // A smaller number means that the sender began anew.
    if (m_figures.coded > 0 && code->frame > m_figures.lastFrame + 1)
        m_figures.lost += code->frame - m_figures.lastFrame - 1;
    m_figures.lastFrame = code->frame;
    ++m_figures.coded;
    m_latency.add(static_cast<double>(arrival - HnsTime(static_cast<long long>(code->sendTimeHns))) / HnsPerMs);
}

} // namespace host
