#include "host/monitor/AudioConsumer.h"

#include "host/monitor/FrameMetadata.h"
#include "hostfw/ComPtr.h"
#include "hostfw/MediaBuffers.h"

#include <mfapi.h>

#include <algorithm>
#include <cmath>

namespace host
{

namespace
{

constexpr double SilenceDbfs = -200.0;

double peakDbfs(const float *data, std::size_t count)
{
    float peak = 0.0F;
    for (std::size_t i = 0; i < count; ++i)
        peak = std::max(peak, std::abs(data[i]));
    return peak > 0.0F ? std::max(20.0 * std::log10(static_cast<double>(peak)), SilenceDbfs) : SilenceDbfs;
}

} // namespace

const GUID &AudioConsumer::majorType() const
{
    return MFMediaType_Audio;
}

bool AudioConsumer::takes(IMFMediaType *type) const
{
    GUID subtype = {};
    return type && SUCCEEDED(type->GetGUID(MF_MT_SUBTYPE, &subtype)) && IsEqualGUID(subtype, MFAudioFormat_Float) &&
           MFGetAttributeUINT32(type, MF_MT_AUDIO_NUM_CHANNELS, 0) > 0 &&
           MFGetAttributeUINT32(type, MF_MT_AUDIO_SAMPLES_PER_SECOND, 0) > 0;
}

void AudioConsumer::typeChanged(IMFMediaType *type)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_figures.sampleRate = static_cast<int>(MFGetAttributeUINT32(type, MF_MT_AUDIO_SAMPLES_PER_SECOND, 0));
    m_figures.channels = static_cast<int>(MFGetAttributeUINT32(type, MF_MT_AUDIO_NUM_CHANNELS, 0));
    m_meter.addTypeChange();
}

void AudioConsumer::sample(IMFSample *sample, HnsTime arrival)
{
    std::unique_lock<std::mutex> lock(m_lock);
    LONGLONG time = 0;
    LONGLONG duration = 0;
    sample->GetSampleTime(&time);
    sample->GetSampleDuration(&duration);
    m_meter.addSample(arrival, time, duration);
    if (!frameMetadata(sample).isEmpty())
        ++m_figures.withMetadata;
    CComPtr<IMFMediaBuffer> buffer;
    if (m_figures.channels <= 0 || FAILED(sample->ConvertToContiguousBuffer(&buffer)))
        return;
    const MediaBufferMapping mapping(buffer);
    if (!mapping.buffer())
        return;
    const auto *const data = reinterpret_cast<const float *>(mapping.buffer());
    const int sampleRate = m_figures.sampleRate;
    const int channels = m_figures.channels;
    const std::size_t frames = mapping.currentLength() / sizeof(float) / static_cast<std::size_t>(channels);
    m_figures.audioFrames += frames;
    m_figures.peakDbfs = peakDbfs(data, frames * static_cast<std::size_t>(channels));
    lock.unlock();
    m_recorder.write(data, static_cast<int>(frames), sampleRate, channels);
}

AudioFigures AudioConsumer::figures() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    AudioFigures figures = m_figures;
    figures.stream = m_meter.figures(steadyNow());
    figures.recordingError = m_recorder.error();
    return figures;
}

void AudioConsumer::record(const QString &path)
{
    m_recorder.record(path);
}

} // namespace host
