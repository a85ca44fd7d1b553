#include "platform/com/ComObject.h"

#include <d3d11.h>
#include <mfapi.h>
#include <mferror.h>
#include <mfobjects.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>

namespace winmedia
{

namespace
{

// Shares one device among those who hold handles. A handle opened before the device was replaced is of no use any more.
class DeviceManager : public ComObject<IMFDXGIDeviceManager>
{
public:
    explicit DeviceManager(UINT token) : m_token(token) {}

    STDMETHODIMP CloseDeviceHandle(HANDLE handle) override
    {
        const std::lock_guard lock(m_mutex);
        return m_handles.erase(handle) ? S_OK : E_HANDLE;
    }
    STDMETHODIMP GetVideoService(HANDLE handle, REFIID iid, void **service) override
    {
        const std::lock_guard lock(m_mutex);
        const HRESULT hr = check(handle);
        return SUCCEEDED(hr) ? m_device->QueryInterface(iid, service) : hr;
    }
    STDMETHODIMP LockDevice(HANDLE, REFIID, void **, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockDevice(HANDLE, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP OpenDeviceHandle(HANDLE *handle) override
    {
        if (!handle)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        if (!m_device)
            return MF_E_DXGI_DEVICE_NOT_INITIALIZED;
        *handle = reinterpret_cast<HANDLE>(++m_lastHandle);
        m_handles[*handle] = m_generation;
        return S_OK;
    }
    STDMETHODIMP ResetDevice(IUnknown *device, UINT token) override
    {
        if (!device || token != m_token)
            return E_INVALIDARG;
        const std::lock_guard lock(m_mutex);
        m_device = device;
        ++m_generation;
        return S_OK;
    }
    STDMETHODIMP TestDevice(HANDLE handle) override
    {
        const std::lock_guard lock(m_mutex);
        return check(handle);
    }

private:
    HRESULT check(HANDLE handle) const
    {
        const auto entry = m_handles.find(handle);
        if (entry == m_handles.end())
            return E_HANDLE;
        return entry->second == m_generation ? S_OK : MF_E_DXGI_NEW_VIDEO_DEVICE;
    }

    const UINT m_token;
    std::mutex m_mutex; // guards everything below
    Ref<IUnknown> m_device;
    std::map<HANDLE, unsigned> m_handles; // with the generation of the device they were opened on
    unsigned m_generation = 0;
    uintptr_t m_lastHandle = 0;
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateDXGIDeviceManager(UINT *token, IMFDXGIDeviceManager **manager)
{
    static std::atomic<UINT> lastToken{0};
    if (!token || !manager)
        return E_POINTER;
    *token = ++lastToken;
    *manager = winmedia::createObject<winmedia::DeviceManager>(*token).detach();
    return *manager ? S_OK : E_OUTOFMEMORY;
}
