#pragma once

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "tests/multimedia/Recorded.h"

#include <mfapi.h>
#include <mfobjects.h>

#include <functional>
#include <memory>
#include <utility>

// A function as a callback of the system.
class WorkItem : public IMFAsyncCallback, public CUnknown
{
public:
    explicit WorkItem(std::function<void(IMFAsyncResult *)> function)
        : CUnknown(L"WorkItem", nullptr), m_function(std::move(function))
    {
    }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (IsEqualIID(iid, __uuidof(IMFAsyncCallback)))
            return GetInterface(static_cast<IMFAsyncCallback *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD *, DWORD *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *result) override
    {
        m_function(result);
        return S_OK;
    }

private:
    const std::function<void(IMFAsyncResult *)> m_function;
};

// Whether the standard work queue, which runs one item after another, has run what was put on it before.
inline bool drainStandardQueue()
{
    const auto reached = std::make_shared<Gate>();
    const CComPtr<IMFAsyncCallback> item(new WorkItem([reached](IMFAsyncResult *) { reached->open(); }));
    return SUCCEEDED(MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_STANDARD, item, nullptr)) && reached->wait();
}
