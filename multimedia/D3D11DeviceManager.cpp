#include "hostfw/D3D11DeviceManager.h"

#include "hostfw/ComException.h"

CD3D11DeviceManager::CD3D11DeviceManager(IUnknown *manager)
{
    if (manager)
        manager->QueryInterface(__uuidof(IMFDXGIDeviceManager), reinterpret_cast<void **>(&m_manager));
}

CD3D11DeviceManager::~CD3D11DeviceManager() = default;

HRESULT CD3D11DeviceManager::valid() const
{
    return m_manager ? S_OK : E_NOINTERFACE;
}

IMFDXGIDeviceManager *CD3D11DeviceManager::manager() const
{
    return m_manager;
}

HRESULT CD3D11DeviceManager::getDevice(ID3D11Device **device) const
{
    if (!m_manager)
        return E_NOINTERFACE;
    HANDLE handle = nullptr;
    HRESULT hr = m_manager->OpenDeviceHandle(&handle);
    if (FAILED(hr))
        return hr;
    hr = m_manager->GetVideoService(handle, __uuidof(ID3D11Device), reinterpret_cast<void **>(device));
    m_manager->CloseDeviceHandle(handle);
    return hr;
}

CD3D11Device::CD3D11Device(CD3D11DeviceManager &manager)
{
    const HRESULT hr = manager.getDevice(&m_device);
    if (FAILED(hr))
        throw ComException(hr, QStringLiteral("No Direct3D 11 device"));
}

CD3D11Device::~CD3D11Device() = default;

ID3D11Device *CD3D11Device::operator->() const
{
    return m_device;
}
