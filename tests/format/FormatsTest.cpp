#include "format/MediaTypes.h"
#include "format/VideoFormat.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TypeAttributes.h"

#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <cmath>

namespace
{

NDIlib_video_frame_v2_t frameOf(NDIlib_FourCC_video_type_e fourCC, int width = 1920, int height = 1080)
{
    NDIlib_video_frame_v2_t frame;
    frame.FourCC = fourCC;
    frame.xres = width;
    frame.yres = height;
    frame.frame_rate_N = 60000;
    frame.frame_rate_D = 1001;
    frame.line_stride_in_bytes = width * 2;
    return frame;
}

GUID guidOf(IMFAttributes *type, const GUID &key)
{
    GUID value = GUID_NULL;
    type->GetGUID(key, &value);
    return value;
}

CComPtr<IMFMediaType> videoType(const GUID &subtype, UINT32 width, UINT32 height)
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, subtype);
    MFSetAttributeSize(type, MF_MT_FRAME_SIZE, width, height);
    MFSetAttributeRatio(type, MF_MT_FRAME_RATE, 25, 1);
    return type;
}

} // namespace

TEST(VideoFormat, FramesThatDifferOnlyInFieldTypeTimecodeOrDataAreTheSame)
{
    uint8_t pixel = 0;
    const auto left = frameOf(NDIlib_FourCC_video_type_UYVY);
    auto right = left;
    right.frame_format_type = NDIlib_frame_format_type_field_1;
    right.timecode = 5;
    right.p_data = &pixel;
    right.timestamp = 7;
    EXPECT_TRUE(isSameVideoFormat(left, right));
}

TEST(VideoFormat, EachOfTheSevenFieldsMakesADifference)
{
    const auto base = frameOf(NDIlib_FourCC_video_type_UYVY);
    const auto differs = [&](auto &&change) {
        auto other = base;
        change(other);
        return !isSameVideoFormat(base, other);
    };
    EXPECT_TRUE(differs([](auto &f) { f.FourCC = NDIlib_FourCC_video_type_BGRA; }));
    EXPECT_TRUE(differs([](auto &f) { ++f.xres; }));
    EXPECT_TRUE(differs([](auto &f) { ++f.yres; }));
    EXPECT_TRUE(differs([](auto &f) { ++f.frame_rate_N; }));
    EXPECT_TRUE(differs([](auto &f) { ++f.frame_rate_D; }));
    EXPECT_TRUE(differs([](auto &f) { f.picture_aspect_ratio = 1.5F; }));
    EXPECT_TRUE(differs([](auto &f) { ++f.line_stride_in_bytes; }));
}

TEST(VideoFormat, ANaNAspectNeverEqualsAnything)
{
    auto frame = frameOf(NDIlib_FourCC_video_type_UYVY);
    frame.picture_aspect_ratio = std::nanf("");
    EXPECT_FALSE(isSameVideoFormat(frame, frame));
}

TEST(VideoFormat, CopyingLeavesTheFieldTypeAndEverythingElse)
{
    auto source = frameOf(NDIlib_FourCC_video_type_BGRA, 640, 360);
    source.frame_format_type = NDIlib_frame_format_type_field_0;
    source.timecode = 1;
    NDIlib_video_frame_v2_t destination;
    destination.frame_format_type = NDIlib_frame_format_type_interleaved;
    destination.timecode = 9;
    copyVideoFormat(destination, source);
    EXPECT_TRUE(isSameVideoFormat(destination, source));
    EXPECT_EQ(NDIlib_frame_format_type_interleaved, destination.frame_format_type);
    EXPECT_EQ(9, destination.timecode);
}

