#include "sink/NDISinkAudioStream.h"

#include "format/MediaTypes.h"
#include "hostfw/HnsTime.h"
#include "hostfw/MediaBuffers.h"
#include "plugin/Logging.h"
#include "sink/NDIMediaTypeHandlerAudio.h"
#include "sink/NDISinkMF.h"
#include "sink/SampleMetadata.h"
#include "sink/SinkChecks.h"

namespace
{

constexpr int floatBytes = 4;

} // namespace

NDISinkAudioStream::NDISinkAudioStream(DWORD identifier, NDISinkMF *sink) : NDISinkStream(identifier, sink)
{
    m_mediaTypeHandler = NDIMediaTypeHandlerAudio::create(this);
}

HRESULT NDISinkAudioStream::onMediaTypeChanged(IMFMediaType *type)
{
    AudioFormat format;
    copyAudioFormat(format, m_audioFrame);
    audioFormatFromMediaType(type, format);
    m_audioFrame.sample_rate = m_interleavedFrame.sample_rate = format.sample_rate;
    m_audioFrame.no_channels = m_interleavedFrame.no_channels = format.no_channels;
    return S_OK;
}

HRESULT NDISinkAudioStream::sendSample(IMFSample *sample)
{
    CHECK_ARGUMENT(sample);
    CComPtr<IMFMediaBuffer> buffer;
    CHECK_HR(sample->ConvertToContiguousBuffer(&buffer));
    NDIlib_audio_frame_v2_t frame;
    {
        const MediaBufferMapping bufferLock(buffer);
        CHECK_POINTER(bufferLock.buffer());
        reserve(bufferLock.currentLength());
        m_interleavedFrame.p_data = reinterpret_cast<float *>(bufferLock.buffer());
        m_interleavedFrame.no_samples = samplesIn(bufferLock.currentLength());
        frame = m_audioFrame;
        // The runtime lays the channels out by the stride that it finds.
        frame.channel_stride_in_bytes = m_interleavedFrame.no_samples * floatBytes;
        NDIlib_util_audio_from_interleaved_32f_v2(&m_interleavedFrame, &frame);
    }
    frame.timecode = sampleTime(sample);
    const QByteArray metadata = sampleMetadata(sample);
    if (!metadata.isEmpty())
        frame.p_metadata = metadata.constData();
    m_sink->sendAudio(frame);
    qCDebug(sinkCategory, "Audio frame sent: %lldms", HnsTime(sampleTime(sample)).toMilliseconds());
    return S_OK;
}

void NDISinkAudioStream::reserve(uint64_t floats)
{
    if (m_planarCapacity >= floats)
        return;
    m_planarBuffer = std::make_unique<float[]>(static_cast<size_t>(floats));
    m_planarCapacity = floats;
    m_audioFrame.p_data = m_planarBuffer.get();
}

int NDISinkAudioStream::samplesIn(DWORD bytes) const
{
    const uint64_t frameBytes = static_cast<uint64_t>(static_cast<uint32_t>(m_audioFrame.no_channels)) * floatBytes;
    return frameBytes == 0 ? 0 : static_cast<int>(bytes / frameBytes);
}
