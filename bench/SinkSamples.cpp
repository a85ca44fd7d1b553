#include "bench/SinkSamples.h"

#include "bench/MediaPlatform.h"

#include <mfapi.h>
#include <mfidl.h>

#include <cstring>

namespace bench
{

CComPtr<IMFMediaType> pictureType(const Format &format, UINT32 width, UINT32 height)
{
    CComPtr<IMFMediaType> type;
    require(MFCreateMediaType(&type), "MFCreateMediaType");
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, format.subtype);
    MFSetAttributeSize(type, MF_MT_FRAME_SIZE, width, height);
    MFSetAttributeRatio(type, MF_MT_FRAME_RATE, 60, 1);
    MFSetAttributeRatio(type, MF_MT_PIXEL_ASPECT_RATIO, 1, 1);
    type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive);
    return type;
}

CComPtr<IMFMediaType> soundType()
{
    CComPtr<IMFMediaType> type;
    require(MFCreateMediaType(&type), "MFCreateMediaType");
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio);
    type->SetGUID(MF_MT_SUBTYPE, MFAudioFormat_Float);
    type->SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, SampleRate);
    type->SetUINT32(MF_MT_AUDIO_NUM_CHANNELS, Channels);
    type->SetUINT32(MF_MT_AUDIO_BITS_PER_SAMPLE, 32);
    type->SetUINT32(MF_MT_AUDIO_BLOCK_ALIGNMENT, 4 * Channels);
    return type;
}

CComPtr<IMFSample> sampleOf(const std::vector<std::uint8_t> &bytes)
{
    CComPtr<IMFSample> sample;
    CComPtr<IMFMediaBuffer> buffer;
    BYTE *data = nullptr;
    require(MFCreateMemoryBuffer(static_cast<DWORD>(bytes.size()), &buffer), "MFCreateMemoryBuffer");
    require(buffer->Lock(&data, nullptr, nullptr), "Lock");
    std::memcpy(data, bytes.data(), bytes.size());
    buffer->Unlock();
    buffer->SetCurrentLength(static_cast<DWORD>(bytes.size()));
    require(MFCreateSample(&sample), "MFCreateSample");
    sample->AddBuffer(buffer);
    return sample;
}

} // namespace bench
