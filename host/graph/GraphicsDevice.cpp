#include "host/graph/GraphicsDevice.h"

#include "host/Log.h"

#include <d3d11.h>
#include <mfapi.h>
#include <mfidl.h>
#include <mftransform.h>

namespace host
{

void GraphicsDevice::offerTo(IMFMediaSource *source)
{
    CComPtr<IMFMediaSourceEx> extended;
    CComPtr<IMFAttributes> attributes;
    UINT32 aware = FALSE;
    if (FAILED(source->QueryInterface(__uuidof(IMFMediaSourceEx), reinterpret_cast<void **>(&extended))) ||
        FAILED(extended->GetSourceAttributes(&attributes)) || !attributes ||
        FAILED(attributes->GetUINT32(MF_SA_D3D11_AWARE, &aware)) || !aware)
        return;
    if (IMFDXGIDeviceManager *const shared = manager())
        extended->SetD3DManager(shared);
}

IMFDXGIDeviceManager *GraphicsDevice::manager()
{
    if (!m_tried) {
        m_tried = true;
        const HRESULT hr = create();
        if (FAILED(hr)) {
            m_manager.Release();
            qCInfo(lcHost, "No Direct3D 11 device (0x%08X): hardware samples are not available",
                   static_cast<unsigned>(hr));
        }
    }
    return m_manager;
}

HRESULT GraphicsDevice::create()
{
    CComPtr<ID3D11Device> device;
    HRESULT hr = D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, D3D11_CREATE_DEVICE_VIDEO_SUPPORT,
                                   nullptr, 0, D3D11_SDK_VERSION, &device, nullptr, nullptr);
    if (FAILED(hr))
        hr = D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_WARP, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION, &device,
                               nullptr, nullptr);
    if (FAILED(hr))
        return hr;
    UINT token = 0;
    hr = MFCreateDXGIDeviceManager(&token, &m_manager);
    return FAILED(hr) ? hr : m_manager->ResetDevice(device, token);
}

} // namespace host
