#pragma once

#include "platform/com/ComObject.h"

#include <mfidl.h>

#include <mutex>
#include <vector>

namespace winmedia
{

// The type handler of a stream descriptor: offers the types it was given, and is used with any one of them.
class MediaTypeHandler : public ComObject<IMFMediaTypeHandler>
{
public:
    explicit MediaTypeHandler(std::vector<Ref<IMFMediaType>> types) : m_types(std::move(types)) {}

    STDMETHODIMP IsMediaTypeSupported(IMFMediaType *type, IMFMediaType **closest) override;
    STDMETHODIMP GetMediaTypeCount(DWORD *count) override;
    STDMETHODIMP GetMediaTypeByIndex(DWORD index, IMFMediaType **type) override;
    STDMETHODIMP SetCurrentMediaType(IMFMediaType *type) override;
    STDMETHODIMP GetCurrentMediaType(IMFMediaType **type) override;
    STDMETHODIMP GetMajorType(GUID *majorType) override;

private:
    const std::vector<Ref<IMFMediaType>> m_types;
    std::mutex m_mutex;
    Ref<IMFMediaType> m_current; // guarded by m_mutex
};

} // namespace winmedia
