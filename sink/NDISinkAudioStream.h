#pragma once

#include "sink/NDISinkStream.h"

#include "Processing.NDI.Interface.h"

#include <cstdint>
#include <memory>

// Sends sound, de-interleaved, with the sample's time as timecode.
class NDISinkAudioStream : public NDISinkStream
{
public:
    NDISinkAudioStream(DWORD identifier, NDISinkMF *sink);

protected:
    HRESULT sendSample(IMFSample *sample) override;
    // S_OK also for a type that cannot be read; the format then stays as it was.
    HRESULT onMediaTypeChanged(IMFMediaType *type) override;

    uint64_t m_planarCapacity = 0; // floats; never shrinks

private:
    // Room for as many floats as the sample has bytes: four times of what it needs.
    void reserve(uint64_t floats);
    // Samples per channel in so many bytes of interleaved sound; what is left over is dropped.
    int samplesIn(DWORD bytes) const;

    NDIlib_audio_frame_v2_t m_audioFrame; // rate, channels and data
    NDIlib_audio_frame_interleaved_32f_t m_interleavedFrame;
    std::unique_ptr<float[]> m_planarBuffer;
};
