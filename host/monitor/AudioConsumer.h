#pragma once

#include "host/monitor/Recorder.h"
#include "host/monitor/SampleConsumer.h"
#include "host/monitor/StreamMeter.h"
#include "recording/WavWriter.h"

#include <mutex>

namespace host
{

// What the monitor knows about the sound it was given.
struct AudioFigures {
    StreamFigures stream;
    int sampleRate = 0; // Hz; 0 before a type is known
    int channels = 0;
    std::uint64_t audioFrames = 0; // samples per channel
    double peakDbfs = -200.0;      // of the last buffer, over all channels
    std::uint64_t withMetadata = 0;
    QString recordingError;
};

// Measures an audio stream of 32-bit float and records it if asked to. Thread-safe.
class AudioConsumer final : public SampleConsumer
{
public:
    const GUID &majorType() const override;
    bool takes(IMFMediaType *type) const override;
    void typeChanged(IMFMediaType *type) override;
    void sample(IMFSample *sample, HnsTime arrival) override;

    AudioFigures figures() const;
    // Records to that file from the next buffer on; an empty path ends the recording.
    void record(const QString &path);

private:
    Recorder<recording::WavWriter> m_recorder;
    mutable std::mutex m_lock; // guards everything below; never held while the disk is written
    StreamMeter m_meter;
    AudioFigures m_figures;
};

} // namespace host
