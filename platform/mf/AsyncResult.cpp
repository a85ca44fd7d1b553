#include "platform/mf/AsyncResult.h"

#include <mfapi.h>

namespace winmedia
{

HRESULT AsyncResult::GetState(IUnknown **state)
{
    if (!state || !m_state)
        return E_POINTER;
    return m_state.copyTo(state);
}

HRESULT AsyncResult::GetStatus()
{
    return m_status;
}

HRESULT AsyncResult::SetStatus(HRESULT status)
{
    m_status = status;
    return S_OK;
}

HRESULT AsyncResult::GetObject(IUnknown **object)
{
    if (!object || !m_object)
        return E_POINTER;
    return m_object.copyTo(object);
}

IUnknown *AsyncResult::GetStateNoAddRef()
{
    return m_state.get();
}

DWORD AsyncResult::wantedQueue() const
{
    DWORD flags = 0;
    DWORD queue = MFASYNC_CALLBACK_QUEUE_STANDARD;
    if (!m_callback || FAILED(m_callback->GetParameters(&flags, &queue)))
        return MFASYNC_CALLBACK_QUEUE_STANDARD;
    return queue;
}

void AsyncResult::run()
{
    if (m_callback)
        m_callback->Invoke(this);
}

} // namespace winmedia

HRESULT WINAPI MFCreateAsyncResult(IUnknown *object, IMFAsyncCallback *callback, IUnknown *state,
                                   IMFAsyncResult **result)
{
    if (!result)
        return E_POINTER;
    *result = winmedia::createObject<winmedia::AsyncResult>(object, callback, state).detach();
    return *result ? S_OK : E_OUTOFMEMORY;
}
