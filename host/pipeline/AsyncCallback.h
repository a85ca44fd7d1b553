#pragma once

#include "hostfw/CUnknown.h"

#include <mfobjects.h>

namespace host
{

// What Media Foundation calls back, all but Invoke(). No wish for a queue.
class AsyncCallback : public IMFAsyncCallback, public CUnknown
{
public:
    using CUnknown::CUnknown;

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (out && IsEqualIID(iid, __uuidof(IMFAsyncCallback)))
            return GetInterface(static_cast<IMFAsyncCallback *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD *, DWORD *) override { return E_NOTIMPL; }
};

} // namespace host
