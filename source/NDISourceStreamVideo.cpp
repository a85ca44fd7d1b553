#include "source/NDISourceStreamVideo.h"

#include "format/MediaTypes.h"
#include "format/VideoFormat.h"
#include "hostfw/ComException.h"
#include "hostfw/MediaBuffers.h"
#include "hostfw/VideoFormats.h"
#include "source/FrameMetadata.h"
#include "source/HardwareBuffer.h"
#include "source/NDISourceMF.h"
#include "source/SourceChecks.h"

#include <evr.h>
#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

namespace
{

constexpr DWORD pooledPictures = 5;
// Beyond any real picture; what a frame claims is allocated, so the claim is bounded.
constexpr int maxSide = 32768;
constexpr int64_t maxPixels = int64_t{16384} * 16384;

NDIlib_video_frame_v2_t defaultFrame()
{
    NDIlib_video_frame_v2_t frame;
    frame.xres = 1280;
    frame.yres = 720;
    frame.FourCC = NDIlib_FourCC_video_type_UYVY;
    frame.frame_rate_N = 30;
    frame.frame_rate_D = 1;
    frame.frame_format_type = NDIlib_frame_format_type_progressive;
    frame.picture_aspect_ratio = 0.0F;
    frame.line_stride_in_bytes = 2560;
    return frame;
}

bool isRGB(const GUID &subtype)
{
    return IsEqualGUID(subtype, MFVideoFormat_ARGB32) || IsEqualGUID(subtype, MFVideoFormat_RGB32) ||
           IsEqualGUID(subtype, MFVideoFormat_RGB24);
}

// Whether the frame's numbers describe memory that can be read. A FourCC that is not mapped is told apart later.
bool isSound(const NDIlib_video_frame_v2_t &frame, bool hardwareSamples)
{
    if (!frame.p_data || frame.xres < 1 || frame.yres < 1 || frame.xres > maxSide || frame.yres > maxSide)
        return false;
    if (static_cast<int64_t>(frame.xres) * frame.yres > maxPixels)
        return false;
    const GUID subtype = fourCCToSubtype(frame.FourCC);
    const int pixelBytes = static_cast<int>(BytesPerPixel(GetD3DFmtBySubtype(subtype)));
    // A line is copied as it is, but converted in whole groups of two pixels.
    const bool isConverted = hardwareSamples && frame.FourCC == NDIlib_FourCC_video_type_UYVY;
    const int linePixels = isConverted ? frame.xres + frame.xres % 2 : frame.xres;
    return frame.line_stride_in_bytes >= linePixels * pixelBytes;
}

void setFieldLayout(IMFSample *sample, NDIlib_frame_format_type_e type)
{
    const auto set = [sample](UINT32 singleField, UINT32 bottomFieldFirst) {
        sample->SetUINT32(MFSampleExtension_SingleField, singleField);
        sample->SetUINT32(MFSampleExtension_BottomFieldFirst, bottomFieldFirst);
    };
    if (type == NDIlib_frame_format_type_interleaved)
        set(FALSE, FALSE);
    else if (type == NDIlib_frame_format_type_field_0)
        set(TRUE, FALSE);
    else if (type == NDIlib_frame_format_type_field_1)
        set(TRUE, TRUE);
}

} // namespace

NDISourceStreamVideo::NDISourceStreamVideo(NDISourceMF *source, DWORD streamId, const tvx::MFMessageQueue *queue)
    : NDISourceStream(source, streamId, queue),
      m_samplePool(tvx::createFixedSizeSamplePool(
          static_cast<IMFMediaStream *>(this), nullptr, [this](IMFSample **sample) { return createSample(sample); },
          pooledPictures))
{
}

HRESULT NDISourceStreamVideo::RequestFrame()
{
    return m_source->captureFrame(NDIlib_frame_type_video);
}

HRESULT NDISourceStreamVideo::setMediaType(IMFMediaType *type)
{
    if (const HRESULT hr = NDISourceStream::setMediaType(type);
        checkFailed(*checkCategory, "__super::setMediaType(type)", hr))
        return hr;
    const NDIlib_video_frame_v2_t before = m_lastFrameFormat;
    m_samplePool->Reset();
    forgetFrameFormat();
    CHECK_HR(calculateFrameDuration(type));
    videoFormatFromMediaType(type, m_lastFrameFormat);
    // What hardware samples of UYVY frames are converted to says nothing of how the frames come.
    if (m_source->hardwareSamples() && before.FourCC == NDIlib_FourCC_video_type_UYVY &&
        m_lastFrameFormat.FourCC != before.FourCC) {
        m_lastFrameFormat.FourCC = before.FourCC;
        m_lastFrameFormat.line_stride_in_bytes = before.line_stride_in_bytes;
        m_lastFrameFormat.picture_aspect_ratio = before.picture_aspect_ratio;
    }
    CHECK_HR(updateFrameConverter(m_lastFrameFormat.FourCC, type));
    return S_OK;
}

CComPtr<IMFMediaType> NDISourceStreamVideo::createDefaultMediaType() const
{
    return createVideoMediaType(defaultFrame(), m_source->hardwareSamples());
}

