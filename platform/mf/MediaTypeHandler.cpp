#include "platform/mf/MediaTypeHandler.h"

#include <mfapi.h>
#include <mferror.h>

namespace winmedia
{

HRESULT MediaTypeHandler::IsMediaTypeSupported(IMFMediaType *type, IMFMediaType **closest)
{
    if (!type)
        return E_POINTER;
    if (closest)
        *closest = nullptr;
    constexpr DWORD needed = MF_MEDIATYPE_EQUAL_MAJOR_TYPES | MF_MEDIATYPE_EQUAL_FORMAT_TYPES;
    for (const auto &offered : m_types) {
        DWORD flags = 0;
        if (SUCCEEDED(offered->IsEqual(type, &flags)) && (flags & needed) == needed)
            return S_OK;
    }
    return MF_E_INVALIDMEDIATYPE;
}

HRESULT MediaTypeHandler::GetMediaTypeCount(DWORD *count)
{
    if (!count)
        return E_POINTER;
    *count = static_cast<DWORD>(m_types.size());
    return S_OK;
}

HRESULT MediaTypeHandler::GetMediaTypeByIndex(DWORD index, IMFMediaType **type)
{
    if (!type)
        return E_POINTER;
    if (index >= m_types.size())
        return MF_E_NO_MORE_TYPES;
    return m_types[index].copyTo(type);
}

HRESULT MediaTypeHandler::SetCurrentMediaType(IMFMediaType *type)
{
    if (!type)
        return E_POINTER;
    Ref<IMFMediaType> next(type); // what it replaces is released without the lock
    const std::lock_guard lock(m_mutex);
    std::swap(m_current, next);
    return S_OK;
}

HRESULT MediaTypeHandler::GetCurrentMediaType(IMFMediaType **type)
{
    if (!type)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    if (!m_current)
        return MF_E_NOT_INITIALIZED;
    return m_current.copyTo(type);
}

HRESULT MediaTypeHandler::GetMajorType(GUID *majorType)
{
    if (!majorType)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    if (m_current)
        return m_current->GetGUID(MF_MT_MAJOR_TYPE, majorType);
    return m_types.front()->GetGUID(MF_MT_MAJOR_TYPE, majorType);
}

} // namespace winmedia
