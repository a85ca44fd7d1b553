#include "hostfw/EventGenerator.h"

#include "hostfw/ComException.h"

#include <mfapi.h>
#include <mferror.h>

namespace tvx
{

CBaseEventGenerator::CBaseEventGenerator(IUnknown *outer) : CUnknown(L"CBaseEventGenerator", outer)
{
    const HRESULT hr = MFCreateEventQueue(&m_queue);
    if (FAILED(hr))
        throw ComException(hr, QStringLiteral("No event queue"));
}

CBaseEventGenerator::~CBaseEventGenerator()
{
    m_queue->Shutdown();
}

HRESULT CBaseEventGenerator::NonDelegatingQueryInterface(REFIID iid, void **out)
{
    if (IsEqualIID(iid, __uuidof(IMFMediaEventGenerator)))
        return GetInterface(static_cast<IMFMediaEventGenerator *>(this), out);
    if (IsEqualIID(iid, __uuidof(IMFShutdown)))
        return GetInterface(static_cast<IMFShutdown *>(this), out);
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT CBaseEventGenerator::GetEvent(DWORD flags, IMFMediaEvent **event)
{
    return m_queue->GetEvent(flags, event);
}

HRESULT CBaseEventGenerator::BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state)
{
    return m_queue->BeginGetEvent(callback, state);
}

HRESULT CBaseEventGenerator::EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event)
{
    return m_queue->EndGetEvent(result, event);
}

HRESULT CBaseEventGenerator::QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                        const PROPVARIANT *value)
{
    return m_queue->QueueEventParamVar(type, extendedType, status, value);
}

HRESULT CBaseEventGenerator::Shutdown()
{
    return m_shutDown.exchange(true) ? MF_E_SHUTDOWN : m_queue->Shutdown();
}

HRESULT CBaseEventGenerator::GetShutdownStatus(MFSHUTDOWN_STATUS *status)
{
    if (!status)
        return E_INVALIDARG;
    if (!m_shutDown)
        return MF_E_INVALIDREQUEST;
    *status = MFSHUTDOWN_COMPLETED;
    return S_OK;
}

} // namespace tvx
