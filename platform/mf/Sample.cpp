#include "platform/mf/SampleObject.h"

#include <cstring>

namespace winmedia
{

namespace
{

class Sample : public SampleObject<>
{
};

Ref<IMF2DBuffer> pictureOf(IMFMediaBuffer *buffer)
{
    Ref<IMF2DBuffer> picture;
    buffer->QueryInterface(__uuidof(IMF2DBuffer), reinterpret_cast<void **>(picture.put()));
    return picture;
}

} // namespace

HRESULT contentLength(IMFMediaBuffer *buffer, DWORD *length)
{
    const Ref<IMF2DBuffer> picture = pictureOf(buffer);
    return picture ? picture->GetContiguousLength(length) : buffer->GetCurrentLength(length);
}

HRESULT copyContent(IMFMediaBuffer *buffer, BYTE *target, DWORD room, DWORD *copied)
{
    // Lines of a picture go straight to their places, not through a packed copy.
    if (const Ref<IMF2DBuffer> picture = pictureOf(buffer)) {
        const HRESULT hr = picture->GetContiguousLength(copied);
        if (FAILED(hr))
            return hr;
        return *copied <= room ? picture->ContiguousCopyTo(target, *copied) : MF_E_BUFFERTOOSMALL;
    }
    BYTE *source = nullptr;
    const HRESULT hr = buffer->Lock(&source, nullptr, copied);
    if (FAILED(hr))
        return hr;
    const bool fits = *copied <= room;
    if (fits)
        std::memcpy(target, source, *copied);
    buffer->Unlock();
    return fits ? S_OK : MF_E_BUFFERTOOSMALL;
}

} // namespace winmedia

HRESULT WINAPI MFCreateSample(IMFSample **sample)
{
    if (!sample)
        return E_INVALIDARG;
    *sample = winmedia::createObject<winmedia::Sample>().detach();
    return *sample ? S_OK : E_OUTOFMEMORY;
}
