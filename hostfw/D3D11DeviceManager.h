#pragma once

#include "hostfw/ComPtr.h"
#include "hostfw/Export.h"

#include <d3d11.h>
#include <mfobjects.h>

// A Direct3D 11 device shared through Media Foundation's device manager. Thread-safe.
class MULTIMEDIA_EXPORT CD3D11DeviceManager
{
public:
    // E_NOINTERFACE from valid() when `manager` is not an IMFDXGIDeviceManager.
    explicit CD3D11DeviceManager(IUnknown *manager);
    CD3D11DeviceManager(const CD3D11DeviceManager &) = delete;
    CD3D11DeviceManager &operator=(const CD3D11DeviceManager &) = delete;
    ~CD3D11DeviceManager();

    HRESULT valid() const;
    // The manager given, or null.
    IMFDXGIDeviceManager *manager() const;
    // The device as it is now, with a reference for the caller.
    HRESULT getDevice(ID3D11Device **device) const;

private:
    CComPtr<IMFDXGIDeviceManager> m_manager;
};

// Holds the manager's device for its own lifetime.
class MULTIMEDIA_EXPORT CD3D11Device
{
public:
    // Throws ComException with the manager's result when there is no device.
    explicit CD3D11Device(CD3D11DeviceManager &manager);
    CD3D11Device(const CD3D11Device &) = delete;
    CD3D11Device &operator=(const CD3D11Device &) = delete;
    ~CD3D11Device();

    ID3D11Device *operator->() const;

private:
    CComPtr<ID3D11Device> m_device;
};
