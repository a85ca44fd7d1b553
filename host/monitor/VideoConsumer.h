#pragma once

#include "host/monitor/Recorder.h"
#include "host/monitor/SampleConsumer.h"
#include "host/monitor/StreamMeter.h"
#include "host/monitor/VideoPicture.h"
#include "recording/Y4mWriter.h"

#include "hostfw/ComPtr.h"

#include <QtCore/QByteArray>

#include <mutex>
#include <optional>

namespace host
{

// What the monitor knows about the video it was given.
struct VideoFigures {
    StreamFigures stream;
    std::optional<VideoFormat> format;
    // From the code that test patterns carry in their top lines: pictures that had one, frame numbers that never came,
    // and the time from sending to arrival. Zero without the code.
    std::uint64_t coded = 0;
    std::uint64_t lost = 0;
    std::uint64_t lastFrame = 0;
    double latencyMedianMs = 0.0;
    double latency95Ms = 0.0;
    double latencyMaxMs = 0.0;
    // Pictures whose buffer could not be read as the type says.
    std::uint64_t unreadable = 0;
    std::uint64_t withMetadata = 0;
    QString recordingError;
};

// Measures a video stream, keeps its last picture and records it if asked to. Thread-safe.
class VideoConsumer final : public SampleConsumer
{
public:
    const GUID &majorType() const override;
    bool takes(IMFMediaType *type) const override;
    void typeChanged(IMFMediaType *type) override;
    void sample(IMFSample *sample, HnsTime arrival) override;

    VideoFigures figures() const;
    // The last picture; null when there was none.
    QImage lastPicture() const;
    // The metadata of the last frame that had any, as it came.
    QByteArray metadata() const;
    // Records to that file from the next picture on; an empty path ends the recording.
    void record(const QString &path);

private:
    void readCode(const pattern::ConstPicture &picture, HnsTime arrival);

    Recorder<recording::Y4mWriter> m_recorder;
    mutable std::mutex m_lock; // guards everything below; never held while the disk is written
    StreamMeter m_meter;
    VideoFigures m_figures;
    recording::Histogram m_latency;
    QByteArray m_metadata;
    CComPtr<IMFSample> m_last;
    std::optional<VideoFormat> m_lastFormat; // of m_last
};

} // namespace host
