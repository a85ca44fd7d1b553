#include "host/pipeline/Later.h"

#include "host/pipeline/AsyncCallback.h"
#include "host/pipeline/ComFactory.h"

#include <mfapi.h>

#include <utility>

namespace host
{

namespace
{

class LaterCallback final : public AsyncCallback
{
public:
    explicit LaterCallback(std::function<void()> function)
        : AsyncCallback(L"LaterCallback", nullptr), m_function(std::move(function))
    {
    }

    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *) override
    {
        std::exchange(m_function, {})();
        return S_OK;
    }

private:
    std::function<void()> m_function; // called once
};

} // namespace

HRESULT runLater(unsigned milliseconds, std::function<void()> function)
{
    const auto callback = createObject<LaterCallback>(std::move(function));
    if (!callback)
        return E_OUTOFMEMORY;
    return milliseconds == 0 ? MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_STANDARD, callback, nullptr)
                             : MFScheduleWorkItem(callback, nullptr, -static_cast<INT64>(milliseconds), nullptr);
}

HRESULT runAside(std::function<void()> function)
{
    const auto callback = createObject<LaterCallback>(std::move(function));
    return callback ? MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_LONG_FUNCTION, callback, nullptr) : E_OUTOFMEMORY;
}

} // namespace host
