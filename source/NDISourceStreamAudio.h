#pragma once

#include "format/AudioFormat.h"
#include "hostfw/SamplePool.h"
#include "source/FrameClock.h"
#include "source/NDISourceStream.h"

#include "Processing.NDI.Interface.h"

#include <memory>

// Turns audio frames (planar float) into samples (interleaved float).
class NDISourceStreamAudio : public NDISourceStream
{
public:
    NDISourceStreamAudio(NDISourceMF *source, DWORD streamId, const tvx::MFMessageQueue *queue);

    HRESULT RequestFrame() override;
    HRESULT setMediaType(IMFMediaType *type) override;
    CComPtr<IMFMediaType> createDefaultMediaType() const override;

    // Called by the source with a frame whose timecode is already that of the stream; the frame is only borrowed.
    HRESULT processFrame(const NDIlib_audio_frame_v2_t &frame, const FrameClock *clock);

private:
    HRESULT changeMediaType(const NDIlib_audio_frame_v2_t &frame);
    HRESULT fillSample(IMFSample *poolSample, const NDIlib_audio_frame_v2_t &frame, DWORD frameSize);

    const std::unique_ptr<tvx::ISamplePoolFlexible> m_samplePool;
    AudioFormat m_lastFrameFormat;
};