TEST(VideoFormat, SubtypesAndFourCCsMapByTheFirstRow)
{
    EXPECT_EQ(MFVideoFormat_UYVY, fourCCToSubtype(NDIlib_FourCC_video_type_UYVY));
    EXPECT_EQ(MFVideoFormat_ARGB32, fourCCToSubtype(NDIlib_FourCC_video_type_BGRA));
    EXPECT_EQ(MFVideoFormat_RGB32, fourCCToSubtype(NDIlib_FourCC_video_type_BGRX));
    for (const auto fourCC :
         {NDIlib_FourCC_video_type_NV12, NDIlib_FourCC_video_type_I420, NDIlib_FourCC_video_type_YV12,
          NDIlib_FourCC_video_type_UYVA, NDIlib_FourCC_video_type_P216, NDIlib_FourCC_video_type_PA16,
          NDIlib_FourCC_video_type_RGBA, NDIlib_FourCC_video_type_RGBX})
        EXPECT_EQ(GUID_NULL, fourCCToSubtype(fourCC));
    EXPECT_EQ(NDIlib_FourCC_video_type_UYVY, subtypeToFourCC(MFVideoFormat_UYVY));
    EXPECT_EQ(NDIlib_FourCC_video_type_UYVY, subtypeToFourCC(MFVideoFormat_YUY2));
    EXPECT_EQ(NDIlib_FourCC_video_type_BGRA, subtypeToFourCC(MFVideoFormat_ARGB32));
    EXPECT_EQ(NDIlib_FourCC_video_type_BGRX, subtypeToFourCC(MFVideoFormat_RGB32));
    EXPECT_EQ(0, subtypeToFourCC(MFVideoFormat_NV12));
}

TEST(VideoFormat, InterlaceModesMapBothWaysAndFallBack)
{
    EXPECT_EQ(MFVideoInterlace_Progressive, frameFormatToInterlaceMode(NDIlib_frame_format_type_progressive));
    EXPECT_EQ(MFVideoInterlace_FieldInterleavedUpperFirst,
              frameFormatToInterlaceMode(NDIlib_frame_format_type_interleaved));
    EXPECT_EQ(MFVideoInterlace_FieldSingleUpper, frameFormatToInterlaceMode(NDIlib_frame_format_type_field_0));
    EXPECT_EQ(MFVideoInterlace_FieldSingleLower, frameFormatToInterlaceMode(NDIlib_frame_format_type_field_1));
    EXPECT_EQ(MFVideoInterlace_Unknown, frameFormatToInterlaceMode(static_cast<NDIlib_frame_format_type_e>(9)));
    EXPECT_EQ(NDIlib_frame_format_type_interleaved, interlaceModeToFrameFormat(3));
    EXPECT_EQ(NDIlib_frame_format_type_field_0, interlaceModeToFrameFormat(5));
    EXPECT_EQ(NDIlib_frame_format_type_field_1, interlaceModeToFrameFormat(6));
    for (const UINT32 mode : {0u, 2u, 4u, 7u, 99u})
        EXPECT_EQ(NDIlib_frame_format_type_progressive, interlaceModeToFrameFormat(mode));
}

TEST(AudioFormat, RateAndChannelsMakeADifferenceAndNothingElse)
{
    NDIlib_audio_frame_v2_t frame;
    frame.sample_rate = 44100;
    frame.no_channels = 3;
    AudioFormat format;
    EXPECT_FALSE(isSameAudioFormat(format, frame));
    copyAudioFormat(format, frame);
    EXPECT_TRUE(isSameAudioFormat(format, frame));
    frame.no_samples = 99;
    frame.timecode = 7;
    EXPECT_TRUE(isSameAudioFormat(format, frame));
    frame.sample_rate = 48000;
    EXPECT_FALSE(isSameAudioFormat(format, frame));
    frame.sample_rate = 44100;
    frame.no_channels = 4;
    EXPECT_FALSE(isSameAudioFormat(format, frame));
}

