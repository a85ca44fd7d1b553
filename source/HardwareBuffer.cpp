#include "source/HardwareBuffer.h"

#include "hostfw/ComException.h"
#include "hostfw/VideoFormats.h"
#include "source/SourceChecks.h"

#include <mfapi.h>

namespace
{

HRESULT createTextureBuffer(UINT32 width, UINT32 height, const GUID &subtype, const CD3D11Device &d3dDevice,
                            IMFMediaBuffer **outBuffer)
{
    D3D11_TEXTURE2D_DESC textureDesc = {};
    textureDesc.Width = width;
    textureDesc.Height = height;
    textureDesc.MipLevels = 1;
    textureDesc.ArraySize = 1;
    textureDesc.Format = GetDXGIFmtBySubtype(subtype);
    textureDesc.SampleDesc.Count = 1;
    textureDesc.SampleDesc.Quality = 0;
    textureDesc.Usage = D3D11_USAGE_DEFAULT;
    textureDesc.BindFlags = 0;
    textureDesc.CPUAccessFlags = 0;
    textureDesc.MiscFlags = 0;
    CComPtr<ID3D11Texture2D> texture;
    CHECK_HR(d3dDevice->CreateTexture2D(&textureDesc, nullptr, &texture));

    CComPtr<IMFMediaBuffer> mediaBuffer;
    CHECK_HR(MFCreateDXGISurfaceBuffer(__uuidof(ID3D11Texture2D), texture, 0, 0, &mediaBuffer));
    CHECK_HR(mediaBuffer.QueryInterface(outBuffer));
    return S_OK;
}

} // namespace

HRESULT createHardwareBuffer(UINT32 width, UINT32 height, const GUID &subtype, CD3D11DeviceManager *d3dDeviceManager,
                             IMFMediaBuffer **outBuffer)
{
    CHECK_POINTER(d3dDeviceManager);
    try {
        return createTextureBuffer(width, height, subtype, CD3D11Device(*d3dDeviceManager), outBuffer);
    } catch (const ComException &exception) {
        // A device that is lost now may be there again for the next frame.
        return exception.getErrorCode();
    }
}
