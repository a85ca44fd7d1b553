#include "platform/com/ComObject.h"

#include <d3d11.h>
#include <mfapi.h>
#include <mferror.h>
#include <mfobjects.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>

namespace winmedia
{

namespace
{

// Shares one device among those who hold handles. A handle opened before the device was replaced is of no use any more.
// The device is locked by one handle at a time, as often as its holder likes.
class DeviceManager : public ComObject<IMFDXGIDeviceManager>
{
public:
    explicit DeviceManager(UINT token) : m_token(token) {}

    STDMETHODIMP CloseDeviceHandle(HANDLE handle) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_handles.erase(handle) == 0)
            return E_HANDLE;
        if (m_lockedBy == handle)
            unlock();
        return S_OK;
    }
    STDMETHODIMP GetVideoService(HANDLE handle, REFIID iid, void **service) override
    {
        const std::lock_guard lock(m_mutex);
        const HRESULT hr = check(handle);
        return SUCCEEDED(hr) ? m_device->QueryInterface(iid, service) : hr;
    }
    STDMETHODIMP LockDevice(HANDLE handle, REFIID iid, void **device, BOOL block) override
    {
        std::unique_lock lock(m_mutex);
        HRESULT hr = check(handle);
        if (SUCCEEDED(hr) && isLockedByOther(handle)) {
            if (!block)
                return MF_E_DXGI_VIDEO_DEVICE_LOCKED;
            m_changed.wait(lock, [&] { return !isLockedByOther(handle) || FAILED(check(handle)); });
            hr = check(handle);
        }
        if (SUCCEEDED(hr))
            hr = m_device->QueryInterface(iid, device);
        if (FAILED(hr))
            return hr;
        m_lockedBy = handle;
        ++m_locks;
        return S_OK;
    }
    STDMETHODIMP UnlockDevice(HANDLE handle, BOOL /*saveState*/) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_handles.count(handle) == 0)
            return E_HANDLE;
        if (m_lockedBy != handle)
            return E_INVALIDARG;
        if (--m_locks == 0)
            unlock();
        return S_OK;
    }
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
        Ref<IUnknown> next(device);
        const std::lock_guard lock(m_mutex);
        std::swap(m_device, next);
        ++m_generation;
        m_changed.notify_all();
        return S_OK;
    }
    STDMETHODIMP TestDevice(HANDLE handle) override
    {
        const std::lock_guard lock(m_mutex);
        return check(handle);
    }

private:
    // All with m_mutex held.
    HRESULT check(HANDLE handle) const
    {
        const auto entry = m_handles.find(handle);
        if (entry == m_handles.end())
            return E_HANDLE;
        return entry->second == m_generation ? S_OK : MF_E_DXGI_NEW_VIDEO_DEVICE;
    }
    bool isLockedByOther(HANDLE handle) const { return m_lockedBy && m_lockedBy != handle; }
    void unlock()
    {
        m_lockedBy = nullptr;
        m_locks = 0;
        m_changed.notify_all();
    }

    const UINT m_token;
    std::mutex m_mutex; // guards everything below
    std::condition_variable m_changed;
    Ref<IUnknown> m_device;
    std::map<HANDLE, unsigned> m_handles; // with the generation of the device they were opened on
    unsigned m_generation = 0;
    uintptr_t m_lastHandle = 0;
    HANDLE m_lockedBy = nullptr;
    unsigned m_locks = 0;
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
