#pragma once

#include "host/monitor/SampleConsumer.h"

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"

#include <mfidl.h>

#include <functional>
#include <memory>
#include <mutex>

namespace host
{

// Takes any type that the stream's consumer can read. Lives as long as its stream sink, on whose references its own
// count. Thread-safe.
class MonitorTypeHandler final : public IMFMediaTypeHandler, public CUnknown
{
public:
    // `adopted` is called with each type set.
    MonitorTypeHandler(IUnknown *stream, std::shared_ptr<SampleConsumer> consumer,
                       std::function<HRESULT(IMFMediaType *)> adopted);

    // IUnknown: an interface of its own, references of the stream sink.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void **out) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }

    // IMFMediaTypeHandler
    HRESULT STDMETHODCALLTYPE IsMediaTypeSupported(IMFMediaType *type, IMFMediaType **closest) override;
    HRESULT STDMETHODCALLTYPE GetMediaTypeCount(DWORD *count) override;
    HRESULT STDMETHODCALLTYPE GetMediaTypeByIndex(DWORD index, IMFMediaType **type) override;
    HRESULT STDMETHODCALLTYPE SetCurrentMediaType(IMFMediaType *type) override;
    HRESULT STDMETHODCALLTYPE GetCurrentMediaType(IMFMediaType **type) override;
    HRESULT STDMETHODCALLTYPE GetMajorType(GUID *majorType) override;

private:
    const std::shared_ptr<SampleConsumer> m_consumer;
    const std::function<HRESULT(IMFMediaType *)> m_adopted;
    std::mutex m_lock;
    CComPtr<IMFMediaType> m_current; // guarded by m_lock
};

} // namespace host