HRESULT NDISourceStreamVideo::processFrame(const NDIlib_video_frame_v2_t &frame, const FrameClock * /*clock*/)
{
    if (!isSound(frame, m_source->hardwareSamples()))
        return E_INVALIDARG;
    if (!isSameVideoFormat(frame, m_lastFrameFormat))
        CHECK_HR(changeMediaType(frame));

    CComPtr<IMFSample> poolSample;
    CHECK_HR(m_samplePool->Pop(&poolSample));
    CHECK_POINTER(poolSample);
    const HRESULT hr = fillSample(poolSample, frame);
    if (FAILED(hr))
        return hr;

    stampSample(poolSample, frame.timecode, m_frameDuration);
    // All is settled before the sample is out: whoever gets it may set another type at once.
    copyVideoFormat(m_lastFrameFormat, frame);
    m_requestManager->PushSample(poolSample);
    return S_OK;
}

HRESULT NDISourceStreamVideo::changeMediaType(const NDIlib_video_frame_v2_t &newFormatFrame)
{
    try {
        const CComPtr<IMFMediaType> newType = createVideoMediaType(newFormatFrame, m_source->hardwareSamples());
        const HRESULT hr = pushMediaTypeChange(newType);
        if (FAILED(hr))
            return hr;
        forgetFrameFormat();
        CHECK_HR(updateFrameConverter(newFormatFrame.FourCC, newType));
        m_mediaType = newType;
        m_samplePool->Reset();
        calculateFrameDuration(newType);
        return S_OK;
    } catch (const ComException &exception) {
        return exception.getErrorCode(); // of a type that cannot be made; it is logged where it failed
    }
}

void NDISourceStreamVideo::forgetFrameFormat()
{
    m_lastFrameFormat.xres = 0;
    m_lastFrameFormat.yres = 0;
}

HRESULT NDISourceStreamVideo::updateFrameConverter(NDIlib_FourCC_video_type_e fourCC, IMFMediaType *to)
{
    return chooseFrameConverter(fourCC, m_source->hardwareSamples(), to, m_frameConverter);
}

HRESULT NDISourceStreamVideo::calculateFrameDuration(IMFMediaType *type)
{
    UINT32 rateE = 0;
    UINT32 rateD = 0;
    CHECK_HR(MFGetAttributeRatio(type, MF_MT_FRAME_RATE, &rateE, &rateD));
    if (rateE == 0 || rateD == 0)
        return MF_E_INVALIDMEDIATYPE;
    m_frameDuration = static_cast<long long>(HnsTime::seconds(1)) * rateD / rateE;
    return S_OK;
}

HRESULT NDISourceStreamVideo::createSample(IMFSample **outSample)
{
    GUID subtype = GUID_NULL;
    if (!m_mediaType || FAILED(m_mediaType->GetGUID(MF_MT_SUBTYPE, &subtype)))
        return MF_E_INVALIDMEDIATYPE;
    UINT32 width = 0;
    UINT32 height = 0;
    CHECK_HR(MFGetAttributeSize(m_mediaType, MF_MT_FRAME_SIZE, &width, &height));

    CComPtr<IMFMediaBuffer> mediaBuffer;
    if (m_source->hardwareSamples()) {
        CHECK_HR(createHardwareBuffer(width, height, subtype, GetD3DManager(), &mediaBuffer));
    } else {
        const HRESULT hr = createPictureBuffer(width, height, subtype, &mediaBuffer);
        if (FAILED(hr))
            return hr;
    }
    CComPtr<IMFSample> sample;
    CHECK_HR(MFCreateVideoSampleFromSurface(nullptr, &sample));
    CHECK_POINTER(sample);
    CHECK_HR(sample->AddBuffer(mediaBuffer));
    *outSample = sample.Detach();
    return S_OK;
}

HRESULT NDISourceStreamVideo::createPictureBuffer(UINT32 width, UINT32 height, const GUID &subtype,
                                                  IMFMediaBuffer **outBuffer)
{
    const D3DFORMAT fmt = GetD3DFmtBySubtype(subtype);
    CComPtr<IMFMediaBuffer> mediaBuffer;
    CHECK_HR(MFCreate2DMediaBuffer(width, height, fmt, isRGB(subtype) ? 1 : 0, &mediaBuffer));
    CHECK_HR(mediaBuffer->SetCurrentLength((width * BytesPerPixel(fmt)) * height));
    *outBuffer = mediaBuffer.Detach();
    return S_OK;
}

HRESULT NDISourceStreamVideo::fillSample(IMFSample *poolSample, const NDIlib_video_frame_v2_t &frame)
{
    CComPtr<IMFMediaBuffer> buffer;
    CHECK_HR(poolSample->ConvertToContiguousBuffer(&buffer));
    {
        const MediaBufferMapping2D bufferLock(buffer, MF2DBuffer_LockFlags_Write);
        CHECK_POINTER(bufferLock.buffer());
        m_frameConverter(frame, bufferLock.buffer(), bufferLock.pitch());
    }
    poolSample->SetUINT32(MFSampleExtension_CleanPoint, TRUE);
    setFieldLayout(poolSample, frame.frame_format_type);
    attachFrameMetadata(poolSample, frame.p_metadata);
    return S_OK;
}