TEST(AudioFormat, MasksFollowTheTable)
{
    const UINT32 expected[] = {0x80000000, 0x4, 0x3, 0x7, 0x33, 0x607, 0x707, 0x80000000, 0x80000000};
    for (int channels = 0; channels <= 8; ++channels)
        EXPECT_EQ(expected[channels], channelMaskForChannels(channels)) << channels;
}

TEST(MediaTypes, AUyvyFrameGivesTheDocumentedAttributes)
{
    const auto type = createVideoMediaType(frameOf(NDIlib_FourCC_video_type_UYVY), false);
    ASSERT_TRUE(type);
    EXPECT_EQ(MFMediaType_Video, guidOf(type, MF_MT_MAJOR_TYPE));
    EXPECT_EQ(MFVideoFormat_UYVY, guidOf(type, MF_MT_SUBTYPE));
    EXPECT_EQ(0u, numberOf(type, MF_MT_COMPRESSED));
    EXPECT_EQ(1u, numberOf(type, MF_MT_ALL_SAMPLES_INDEPENDENT));
    EXPECT_EQ(1u, numberOf(type, MF_MT_FIXED_SIZE_SAMPLES));
    EXPECT_EQ(2u, numberOf(type, MF_MT_INTERLACE_MODE));
    UINT64 packed = 0;
    EXPECT_EQ(S_OK, type->GetUINT64(MF_MT_FRAME_SIZE, &packed));
    EXPECT_EQ((1920ULL << 32) | 1080, packed);
    EXPECT_EQ(S_OK, type->GetUINT64(MF_MT_FRAME_RATE, &packed));
    EXPECT_EQ((60000ULL << 32) | 1001, packed);
    UINT32 count = 0;
    type->GetCount(&count);
    EXPECT_EQ(8u, count);
}

TEST(MediaTypes, PreferringYuy2ChangesUyvyOnly)
{
    EXPECT_EQ(MFVideoFormat_YUY2,
              guidOf(createVideoMediaType(frameOf(NDIlib_FourCC_video_type_UYVY), true), MF_MT_SUBTYPE));
    EXPECT_EQ(MFVideoFormat_ARGB32,
              guidOf(createVideoMediaType(frameOf(NDIlib_FourCC_video_type_BGRA), true), MF_MT_SUBTYPE));
}

TEST(MediaTypes, AnUnsupportedFourCCIsAWarningWithItsCharactersFromTheHighestByteDown)
{
    LogCapture log;
    EXPECT_FALSE(createVideoMediaType(frameOf(NDIlib_FourCC_video_type_NV12), false));
    EXPECT_EQ(1, log.count(QtWarningMsg, generalLog, "Unsupported NDI video type: 2 1 V N"));
    EXPECT_EQ(1u, log.lines().size());
}

TEST(MediaTypes, AudioBytesPerSampleComeFromTheStrideAndBlocksAlwaysCountFour)
{
    NDIlib_audio_frame_v2_t frame;
    const auto bits = [&] { return numberOf(createAudioMediaType(frame), MF_MT_AUDIO_BITS_PER_SAMPLE); };
    EXPECT_EQ(32u, bits());
    frame.no_samples = 1600;
    frame.channel_stride_in_bytes = 6400;
    EXPECT_EQ(32u, bits());
    frame.channel_stride_in_bytes = 3200;
    EXPECT_EQ(16u, bits());
    EXPECT_EQ(8u, numberOf(createAudioMediaType(frame), MF_MT_AUDIO_BLOCK_ALIGNMENT));
    EXPECT_EQ(2u * 48000 * 2, numberOf(createAudioMediaType(frame), MF_MT_AUDIO_AVG_BYTES_PER_SECOND));
}

