#include "source/NDISourceStreamAudio.h"

#include "format/MediaTypes.h"
#include "hostfw/ComException.h"
#include "hostfw/MediaBuffers.h"
#include "source/FrameMetadata.h"
#include "source/NDISourceMF.h"
#include "source/SourceChecks.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <cstring>

namespace
{

constexpr DWORD pooledBlocks = 5;
constexpr int64_t floatBytes = 4;
// Far beyond any real frame; what a frame claims is allocated, so the claim is bounded.
constexpr int maxChannels = 256;
constexpr int64_t maxFrameBytes = int64_t{64} * 1024 * 1024;

// Whether the frame's numbers describe memory that can be read.
bool isSound(const NDIlib_audio_frame_v2_t &frame)
{
    if (!frame.p_data || frame.no_channels < 1 || frame.no_channels > maxChannels || frame.no_samples < 0)
        return false;
    const int64_t stride = frame.channel_stride_in_bytes;
    return stride >= frame.no_samples * floatBytes && stride * frame.no_channels <= maxFrameBytes;
}

} // namespace

NDISourceStreamAudio::NDISourceStreamAudio(NDISourceMF *source, DWORD streamId, const tvx::MFMessageQueue *queue)
    : NDISourceStream(source, streamId, queue),
      m_samplePool(tvx::createFlexibleSamplePool(static_cast<IMFMediaStream *>(this), nullptr, pooledBlocks))
{
}

HRESULT NDISourceStreamAudio::RequestFrame()
{
    return m_source->captureFrame(NDIlib_frame_type_audio);
}

HRESULT NDISourceStreamAudio::setMediaType(IMFMediaType *type)
{
    CHECK_HR(NDISourceStream::setMediaType(type));
    audioFormatFromMediaType(type, m_lastFrameFormat);
    return S_OK;
}

CComPtr<IMFMediaType> NDISourceStreamAudio::createDefaultMediaType() const
{
    return createAudioMediaType(NDIlib_audio_frame_v2_t());
}

HRESULT NDISourceStreamAudio::processFrame(const NDIlib_audio_frame_v2_t &frame, const FrameClock * /*clock*/)
{
    if (frame.sample_rate < 1 || !isSound(frame))
        return E_INVALIDARG;
    if (!isSameAudioFormat(m_lastFrameFormat, frame))
        CHECK_HR(changeMediaType(frame));

    const auto frameSize = static_cast<DWORD>(frame.channel_stride_in_bytes * frame.no_channels);
    CComPtr<IMFSample> poolSample;
    CHECK_HR(m_samplePool->Pop(&poolSample, frameSize));
    CHECK_POINTER(poolSample);
    const HRESULT hr = fillSample(poolSample, frame, frameSize);
    if (FAILED(hr))
        return hr;

    const LONGLONG duration = static_cast<LONGLONG>(HnsTime::seconds(1)) * frame.no_samples / frame.sample_rate;
    stampSample(poolSample, frame.timecode, duration);
    // All is settled before the sample is out: whoever gets it may set another type at once.
    copyAudioFormat(m_lastFrameFormat, frame);
    m_requestManager->PushSample(poolSample);
    return S_OK;
}

HRESULT NDISourceStreamAudio::changeMediaType(const NDIlib_audio_frame_v2_t &frame)
{
    try {
        const CComPtr<IMFMediaType> newType = createAudioMediaType(frame);
        const HRESULT hr = pushMediaTypeChange(newType);
        if (FAILED(hr))
            return hr;
        // No frame is of the format before any more, even if this one is not delivered.
        m_lastFrameFormat = {0, 0};
        return NDISourceStream::setMediaType(newType);
    } catch (const ComException &exception) {
        return exception.getErrorCode(); // of a type that cannot be made; it is logged where it failed
    }
}

HRESULT NDISourceStreamAudio::fillSample(IMFSample *poolSample, const NDIlib_audio_frame_v2_t &frame, DWORD frameSize)
{
    CComPtr<IMFMediaBuffer> buffer;
    CHECK_HR(poolSample->ConvertToContiguousBuffer(&buffer));
    {
        const MediaBufferMapping bufferLock(buffer);
        CHECK_POINTER(bufferLock.buffer());
        NDIlib_audio_frame_interleaved_32f_t interleaved;
        interleaved.p_data = reinterpret_cast<float *>(bufferLock.buffer());
        NDIlib_util_audio_to_interleaved_32f_v2(&frame, &interleaved);
        // Channels that lie further apart than their samples leave room behind: silence, not an older frame's sound.
        const auto written = static_cast<size_t>(frame.no_samples * floatBytes * frame.no_channels);
        std::memset(bufferLock.buffer() + written, 0, frameSize - written);
    }
    buffer->SetCurrentLength(frameSize);
    poolSample->SetUINT32(MFSampleExtension_CleanPoint, TRUE);
    attachFrameMetadata(poolSample, frame.p_metadata);
    return S_OK;
}
