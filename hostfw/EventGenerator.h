#pragma once

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"

#include <mfidl.h>
#include <mfobjects.h>

#include <atomic>

namespace tvx
{

// An event queue with the interface that media sources, streams and stream sinks have to offer.
// All operations are thread-safe; after IMFShutdown::Shutdown() they return MF_E_SHUTDOWN.
class MULTIMEDIA_EXPORT CBaseEventGenerator : public IMFMediaEventGenerator, public IMFShutdown, public CUnknown
{
public:
    explicit CBaseEventGenerator(IUnknown *outer);
    ~CBaseEventGenerator() override;

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override;

    // IMFMediaEventGenerator
    HRESULT STDMETHODCALLTYPE GetEvent(DWORD flags, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback *callback, IUnknown *state) override;
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult *result, IMFMediaEvent **event) override;
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                         const PROPVARIANT *value) override;

    // IMFShutdown
    HRESULT STDMETHODCALLTYPE Shutdown() override;
    HRESULT STDMETHODCALLTYPE GetShutdownStatus(MFSHUTDOWN_STATUS *status) override;

private:
    CComPtr<IMFMediaEventQueue> m_queue;
    std::atomic<bool> m_shutDown{false};
};

} // namespace tvx
