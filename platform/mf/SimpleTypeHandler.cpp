#include "platform/com/ComObject.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <mutex>

namespace winmedia
{

namespace
{

// Knows one type, the one in use, which may be none.
class SimpleTypeHandler : public ComObject<IMFMediaTypeHandler>
{
public:
    STDMETHODIMP IsMediaTypeSupported(IMFMediaType *type, IMFMediaType **closest) override
    {
        if (closest)
            *closest = nullptr;
        const Ref<IMFMediaType> current = currentType();
        if (!current)
            return MF_E_UNEXPECTED;
        constexpr DWORD needed = MF_MEDIATYPE_EQUAL_MAJOR_TYPES | MF_MEDIATYPE_EQUAL_FORMAT_TYPES;
        DWORD flags = 0;
        const bool same = SUCCEEDED(current->IsEqual(type, &flags)) && (flags & needed) == needed;
        return same ? S_OK : MF_E_INVALIDMEDIATYPE;
    }
    STDMETHODIMP GetMediaTypeCount(DWORD *count) override
    {
        if (!count)
            return E_POINTER;
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetMediaTypeByIndex(DWORD index, IMFMediaType **type) override
    {
        return index == 0 ? GetCurrentMediaType(type) : MF_E_NO_MORE_TYPES;
    }
    STDMETHODIMP SetCurrentMediaType(IMFMediaType *type) override
    {
        Ref<IMFMediaType> next(type);
        const std::lock_guard lock(m_mutex);
        std::swap(m_current, next);
        return S_OK;
    }
    STDMETHODIMP GetCurrentMediaType(IMFMediaType **type) override
    {
        return type ? currentType().copyTo(type) : E_POINTER;
    }
    STDMETHODIMP GetMajorType(GUID *majorType) override
    {
        if (!majorType)
            return E_POINTER;
        const Ref<IMFMediaType> current = currentType();
        return current ? current->GetMajorType(majorType) : MF_E_NOT_INITIALIZED;
    }

private:
    Ref<IMFMediaType> currentType()
    {
        const std::lock_guard lock(m_mutex);
        return m_current;
    }

    std::mutex m_mutex;
    Ref<IMFMediaType> m_current; // guarded by m_mutex
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateSimpleTypeHandler(IMFMediaTypeHandler **handler)
{
    if (!handler)
        return E_POINTER;
    *handler = winmedia::createObject<winmedia::SimpleTypeHandler>().detach();
    return *handler ? S_OK : E_OUTOFMEMORY;
}
