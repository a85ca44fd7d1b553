#pragma once

#include "platform/com/ComObject.h"

#include <mfobjects.h>

#include <atomic>

namespace winmedia
{

// The result of an asynchronous operation, and what a work queue runs: its callback, with itself as the argument.
class AsyncResult : public ComObject<IMFAsyncResult>
{
public:
    AsyncResult(IUnknown *object, IMFAsyncCallback *callback, IUnknown *state)
        : m_object(object), m_callback(callback), m_state(state)
    {
    }

    STDMETHODIMP GetState(IUnknown **state) override;
    STDMETHODIMP GetStatus() override;
    STDMETHODIMP SetStatus(HRESULT status) override;
    STDMETHODIMP GetObject(IUnknown **object) override;
    STDMETHODIMP_(IUnknown *) GetStateNoAddRef() override;

    IMFAsyncCallback *callback() const { return m_callback.get(); }
    // The work queue that the callback asks for, else the standard one.
    DWORD wantedQueue() const;
    void run();

private:
    const Ref<IUnknown> m_object;
    const Ref<IMFAsyncCallback> m_callback;
    const Ref<IUnknown> m_state;
    std::atomic<HRESULT> m_status{S_OK};
};

} // namespace winmedia
