// A Direct3D 11 device whose only resources are two-dimensional textures in system memory. It draws nothing and has no
// immediate context; every other operation is not implemented.

#include "platform/d3d11/Texture2D.h"

#include <d3d9types.h>
#include <mfapi.h>

#include <cstring>

namespace winmedia
{

namespace
{

constexpr UINT pitchAlignment = 64; // bytes
constexpr UINT maxSide = D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION;

struct FormatRow {
    DXGI_FORMAT dxgi;
    DWORD fourcc;
};
constexpr FormatRow formatRows[] = {
    {DXGI_FORMAT_YUY2, MAKEFOURCC('Y', 'U', 'Y', '2')}, {DXGI_FORMAT_NV12, MAKEFOURCC('N', 'V', '1', '2')},
    {DXGI_FORMAT_AYUV, MAKEFOURCC('A', 'Y', 'U', 'V')}, {DXGI_FORMAT_B8G8R8A8_UNORM, D3DFMT_A8R8G8B8},
    {DXGI_FORMAT_B8G8R8X8_UNORM, D3DFMT_X8R8G8B8},      {DXGI_FORMAT_R8G8B8A8_UNORM, D3DFMT_A8B8G8R8},
};

class Device : public ComObject<ID3D11Device>
{
public:
    STDMETHODIMP CreateTexture2D(const D3D11_TEXTURE2D_DESC *description, const D3D11_SUBRESOURCE_DATA *data,
                                 ID3D11Texture2D **texture) override;
    STDMETHODIMP CheckFormatSupport(DXGI_FORMAT format, UINT *support) override;
    STDMETHODIMP_(D3D_FEATURE_LEVEL) GetFeatureLevel() override { return D3D_FEATURE_LEVEL_11_0; }
    STDMETHODIMP_(UINT) GetCreationFlags() override { return 0; }
    STDMETHODIMP GetDeviceRemovedReason() override { return S_OK; }
    STDMETHODIMP_(void) GetImmediateContext(ID3D11DeviceContext **context) override { *context = nullptr; }

