#include "ndi/tools/ndi-recv/AudioMeter.h"

#include "pattern/FrameRate.h"

namespace ndirecv
{

namespace
{

std::int64_t durationOf(std::int64_t samples, int sampleRate)
{
    return pattern::FrameRate{sampleRate, 1}.frameStart(samples, pattern::HnsPerSecond);
}

} // namespace

AudioNews AudioMeter::add(const NDIlib_audio_frame_v2_t &frame, std::int64_t arrival)
{
    if (frame.sample_rate <= 0 || frame.no_channels <= 0 || frame.no_samples <= 0)
        return {};
    AudioNews news;
    news.isNewFormat = noteFormat({frame.sample_rate, frame.no_channels});
    const auto lostSamples = noteStep(frame);
    news.lostSamples = lostSamples.value_or(0);
    if (lostSamples != 0)
        m_beeps.reset();
    findBeep(frame, arrival);
    ++m_figures.frames;
    m_figures.samples += frame.no_samples;
    if (frame.p_metadata != nullptr && *frame.p_metadata != '\0')
        ++m_figures.withMetadata;
    return news;
}

void AudioMeter::connectionLost()
{
    m_lastTimecode.reset();
    m_beeps.reset();
}

bool AudioMeter::noteFormat(const AudioFormat &format)
{
    if (m_figures.format && *m_figures.format == format)
        return false;
    if (m_figures.format)
        ++m_figures.formatChanges;
    m_figures.format = format;
    m_beeps.reset();
    return true;
}

std::optional<std::int64_t> AudioMeter::noteStep(const NDIlib_audio_frame_v2_t &frame)
{
    Step step;
    if (m_lastTimecode)
        step = stepOfTimes(*m_lastTimecode, frame.timecode, m_lastDuration);
    m_lastTimecode = frame.timecode;
    m_lastDuration = durationOf(frame.no_samples, frame.sample_rate);
    if (step.isRestart) {
        ++m_figures.restarts;
        return std::nullopt;
    }
    const std::int64_t samples =
        (step.lostTime * frame.sample_rate + pattern::HnsPerSecond / 2) / pattern::HnsPerSecond;
    m_figures.gaps += samples > 0 ? 1 : 0;
    m_figures.lostSamples += samples;
    return samples;
}

void AudioMeter::findBeep(const NDIlib_audio_frame_v2_t &frame, std::int64_t arrival)
{
    if (!m_beeps) {
        m_beeps.emplace(frame.sample_rate);
        m_sampleCount = 0;
    }
    const auto begin = m_beeps->add(frame.p_data, frame.no_samples);
    if (begin) {
        // It may lie in a frame before this one, which then came as much earlier.
        const std::int64_t into = *begin - m_sampleCount;
        const std::int64_t early = into < 0 ? -durationOf(-into, frame.sample_rate) : 0;
        const std::int64_t offset = into < 0 ? early : durationOf(into, frame.sample_rate);
        m_sync.addBeep({frame.timecode + offset, arrival + early});
    }
    m_sampleCount += frame.no_samples;
}

} // namespace ndirecv
