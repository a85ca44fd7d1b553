#include "sink/NDIMediaTypeHandlerAudio.h"

#include "sink/SinkChecks.h"

#include <mfapi.h>

std::shared_ptr<NDIMediaTypeHandler> NDIMediaTypeHandlerAudio::create(NDISinkStream *stream)
{
    return initialized(std::make_shared<NDIMediaTypeHandlerAudio>(stream));
}

GUID NDIMediaTypeHandlerAudio::majorType() const
{
    return MFMediaType_Audio;
}

std::vector<GUID> NDIMediaTypeHandlerAudio::supportedSubtypes() const
{
    return {MFAudioFormat_Float};
}

HRESULT NDIMediaTypeHandlerAudio::createMediaType(const GUID &subtype, IMFMediaType **ppType) const
{
    CHECK_ARGUMENT(ppType);
    CComPtr<IMFMediaType> pMediaType;
    CHECK_HR(MFCreateMediaType(&pMediaType));
    CHECK_POINTER(pMediaType);
    CHECK_HR(pMediaType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio));
    CHECK_HR(pMediaType->SetGUID(MF_MT_SUBTYPE, subtype));
    CHECK_HR(pMediaType->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, 1));
    CHECK_HR(pMediaType->SetUINT32(MF_MT_COMPRESSED, 0));
    *ppType = pMediaType.Detach();
    return S_OK;
}
