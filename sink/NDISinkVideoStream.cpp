#include "sink/NDISinkVideoStream.h"

#include "format/MediaTypes.h"
#include "hostfw/HnsTime.h"
#include "hostfw/MediaBuffers.h"
#include "plugin/Logging.h"
#include "sink/NDIMediaTypeHandlerVideo.h"
#include "sink/NDISinkMF.h"
#include "sink/SampleMetadata.h"
#include "sink/SinkChecks.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace
{

size_t pictureBytes(const NDIlib_video_frame_v2_t &frame)
{
    if (frame.line_stride_in_bytes <= 0 || frame.yres <= 0)
        return 0;
    return static_cast<size_t>(frame.line_stride_in_bytes) * static_cast<size_t>(frame.yres);
}

// Bytes that may be read.
struct ByteRange {
    const BYTE *begin = nullptr;
    size_t size = 0;

    // By addresses as numbers: a pitch may lead out of the memory.
    bool holds(uintptr_t from, size_t count) const
    {
        const auto first = reinterpret_cast<uintptr_t>(begin);
        return count <= size && from >= first && from - first <= size - count;
    }
};

// What belongs to the buffer while `picture` maps it. A buffer may hold a picture of another size than the type's: a
// sample that was on its way when the type changed.
ByteRange mappedBytes(IMFMediaBuffer *buffer, const MediaBufferMapping2D &picture, const NDIlib_video_frame_v2_t &frame)
{
    if (CComPtr<IMF2DBuffer2> lines;
        SUCCEEDED(buffer->QueryInterface(__uuidof(IMF2DBuffer2), reinterpret_cast<void **>(&lines)))) {
        BYTE *line = nullptr;
        LONG pitch = 0;
        BYTE *start = nullptr;
        DWORD length = 0;
        if (FAILED(lines->Lock2DSize(MF2DBuffer_LockFlags_Read, &line, &pitch, &start, &length)))
            return {};
        lines->Unlock2D(); // the mapping holds it on
        return {start, length};
    }
    DWORD length = 0;
    if (CComPtr<IMF2DBuffer> lines;
        SUCCEEDED(buffer->QueryInterface(__uuidof(IMF2DBuffer), reinterpret_cast<void **>(&lines)))) {
        // Tells its size but not its shape, so that only the very picture of the type is safe to read.
        if (FAILED(lines->GetContiguousLength(&length)) || length != pictureBytes(frame))
            return {};
        const auto distance = static_cast<ptrdiff_t>(picture.pitch()) * (frame.yres - 1);
        const BYTE *const first = picture.buffer() + std::min<ptrdiff_t>(distance, 0);
        return {first, static_cast<size_t>(std::abs(distance)) + static_cast<size_t>(frame.line_stride_in_bytes)};
    }
    if (FAILED(buffer->GetMaxLength(&length)))
        return {};
    return {picture.buffer(), length};
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
    if (m_videoFrame.xres != 0 && pictureBytes(m_videoFrame) == 0)
        return S_OK; // a picture that nothing can hold: the runtime would read it from nowhere
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
    // A buffer that knows nothing of lines holds them packed.
    const ptrdiff_t pitch = picture.pitch() != 0 ? picture.pitch() : m_videoFrame.line_stride_in_bytes;
    // One that has been made for another picture gives the lines that it holds.
    const ByteRange readable = mappedBytes(buffer, picture, m_videoFrame);
    const auto top = reinterpret_cast<uintptr_t>(picture.buffer());
    for (int line = 0; line < m_videoFrame.yres; ++line) {
        const uintptr_t from = top + static_cast<uintptr_t>(pitch * line);
        if (readable.holds(from, stride))
            std::memcpy(m_frameBuffer.get() + stride * static_cast<size_t>(line), reinterpret_cast<const BYTE *>(from),
                        stride);
    }
}
