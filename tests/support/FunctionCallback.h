#pragma once

#include "multimedia/AsyncCallback.h"

#include <functional>
#include <utility>

// A function as a callback of the system.
class FunctionCallback : public tvx::AsyncCallback
{
public:
    explicit FunctionCallback(std::function<void(IMFAsyncResult *)> function)
        : AsyncCallback(L"FunctionCallback", nullptr), m_function(std::move(function))
    {
    }

    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *result) override
    {
        m_function(result);
        return S_OK;
    }

private:
    const std::function<void(IMFAsyncResult *)> m_function;
};
