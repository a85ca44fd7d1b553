#include "platform/com/RecycledMemory.h"
#include "platform/mf/AttributeStore.h"

#include <mfapi.h>

namespace winmedia
{

namespace
{

class MediaEvent final : public AttributesObject<IMFMediaEvent>, public RecycledMemory<MediaEvent>
{
public:
    MediaEvent(MediaEventType type, REFGUID extendedType, HRESULT status, Value value)
        : m_type(type), m_extendedType(extendedType), m_status(status), m_value(std::move(value))
    {
    }

    STDMETHODIMP GetType(MediaEventType *type) override
    {
        if (!type)
            return E_POINTER;
        *type = m_type;
        return S_OK;
    }
    STDMETHODIMP GetExtendedType(GUID *extendedType) override
    {
        if (!extendedType)
            return E_POINTER;
        *extendedType = m_extendedType;
        return S_OK;
    }
    STDMETHODIMP GetStatus(HRESULT *status) override
    {
        if (!status)
            return E_POINTER;
        *status = m_status;
        return S_OK;
    }
    STDMETHODIMP GetValue(PROPVARIANT *value) override
    {
        return value ? PropVariantCopy(value, &m_value.raw()) : E_POINTER;
    }

private:
    const MediaEventType m_type;
    const GUID m_extendedType;
    const HRESULT m_status;
    const Value m_value;
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateMediaEvent(MediaEventType type, REFGUID extendedType, HRESULT status, const PROPVARIANT *value,
                                  IMFMediaEvent **event)
{
    if (!event)
        return E_POINTER;
    winmedia::Value copy;
    if (value) {
        const HRESULT hr = PropVariantCopy(&copy.raw(), value);
        if (FAILED(hr))
            return hr;
    }
    *event = winmedia::createObject<winmedia::MediaEvent>(type, extendedType, status, std::move(copy)).detach();
    return *event ? S_OK : E_OUTOFMEMORY;
}