TEST(MediaTypes, TheDefaultAudioFrameGivesTheDocumentedAttributes)
{
    const auto type = createAudioMediaType(NDIlib_audio_frame_v2_t());
    EXPECT_EQ(MFMediaType_Audio, guidOf(type, MF_MT_MAJOR_TYPE));
    EXPECT_EQ(MFAudioFormat_Float, guidOf(type, MF_MT_SUBTYPE));
    EXPECT_EQ(48000u, numberOf(type, MF_MT_AUDIO_SAMPLES_PER_SECOND));
    EXPECT_EQ(2u, numberOf(type, MF_MT_AUDIO_NUM_CHANNELS));
    EXPECT_EQ(384000u, numberOf(type, MF_MT_AUDIO_AVG_BYTES_PER_SECOND));
    EXPECT_EQ(3u, numberOf(type, MF_MT_AUDIO_CHANNEL_MASK));
    EXPECT_EQ(8u, numberOf(type, MF_MT_AUDIO_BLOCK_ALIGNMENT));
    EXPECT_EQ(32u, numberOf(type, MF_MT_AUDIO_BITS_PER_SAMPLE));
    EXPECT_EQ(0u, numberOf(type, MF_MT_COMPRESSED));
    EXPECT_EQ(1u, numberOf(type, MF_MT_ALL_SAMPLES_INDEPENDENT));
    EXPECT_EQ(1u, numberOf(type, MF_MT_FIXED_SIZE_SAMPLES));
    UINT32 count = 0;
    type->GetCount(&count);
    EXPECT_EQ(11u, count);
}

TEST(MediaTypes, ReadingGivesTheStrideOfTheFourCC)
{
    NDIlib_video_frame_v2_t frame;
    EXPECT_EQ(S_OK, videoFormatFromMediaType(videoType(MFVideoFormat_UYVY, 1920, 1080), frame));
    EXPECT_EQ(3840, frame.line_stride_in_bytes);
    EXPECT_EQ(S_OK, videoFormatFromMediaType(videoType(MFVideoFormat_RGB32, 1920, 1080), frame));
    EXPECT_EQ(7680, frame.line_stride_in_bytes);
    EXPECT_EQ(NDIlib_FourCC_video_type_BGRX, frame.FourCC);
    EXPECT_EQ(S_OK, videoFormatFromMediaType(videoType(MFVideoFormat_NV12, 1920, 1080), frame));
    EXPECT_EQ(0, frame.FourCC);
    EXPECT_EQ(7680, frame.line_stride_in_bytes);
    EXPECT_EQ(25, frame.frame_rate_N);
    EXPECT_EQ(1, frame.frame_rate_D);
}

TEST(MediaTypes, ReadingGivesTheSizeAndTheFieldsOrProgressiveWithoutAMode)
{
    NDIlib_video_frame_v2_t frame;
    const auto type = videoType(MFVideoFormat_UYVY, 720, 576);
    type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_FieldInterleavedUpperFirst);
    EXPECT_EQ(S_OK, videoFormatFromMediaType(type, frame));
    EXPECT_EQ(720, frame.xres);
    EXPECT_EQ(576, frame.yres);
    EXPECT_EQ(NDIlib_frame_format_type_interleaved, frame.frame_format_type);
    type->DeleteItem(MF_MT_INTERLACE_MODE);
    EXPECT_EQ(S_OK, videoFormatFromMediaType(type, frame));
    EXPECT_EQ(NDIlib_frame_format_type_progressive, frame.frame_format_type);
}

TEST(MediaTypes, ReadingAnAudioTypeGivesItsRateAndChannels)
{
    NDIlib_audio_frame_v2_t frame;
    frame.sample_rate = 44100;
    frame.no_channels = 6;
    AudioFormat format;
    EXPECT_EQ(S_OK, audioFormatFromMediaType(createAudioMediaType(frame), format));
    EXPECT_EQ(44100, format.sample_rate);
    EXPECT_EQ(6, format.no_channels);
}

