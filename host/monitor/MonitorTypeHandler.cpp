#include "host/monitor/MonitorTypeHandler.h"

#include <mfapi.h>
#include <mferror.h>

namespace host
{

MonitorTypeHandler::MonitorTypeHandler(IUnknown *stream, std::shared_ptr<SampleConsumer> consumer,
                                       std::function<HRESULT(IMFMediaType *)> adopted)
    : CUnknown(L"MonitorTypeHandler", stream), m_consumer(std::move(consumer)), m_adopted(std::move(adopted))
{
}

HRESULT MonitorTypeHandler::QueryInterface(REFIID iid, void **out)
{
    if (!out)
        return E_POINTER;
    if (IsEqualIID(iid, __uuidof(IMFMediaTypeHandler)) || IsEqualIID(iid, __uuidof(IUnknown)))
        return GetInterface(static_cast<IMFMediaTypeHandler *>(this), out);
    *out = nullptr;
    return E_NOINTERFACE;
}

HRESULT MonitorTypeHandler::IsMediaTypeSupported(IMFMediaType *type, IMFMediaType **closest)
{
    if (closest)
        *closest = nullptr;
    if (!type)
        return E_POINTER;
    GUID majorType = {};
    const bool known = SUCCEEDED(type->GetMajorType(&majorType)) && IsEqualGUID(majorType, m_consumer->majorType());
    return known && m_consumer->takes(type) ? S_OK : MF_E_INVALIDMEDIATYPE;
}

HRESULT MonitorTypeHandler::GetMediaTypeCount(DWORD *count)
{
    if (!count)
        return E_POINTER;
    *count = 0; // whatever the source prefers
    return S_OK;
}

HRESULT MonitorTypeHandler::GetMediaTypeByIndex(DWORD, IMFMediaType **type)
{
    if (!type)
        return E_POINTER;
    *type = nullptr;
    return MF_E_NO_MORE_TYPES;
}

HRESULT MonitorTypeHandler::SetCurrentMediaType(IMFMediaType *type)
{
    const HRESULT hr = IsMediaTypeSupported(type, nullptr);
    if (FAILED(hr))
        return hr;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_current = type;
    }
    return m_adopted(type);
}

HRESULT MonitorTypeHandler::GetCurrentMediaType(IMFMediaType **type)
{
    if (!type)
        return E_POINTER;
    const std::lock_guard<std::mutex> guard(m_lock);
    *type = nullptr;
    return m_current ? m_current.CopyTo(type) : MF_E_NOT_INITIALIZED;
}

HRESULT MonitorTypeHandler::GetMajorType(GUID *majorType)
{
    if (!majorType)
        return E_POINTER;
    *majorType = m_consumer->majorType();
    return S_OK;
}

} // namespace host