    STDMETHODIMP CreateBuffer(const D3D11_BUFFER_DESC *, const D3D11_SUBRESOURCE_DATA *, ID3D11Buffer **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateTexture1D(const D3D11_TEXTURE1D_DESC *, const D3D11_SUBRESOURCE_DATA *,
                                 ID3D11Texture1D **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateTexture3D(const D3D11_TEXTURE3D_DESC *, const D3D11_SUBRESOURCE_DATA *,
                                 ID3D11Texture3D **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateShaderResourceView(ID3D11Resource *, const D3D11_SHADER_RESOURCE_VIEW_DESC *,
                                          ID3D11ShaderResourceView **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateUnorderedAccessView(ID3D11Resource *, const D3D11_UNORDERED_ACCESS_VIEW_DESC *,
                                           ID3D11UnorderedAccessView **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateRenderTargetView(ID3D11Resource *, const D3D11_RENDER_TARGET_VIEW_DESC *,
                                        ID3D11RenderTargetView **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateDepthStencilView(ID3D11Resource *, const D3D11_DEPTH_STENCIL_VIEW_DESC *,
                                        ID3D11DepthStencilView **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateInputLayout(const D3D11_INPUT_ELEMENT_DESC *, UINT, const void *, SIZE_T,
                                   ID3D11InputLayout **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateVertexShader(const void *, SIZE_T, ID3D11ClassLinkage *, ID3D11VertexShader **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateGeometryShader(const void *, SIZE_T, ID3D11ClassLinkage *, ID3D11GeometryShader **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateGeometryShaderWithStreamOutput(const void *, SIZE_T, const D3D11_SO_DECLARATION_ENTRY *, UINT,
                                                      const UINT *, UINT, UINT, ID3D11ClassLinkage *,
                                                      ID3D11GeometryShader **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreatePixelShader(const void *, SIZE_T, ID3D11ClassLinkage *, ID3D11PixelShader **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateHullShader(const void *, SIZE_T, ID3D11ClassLinkage *, ID3D11HullShader **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateDomainShader(const void *, SIZE_T, ID3D11ClassLinkage *, ID3D11DomainShader **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateComputeShader(const void *, SIZE_T, ID3D11ClassLinkage *, ID3D11ComputeShader **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateClassLinkage(ID3D11ClassLinkage **) override { return E_NOTIMPL; }
    STDMETHODIMP CreateBlendState(const D3D11_BLEND_DESC *, ID3D11BlendState **) override { return E_NOTIMPL; }
    STDMETHODIMP CreateDepthStencilState(const D3D11_DEPTH_STENCIL_DESC *, ID3D11DepthStencilState **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateRasterizerState(const D3D11_RASTERIZER_DESC *, ID3D11RasterizerState **) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateSamplerState(const D3D11_SAMPLER_DESC *, ID3D11SamplerState **) override { return E_NOTIMPL; }
    STDMETHODIMP CreateQuery(const D3D11_QUERY_DESC *, ID3D11Query **) override { return E_NOTIMPL; }
    STDMETHODIMP CreatePredicate(const D3D11_QUERY_DESC *, ID3D11Predicate **) override { return E_NOTIMPL; }
    STDMETHODIMP CreateCounter(const D3D11_COUNTER_DESC *, ID3D11Counter **) override { return E_NOTIMPL; }
    STDMETHODIMP CreateDeferredContext(UINT, ID3D11DeviceContext **) override { return E_NOTIMPL; }
    STDMETHODIMP OpenSharedResource(HANDLE, REFIID, void **) override { return E_NOTIMPL; }
    STDMETHODIMP CheckMultisampleQualityLevels(DXGI_FORMAT, UINT, UINT *) override { return E_NOTIMPL; }
    STDMETHODIMP_(void) CheckCounterInfo(D3D11_COUNTER_INFO *) override {}
    STDMETHODIMP CheckCounter(const D3D11_COUNTER_DESC *, D3D11_COUNTER_TYPE *, UINT *, LPSTR, UINT *, LPSTR, UINT *,
                              LPSTR, UINT *) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CheckFeatureSupport(D3D11_FEATURE, void *, UINT) override { return E_NOTIMPL; }
    STDMETHODIMP GetPrivateData(REFGUID, UINT *, void *) override { return E_NOTIMPL; }
    STDMETHODIMP SetPrivateData(REFGUID, UINT, const void *) override { return E_NOTIMPL; }
    STDMETHODIMP SetPrivateDataInterface(REFGUID, const IUnknown *) override { return E_NOTIMPL; }
    STDMETHODIMP SetExceptionMode(UINT) override { return E_NOTIMPL; }
    STDMETHODIMP_(UINT) GetExceptionMode() override { return 0; }
};

HRESULT Device::CreateTexture2D(const D3D11_TEXTURE2D_DESC *description, const D3D11_SUBRESOURCE_DATA *data,
                                ID3D11Texture2D **texture)
{
    if (!description || description->Width == 0 || description->Height == 0 || description->Width > maxSide ||
        description->Height > maxSide || description->SampleDesc.Count != 1)
        return E_INVALIDARG;
    const ImageFormat *const format = findTextureFormat(description->Format);
    if (!format)
        return E_INVALIDARG;
    // Subsampled formats have no half groups.
    const bool oddWidth = description->Width % 2 != 0;
    const bool oddHeight = description->Height % 2 != 0;
    if ((format->groupPixels > 1 && oddWidth) || (format->chromaNumerator > 0 && (oddWidth || oddHeight)))
        return E_INVALIDARG;
    if (description->MipLevels != 1 || description->ArraySize != 1)
        return E_NOTIMPL;
    if (!texture)
        return S_FALSE;

    const UINT bytes = lineBytes(*format, description->Width);
    const UINT lines = totalLines(*format, description->Height);
    const UINT pitch = (bytes + pitchAlignment - 1) / pitchAlignment * pitchAlignment;
    const size_t size = static_cast<size_t>(pitch) * lines;
    Texture2D::Memory memory(static_cast<BYTE *>(std::aligned_alloc(pitchAlignment, size)));
    if (!memory)
        return E_OUTOFMEMORY;
    if (data)
        MFCopyImage(memory.get(), static_cast<LONG>(pitch), static_cast<const BYTE *>(data->pSysMem),
                    static_cast<LONG>(data->SysMemPitch), bytes, lines);
    else
        std::memset(memory.get(), 0, size);
    *texture = createObject<Texture2D>(this, *description, std::move(memory), pitch).detach();
    return *texture ? S_OK : E_OUTOFMEMORY;
}

HRESULT Device::CheckFormatSupport(DXGI_FORMAT format, UINT *support)
{
    if (!support)
        return E_INVALIDARG;
    *support = findTextureFormat(format) ? D3D11_FORMAT_SUPPORT_TEXTURE2D : 0;
    return *support ? S_OK : E_FAIL;
}

} // namespace

const ImageFormat *findTextureFormat(DXGI_FORMAT format)
{
    for (const FormatRow &row : formatRows)
        if (row.dxgi == format)
            return findImageFormat(row.fourcc);
    return nullptr;
}

} // namespace winmedia

HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter *adapter, D3D_DRIVER_TYPE /*type*/, HMODULE /*software*/, UINT /*flags*/,
                                 const D3D_FEATURE_LEVEL * /*levels*/, UINT /*levelCount*/, UINT /*sdkVersion*/,
                                 ID3D11Device **device, D3D_FEATURE_LEVEL *level, ID3D11DeviceContext **context)
{
    if (adapter || context)
        return E_NOTIMPL;
    if (level)
        *level = D3D_FEATURE_LEVEL_11_0;
    if (!device)
        return S_FALSE;
    *device = winmedia::createObject<winmedia::Device>().detach();
    return *device ? S_OK : E_OUTOFMEMORY;
}
