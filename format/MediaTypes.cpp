#include "format/MediaTypes.h"

#include "format/VideoFormat.h"
#include "plugin/Checks.h"
#include "plugin/Logging.h"

#include <mfapi.h>
#include <mfidl.h>

namespace
{

constexpr auto checkCategory = generalCategory;

constexpr UINT32 floatBytes = 4;

// The FourCC's characters are logged from its highest byte down.
void warnUnsupported(NDIlib_FourCC_video_type_e fourCC)
{
    const auto value = static_cast<quint32>(fourCC);
    const auto character = [value](int byte) { return static_cast<char>(value >> (8 * byte)); };
    qCWarning(generalCategory) << "Unsupported NDI video type:" << character(3) << character(2) << character(1)
                               << character(0);
}

float pixelAspect(IMFMediaType *mediaType)
{
    UINT32 numerator = 0;
    UINT32 denominator = 0;
    if (FAILED(MFGetAttributeRatio(mediaType, MF_MT_PIXEL_ASPECT_RATIO, &numerator, &denominator)))
        return 0.0F;
    if (denominator == 0 || numerator == denominator)
        return 0.0F;
    return static_cast<float>(numerator) / static_cast<float>(denominator);
}

} // namespace

CComPtr<IMFMediaType> createVideoMediaType(const NDIlib_video_frame_v2_t &frame, bool preferYUY2)
{
    const GUID subtype = fourCCToSubtype(frame.FourCC);
    if (IsEqualGUID(subtype, GUID_NULL)) {
        warnUnsupported(frame.FourCC);
        return {};
    }
    CComPtr<IMFMediaType> type;
    THROW_HR(MFCreateMediaType(&type));
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, subtype);
    type->SetUINT32(MF_MT_COMPRESSED, FALSE);
    type->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, TRUE);
    type->SetUINT32(MF_MT_FIXED_SIZE_SAMPLES, TRUE);
    MFSetAttributeSize(type, MF_MT_FRAME_SIZE, static_cast<UINT32>(frame.xres), static_cast<UINT32>(frame.yres));
    MFSetAttributeRatio(type, MF_MT_FRAME_RATE, static_cast<UINT32>(frame.frame_rate_N),
                        static_cast<UINT32>(frame.frame_rate_D));
    type->SetUINT32(MF_MT_INTERLACE_MODE, frameFormatToInterlaceMode(frame.frame_format_type));
    if (preferYUY2 && frame.FourCC == NDIlib_FourCC_video_type_UYVY)
        type->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_YUY2);
    return type;
}

CComPtr<IMFMediaType> createAudioMediaType(const NDIlib_audio_frame_v2_t &frame)
{
    CComPtr<IMFMediaType> type;
    THROW_HR(MFCreateMediaType(&type));
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio);
    type->SetGUID(MF_MT_SUBTYPE, MFAudioFormat_Float);
    type->SetUINT32(MF_MT_COMPRESSED, FALSE);
    type->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, TRUE);
    type->SetUINT32(MF_MT_FIXED_SIZE_SAMPLES, TRUE);

    const auto sampleRate = static_cast<UINT32>(frame.sample_rate);
    const auto channels = static_cast<UINT32>(frame.no_channels);
    const bool hasStride = frame.no_samples > 0 && frame.channel_stride_in_bytes > 0;
    const UINT32 sampleBytes =
        hasStride ? static_cast<UINT32>(frame.channel_stride_in_bytes / frame.no_samples) : floatBytes;
    type->SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, sampleRate);
    type->SetUINT32(MF_MT_AUDIO_NUM_CHANNELS, channels);
    type->SetUINT32(MF_MT_AUDIO_BITS_PER_SAMPLE, sampleBytes * 8);
    type->SetUINT32(MF_MT_AUDIO_AVG_BYTES_PER_SECOND, channels * sampleRate * sampleBytes);
    type->SetUINT32(MF_MT_AUDIO_CHANNEL_MASK, channelMaskForChannels(frame.no_channels));
    // What is delivered is float, whatever the stride of the frame says.
    type->SetUINT32(MF_MT_AUDIO_BLOCK_ALIGNMENT, channels * floatBytes);
    return type;
}

HRESULT videoFormatFromMediaType(IMFMediaType *mediaType, NDIlib_video_frame_v2_t &frame)
{
    CHECK_ARGUMENT(mediaType);
    UINT32 framerateNumerator = 0;
    UINT32 framerateDenominator = 0;
    CHECK_HR(MFGetAttributeRatio(mediaType, MF_MT_FRAME_RATE, &framerateNumerator, &framerateDenominator));
    UINT32 frameWidth = 0;
    UINT32 frameHeight = 0;
    CHECK_HR(MFGetAttributeSize(mediaType, MF_MT_FRAME_SIZE, &frameWidth, &frameHeight));
    GUID subtype = GUID_NULL;
    CHECK_HR(mediaType->GetGUID(MF_MT_SUBTYPE, &subtype));
    UINT32 interlaceMode = MFVideoInterlace_Unknown;
    if (FAILED(mediaType->GetUINT32(MF_MT_INTERLACE_MODE, &interlaceMode)))
        interlaceMode = MFVideoInterlace_Unknown;
    const auto aspect = pixelAspect(mediaType);

    frame.xres = static_cast<int>(frameWidth);
    frame.yres = static_cast<int>(frameHeight);
    frame.frame_rate_N = static_cast<int>(framerateNumerator);
    frame.frame_rate_D = static_cast<int>(framerateDenominator);
    frame.FourCC = subtypeToFourCC(subtype);
    frame.picture_aspect_ratio = aspect;
    frame.frame_format_type = interlaceModeToFrameFormat(interlaceMode);
    const UINT32 pixelBytes = frame.FourCC == NDIlib_FourCC_video_type_UYVY ? 2 : 4;
    frame.line_stride_in_bytes = static_cast<int>(frameWidth * pixelBytes);
    return S_OK;
}

HRESULT audioFormatFromMediaType(IMFMediaType *mediaType, AudioFormat &format)
{
    CHECK_ARGUMENT(mediaType);
    // Has to be there; its value does not matter, since NDI carries float.
    UINT32 bitsPerSample = 0;
    CHECK_HR(mediaType->GetUINT32(MF_MT_AUDIO_BITS_PER_SAMPLE, &bitsPerSample));
    UINT32 channels = 0;
    CHECK_HR(mediaType->GetUINT32(MF_MT_AUDIO_NUM_CHANNELS, &channels));
    UINT32 sampleRate = 0;
    CHECK_HR(mediaType->GetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, &sampleRate));
    format.no_channels = static_cast<int>(channels);
    format.sample_rate = static_cast<int>(sampleRate);
    return S_OK;
}
