#include "sink/NDIMediaTypeHandlerVideo.h"

#include "sink/SinkChecks.h"

#include <mfapi.h>

std::shared_ptr<NDIMediaTypeHandler> NDIMediaTypeHandlerVideo::create(NDISinkStream *stream)
{
    return initialized(std::make_shared<NDIMediaTypeHandlerVideo>(stream));
}

GUID NDIMediaTypeHandlerVideo::majorType() const
{
    return MFMediaType_Video;
}

std::vector<GUID> NDIMediaTypeHandlerVideo::supportedSubtypes() const
{
    return {MFVideoFormat_UYVY, MFVideoFormat_ARGB32, MFVideoFormat_RGB32};
}

HRESULT NDIMediaTypeHandlerVideo::createMediaType(const GUID &subtype, IMFMediaType **ppType) const
{
    CHECK_ARGUMENT(ppType);
    CComPtr<IMFMediaType> pMediaType;
    CHECK_HR(MFCreateMediaType(&pMediaType));
    CHECK_POINTER(pMediaType);
    CHECK_HR(pMediaType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video));
    CHECK_HR(pMediaType->SetGUID(MF_MT_SUBTYPE, subtype));
    CHECK_HR(pMediaType->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, 1));
    CHECK_HR(pMediaType->SetUINT32(MF_MT_COMPRESSED, 0));
    CHECK_HR(pMediaType->SetUINT32(MF_MT_FIXED_SIZE_SAMPLES, 1));
    CHECK_HR(pMediaType->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive));
    CHECK_HR(MFSetAttributeRatio(pMediaType, MF_MT_PIXEL_ASPECT_RATIO, 1, 1));
    *ppType = pMediaType.Detach();
    return S_OK;
}
