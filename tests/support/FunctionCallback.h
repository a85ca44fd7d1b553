#pragma once

#include "hostfw/CUnknown.h"

#include <mfobjects.h>

#include <functional>
#include <utility>

// A function as a callback of the system.
class FunctionCallback : public IMFAsyncCallback, public CUnknown
{
public:
    explicit FunctionCallback(std::function<void(IMFAsyncResult *)> function)
        : CUnknown(L"FunctionCallback", nullptr), m_function(std::move(function))
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
