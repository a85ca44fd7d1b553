#pragma once

#include "platform/com/ComObject.h"
#include "platform/com/RecycledMemory.h"

#include <mfapi.h>

#include <atomic>

namespace winmedia
{

// What an asynchronous operation hands to its callback. It holds object, callback and state, and keeps the platform
// up while it lives. Made by createAsyncResult(); it deletes itself when the last reference goes.
class AsyncResult final : public MFASYNCRESULT, public RecycledMemory<AsyncResult>
{
public:
    AsyncResult(IUnknown *object, IMFAsyncCallback *callback, IUnknown *state);
    AsyncResult(const AsyncResult &) = delete;
    AsyncResult &operator=(const AsyncResult &) = delete;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void **out) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    // IMFAsyncResult
    STDMETHODIMP GetState(IUnknown **state) override;
    STDMETHODIMP GetStatus() override;
    STDMETHODIMP SetStatus(HRESULT status) override;
    STDMETHODIMP GetObject(IUnknown **object) override;
    STDMETHODIMP_(IUnknown *) GetStateNoAddRef() override;

private:
    ~AsyncResult();

    Ref<IUnknown> m_object;
    Ref<IMFAsyncCallback> m_callback;
    Ref<IUnknown> m_state;
    std::atomic<ULONG> m_references{1};
};

// The callback of any asynchronous result: by contract every implementation begins with an MFASYNCRESULT.
inline IMFAsyncCallback *callbackOf(IMFAsyncResult *result)
{
    return static_cast<MFASYNCRESULT *>(result)->pCallback;
}

// The work queue that a callback asks for, `fallback` when it does not mind.
DWORD queueOf(IMFAsyncCallback *callback, DWORD fallback = MFASYNC_CALLBACK_QUEUE_STANDARD);

} // namespace winmedia
