#include "platform/mf/AsyncResult.h"

#include "platform/mf/Platform.h"

namespace winmedia
{

AsyncResult::AsyncResult(IUnknown *object, IMFAsyncCallback *callback, IUnknown *state)
    : m_object(object), m_callback(callback), m_state(state)
{
    overlapped = {};
    pCallback = callback;
    hrStatusResult = S_OK;
    dwBytesTransferred = 0;
    hEvent = nullptr;
    Platform::instance().lock();
}

AsyncResult::~AsyncResult()
{
    // State and callback may hold results of their own; the platform goes down after them, not between.
    m_state.reset();
    m_callback.reset();
    m_object.reset();
    Platform::instance().unlock();
}

STDMETHODIMP AsyncResult::QueryInterface(REFIID iid, void **out)
{
    if (!out)
        return E_POINTER;
    *out = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IMFAsyncResult))
        return E_NOINTERFACE;
    *out = static_cast<IMFAsyncResult *>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) AsyncResult::AddRef()
{
    return m_references.fetch_add(1, std::memory_order_relaxed) + 1;
}

STDMETHODIMP_(ULONG) AsyncResult::Release()
{
    const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0)
        delete this;
    return left;
}

STDMETHODIMP AsyncResult::GetState(IUnknown **state)
{
    if (!state || !m_state)
        return E_POINTER;
    return m_state.copyTo(state);
}

STDMETHODIMP AsyncResult::GetStatus()
{
    return hrStatusResult;
}

STDMETHODIMP AsyncResult::SetStatus(HRESULT status)
{
    hrStatusResult = status;
    return S_OK;
}

STDMETHODIMP AsyncResult::GetObject(IUnknown **object)
{
    if (!object || !m_object)
        return E_POINTER;
    return m_object.copyTo(object);
}

STDMETHODIMP_(IUnknown *) AsyncResult::GetStateNoAddRef()
{
    return m_state.get();
}

DWORD queueOf(IMFAsyncCallback *callback, DWORD fallback)
{
    DWORD flags = 0;
    DWORD queue = MFASYNC_CALLBACK_QUEUE_UNDEFINED;
    if (!callback || FAILED(callback->GetParameters(&flags, &queue)))
        return fallback;
    return queue == MFASYNC_CALLBACK_QUEUE_UNDEFINED ? fallback : queue;
}

} // namespace winmedia

using namespace winmedia;

HRESULT WINAPI MFCreateAsyncResult(IUnknown *object, IMFAsyncCallback *callback, IUnknown *state, IMFAsyncResult **out)
{
    if (!out)
        return E_INVALIDARG;
    *out = createObject<AsyncResult>(object, callback, state).detach();
    return *out ? S_OK : E_OUTOFMEMORY;
}
