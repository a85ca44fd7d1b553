#pragma once

#include "platform/com/ComObject.h"
#include "platform/d3d11/UnimplementedContext.h"

#include <d3d11_4.h>

#include <atomic>
#include <mutex>

namespace winmedia
{

// Keeps threads from each other while one of them is in a device: for those that ask for it, and inside the context.
class DeviceLock
{
public:
    void enter() { m_mutex.lock(); }
    void leave() { m_mutex.unlock(); }
    BOOL protect(BOOL enable) { return m_isProtected.exchange(enable != FALSE); }
    BOOL isProtected() const { return m_isProtected; }

private:
    std::recursive_mutex m_mutex;
    std::atomic<bool> m_isProtected{false};
};

class ContextInterfaces : public ID3D11DeviceContext, public ID3D11Multithread
{
};

// The one context of a device, a part of it: references to the context are references to the device. Its commands are
// done when they return.
class ImmediateContext final : public UnimplementedContext<ContextInterfaces>
{
public:
    ImmediateContext(ID3D11Device &device, DeviceLock &lock) : m_device(device), m_lock(lock) {}
    ImmediateContext(const ImmediateContext &) = delete;
    ImmediateContext &operator=(const ImmediateContext &) = delete;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void **out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return m_device.AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return m_device.Release(); }
    // ID3D11DeviceChild
    STDMETHODIMP_(void) GetDevice(ID3D11Device **device) override;
    // ID3D11DeviceContext
    STDMETHODIMP Map(ID3D11Resource *resource, UINT subresource, D3D11_MAP kind, UINT flags,
                     D3D11_MAPPED_SUBRESOURCE *mapped) override;
    STDMETHODIMP_(void) Unmap(ID3D11Resource *, UINT) override {}
    STDMETHODIMP_(void)
    CopySubresourceRegion(ID3D11Resource *destination, UINT destinationIndex, UINT x, UINT y, UINT z,
                          ID3D11Resource *source, UINT sourceIndex, const D3D11_BOX *part) override;
    STDMETHODIMP_(void) CopyResource(ID3D11Resource *destination, ID3D11Resource *source) override;
    STDMETHODIMP_(void)
    UpdateSubresource(ID3D11Resource *resource, UINT subresource, const D3D11_BOX *part, const void *data, UINT pitch,
                      UINT depthPitch) override;
    STDMETHODIMP_(void) ClearState() override {}
    STDMETHODIMP_(void) Flush() override {}
    STDMETHODIMP_(D3D11_DEVICE_CONTEXT_TYPE) GetType() override { return D3D11_DEVICE_CONTEXT_IMMEDIATE; }
    STDMETHODIMP_(UINT) GetContextFlags() override { return 0; }
    // ID3D11Multithread
    STDMETHODIMP_(void) Enter() override { m_lock.enter(); }
    STDMETHODIMP_(void) Leave() override { m_lock.leave(); }
    STDMETHODIMP_(BOOL) SetMultithreadProtected(BOOL enable) override { return m_lock.protect(enable); }
    STDMETHODIMP_(BOOL) GetMultithreadProtected() override { return m_lock.isProtected(); }

private:
    ID3D11Device &m_device;
    DeviceLock &m_lock;
};

} // namespace winmedia