TEST(MediaTypes, ThePixelAspectIsReadOnlyWhenItIsNotSquare)
{
    NDIlib_video_frame_v2_t frame;
    const auto type = videoType(MFVideoFormat_UYVY, 720, 576);
    const auto aspect = [&] {
        videoFormatFromMediaType(type, frame);
        return frame.picture_aspect_ratio;
    };
    EXPECT_EQ(0.0F, aspect());
    MFSetAttributeRatio(type, MF_MT_PIXEL_ASPECT_RATIO, 1, 1);
    EXPECT_EQ(0.0F, aspect());
    MFSetAttributeRatio(type, MF_MT_PIXEL_ASPECT_RATIO, 4, 3);
    EXPECT_FLOAT_EQ(1.3333334F, aspect());
    MFSetAttributeRatio(type, MF_MT_PIXEL_ASPECT_RATIO, 4, 0);
    EXPECT_EQ(0.0F, aspect());
}

TEST(MediaTypes, AMissingVideoAttributeIsReportedAndTheFrameUntouched)
{
    struct Case {
        GUID missing;
        const char *text;
    };
    const Case cases[] = {
        {MF_MT_FRAME_RATE,
         " [MFGetAttributeRatio(mediaType, MF_MT_FRAME_RATE, &framerateNumerator, &framerateDenominator)] "
         "(HR=0xC00D36E6)"},
        {MF_MT_FRAME_SIZE,
         " [MFGetAttributeSize(mediaType, MF_MT_FRAME_SIZE, &frameWidth, &frameHeight)] (HR=0xC00D36E6)"},
        {MF_MT_SUBTYPE, " [mediaType->GetGUID(MF_MT_SUBTYPE, &subtype)] (HR=0xC00D36E6)"},
    };
    for (const Case &each : cases) {
        LogCapture log;
        const auto type = videoType(MFVideoFormat_UYVY, 1920, 1080);
        type->DeleteItem(each.missing);
        NDIlib_video_frame_v2_t frame;
        frame.xres = 77;
        EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, videoFormatFromMediaType(type, frame));
        EXPECT_EQ(77, frame.xres);
        EXPECT_EQ(1, log.count(QtCriticalMsg, generalLog, each.text)) << each.text;
    }
}

TEST(MediaTypes, AMissingAudioAttributeIsReportedAndTheFormatUntouched)
{
    struct Case {
        GUID missing;
        const char *text;
    };
    const Case cases[] = {
        {MF_MT_AUDIO_BITS_PER_SAMPLE,
         " [mediaType->GetUINT32(MF_MT_AUDIO_BITS_PER_SAMPLE, &bitsPerSample)] (HR=0xC00D36E6)"},
        {MF_MT_AUDIO_NUM_CHANNELS, " [mediaType->GetUINT32(MF_MT_AUDIO_NUM_CHANNELS, &channels)] (HR=0xC00D36E6)"},
        {MF_MT_AUDIO_SAMPLES_PER_SECOND,
         " [mediaType->GetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, &sampleRate)] (HR=0xC00D36E6)"},
    };
    for (const Case &each : cases) {
        LogCapture log;
        const auto type = createAudioMediaType(NDIlib_audio_frame_v2_t());
        type->DeleteItem(each.missing);
        AudioFormat format;
        format.sample_rate = 5;
        format.no_channels = 6;
        EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, audioFormatFromMediaType(type, format));
        EXPECT_EQ(5, format.sample_rate);
        EXPECT_EQ(6, format.no_channels);
        EXPECT_EQ(1, log.count(QtCriticalMsg, generalLog, each.text)) << each.text;
    }
}

TEST(MediaTypes, ANullTypeIsEInvalidArg)
{
    LogCapture log;
    NDIlib_video_frame_v2_t frame;
    AudioFormat format;
    EXPECT_EQ(E_INVALIDARG, videoFormatFromMediaType(nullptr, frame));
    EXPECT_EQ(E_INVALIDARG, audioFormatFromMediaType(nullptr, format));
    EXPECT_EQ(2, log.count(QtCriticalMsg, generalLog, " [mediaType is null]"));
}
