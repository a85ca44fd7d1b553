#pragma once

#include "sink/NDISinkStream.h"

#include "Processing.NDI.Interface.h"

#include <cstdint>
#include <memory>

class MediaBufferMapping2D;

// Sends pictures, packed, with the sample's time as timecode.
class NDISinkVideoStream : public NDISinkStream
{
public:
    NDISinkVideoStream(DWORD identifier, NDISinkMF *sink);

protected:
    HRESULT sendSample(IMFSample *sample) override;
    // S_OK also for a type that cannot be read; the format then stays as it was.
    HRESULT onMediaTypeChanged(IMFMediaType *type) override;

private:
    void copyPicture(IMFMediaBuffer *buffer, const MediaBufferMapping2D &picture);

    NDIlib_video_frame_v2_t m_videoFrame; // all but timecode and metadata
    std::unique_ptr<uint8_t[]> m_frameBuffer;
};
