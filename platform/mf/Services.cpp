// What any object may offer besides its main interface: services, and shutting down.

#include "platform/com/ComObject.h"

#include <mferror.h>
#include <mfidl.h>

using winmedia::Ref;

HRESULT WINAPI MFGetService(IUnknown *object, REFGUID service, REFIID iid, void **out)
{
    if (!object || !out)
        return E_POINTER;
    *out = nullptr;
    Ref<IMFGetService> services;
    const HRESULT hr = object->QueryInterface(__uuidof(IMFGetService), reinterpret_cast<void **>(services.put()));
    return SUCCEEDED(hr) ? services->GetService(service, iid, out) : hr;
}

HRESULT WINAPI MFShutdownObject(IUnknown *object)
{
    Ref<IMFShutdown> shutdown;
    if (object && SUCCEEDED(object->QueryInterface(__uuidof(IMFShutdown), reinterpret_cast<void **>(shutdown.put()))))
        shutdown->Shutdown();
    return S_OK;
}
