#include "host/source/PatternAudioStream.h"

#include "hostfw/MediaBuffers.h"
#include "pattern/FrameRate.h"

#include <mfapi.h>

namespace host
{

namespace
{
constexpr DWORD AudioStreamId = 1;
constexpr DWORD SoundPoolSize = 5;
} // namespace

PatternAudioStream::PatternAudioStream(tvx::ISource *source, const PatternSettings &settings,
                                       std::shared_ptr<PatternPace> pace)
    : PatternStream(source, AudioStreamId, settings, std::move(pace),
                    tvx::MFMessageQueue(tvx::MFMessageQueue::Type::Serial, 0)),
      m_tone(settings.sampleRate),
      m_pool(tvx::createFlexibleSamplePool(static_cast<IMFMediaStream *>(this), {}, SoundPoolSize))
{
}

CComPtr<IMFMediaType> PatternAudioStream::createType() const
{
    CComPtr<IMFMediaType> type;
    if (FAILED(MFCreateMediaType(&type)))
        return nullptr;
    const auto channels = static_cast<UINT32>(m_settings.channels);
    const auto rate = static_cast<UINT32>(m_settings.sampleRate);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio);
    type->SetGUID(MF_MT_SUBTYPE, MFAudioFormat_Float);
    type->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, TRUE);
    type->SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, rate);
    type->SetUINT32(MF_MT_AUDIO_NUM_CHANNELS, channels);
    type->SetUINT32(MF_MT_AUDIO_BITS_PER_SAMPLE, 32);
    type->SetUINT32(MF_MT_AUDIO_BLOCK_ALIGNMENT, channels * 4);
    type->SetUINT32(MF_MT_AUDIO_AVG_BYTES_PER_SECOND, channels * 4 * rate);
    return type;
}

HRESULT PatternAudioStream::makeSample(std::int64_t frame, IMFSample **sample)
{
    const pattern::FrameRate rate{m_settings.rateNumerator, m_settings.rateDenominator};
    const std::int64_t first = rate.frameStart(frame, m_settings.sampleRate);
    const int count = static_cast<int>(rate.frameStart(frame + 1, m_settings.sampleRate) - first);
    const auto channels = static_cast<std::size_t>(m_settings.channels);
    const auto bytes = static_cast<DWORD>(static_cast<std::size_t>(count) * channels * sizeof(float));
    HRESULT hr = m_pool->Pop(sample, bytes);
    if (FAILED(hr))
        return hr;
    CComPtr<IMFMediaBuffer> buffer;
    hr = (*sample)->GetBufferByIndex(0, &buffer);
    if (FAILED(hr))
        return hr;
    {
        const MediaBufferMapping mapping(buffer);
        if (!mapping.buffer())
            return E_POINTER;
        auto *const out = reinterpret_cast<float *>(mapping.buffer());
        m_channel.resize(static_cast<std::size_t>(count));
        for (std::size_t channel = 0; channel < channels; ++channel) {
            m_tone.render(static_cast<int>(channel), first, count, pattern::isFlashFrame(frame, rate),
                          m_channel.data());
            for (std::size_t i = 0; i < m_channel.size(); ++i)
                out[i * channels + channel] = m_channel[i];
        }
    }
    hr = buffer->SetCurrentLength(bytes);
    return FAILED(hr) ? hr : (*sample)->SetUINT32(MFSampleExtension_CleanPoint, TRUE);
}

} // namespace host
