#include "sink/NDISinkVideoStream.h"

#include "format/MediaTypes.h"
#include "hostfw/HnsTime.h"
#include "hostfw/MediaBuffers.h"
#include "plugin/Checks.h"
#include "plugin/Logging.h"
#include "sink/NDIMediaTypeHandlerVideo.h"
#include "sink/NDISinkMF.h"
#include "sink/SampleMetadata.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr auto checkCategory = sinkCategory;

size_t pictureBytes(const NDIlib_video_frame_v2_t &frame)
{
    if (frame.line_stride_in_bytes <= 0 || frame.yres <= 0)
        return 0;
    return static_cast<size_t>(frame.line_stride_in_bytes) * static_cast<size_t>(frame.yres);
}

} // namespace

NDISinkVideoStream::NDISinkVideoStream(DWORD identifier, NDISinkMF *sink) : NDISinkStream(identifier, sink)
{
    m_mediaTypeHandler = NDIMediaTypeHandlerVideo::create(this);
}

HRESULT NDISinkVideoStream::onMediaTypeChanged(IMFMediaType *type)
{
    NDIlib_video_frame_v2_t frame = m_videoFrame;
    videoFormatFromMediaType(type, frame);
    auto buffer = std::make_unique<uint8_t[]>(pictureBytes(frame));
    frame.p_data = buffer.get();
    m_frameBuffer = std::move(buffer);
    m_videoFrame = frame;
    return S_OK;
}

HRESULT NDISinkVideoStream::sendSample(IMFSample *sample)
{
    CHECK_ARGUMENT(sample);
    CComPtr<IMFMediaBuffer> buffer;
    CHECK_HR(sample->ConvertToContiguousBuffer(&buffer));
    const MediaBufferMapping2D bufferLock(buffer, MF2DBuffer_LockFlags_Read);
    copyPicture(buffer, bufferLock);

    NDIlib_video_frame_v2_t frame = m_videoFrame;
    frame.timecode = sampleTime(sample);
    const QByteArray metadata = sampleMetadata(sample);
    if (!metadata.isEmpty())
        frame.p_metadata = metadata.constData();
    m_sink->sendVideo(frame);
    qCDebug(sinkCategory, "Video frame sent: %lldms", HnsTime(sampleTime(sample)).toMilliseconds());
    return S_OK;
}

void NDISinkVideoStream::copyPicture(IMFMediaBuffer *buffer, const MediaBufferMapping2D &picture)
{
    if (!picture.buffer() || pictureBytes(m_videoFrame) == 0)
        return; // the frame goes out with the picture before it
    const auto stride = static_cast<size_t>(m_videoFrame.line_stride_in_bytes);
    // A buffer that has been made for a smaller picture gives the lines that it holds.
    auto lines = static_cast<size_t>(m_videoFrame.yres);
    DWORD held = 0;
    if (SUCCEEDED(buffer->GetMaxLength(&held)))
        lines = std::min(lines, held / stride);
    // A buffer that knows nothing of lines holds them packed.
    const ptrdiff_t pitch = picture.pitch() != 0 ? picture.pitch() : m_videoFrame.line_stride_in_bytes;
    for (size_t line = 0; line < lines; ++line)
        std::memcpy(m_frameBuffer.get() + stride * line, picture.buffer() + pitch * static_cast<ptrdiff_t>(line),
                    stride);
}
