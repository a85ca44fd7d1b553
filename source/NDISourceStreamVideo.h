#pragma once

#include "hostfw/SamplePool.h"
#include "source/FrameClock.h"
#include "source/FrameConverter.h"
#include "source/NDISourceStream.h"

#include "Processing.NDI.Interface.h"

#include <memory>

// Turns video frames into samples: pictures in system memory, or Direct3D 11 textures where the source asks for them.
// The stream's type follows the frames: a frame of another format is announced as a type change right before its
// sample.
class NDISourceStreamVideo : public NDISourceStream
{
public:
    NDISourceStreamVideo(NDISourceMF *source, DWORD streamId, const tvx::MFMessageQueue *queue);

    HRESULT RequestFrame() override;
    HRESULT setMediaType(IMFMediaType *type) override;
    CComPtr<IMFMediaType> createDefaultMediaType() const override;

    // Called by the source with a frame whose timecode is already that of the stream; the frame is only borrowed.
    HRESULT processFrame(const NDIlib_video_frame_v2_t &frame, const FrameClock *clock);

protected:
    HRESULT changeMediaType(const NDIlib_video_frame_v2_t &newFormatFrame);
    HRESULT updateFrameConverter(NDIlib_FourCC_video_type_e fourCC, IMFMediaType *to);
    // MF_E_INVALIDMEDIATYPE, with nothing logged, for a frame rate with a zero in it.
    HRESULT calculateFrameDuration(IMFMediaType *type);
    // The pool's factory: a sample of the current type.
    HRESULT createSample(IMFSample **outSample);

    HnsTime m_frameDuration;

private:
    // Until a frame has been delivered in a new type, none may pass for one of the format before: it would be written
    // into a sample of another size.
    void forgetFrameFormat();
    HRESULT createPictureBuffer(UINT32 width, UINT32 height, const GUID &subtype, IMFMediaBuffer **outBuffer);
    HRESULT fillSample(IMFSample *poolSample, const NDIlib_video_frame_v2_t &frame);

    FrameConverter m_frameConverter;
    const std::unique_ptr<tvx::ISamplePoolFixed> m_samplePool;
    // Of the last frame delivered; 0x0 before the first one, so that every real frame differs from it.
    NDIlib_video_frame_v2_t m_lastFrameFormat;
};
