#pragma once

#include <windows.h>

#include <d3d11.h>

namespace winmedia
{

// What a device of textures in system memory cannot do: `Base`, which is an ID3D11Device, with the answers to it.
template <typename Base>
class UnimplementedDevice : public Base
{
public:
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
    STDMETHODIMP_(UINT) GetExceptionMode() override { return {}; }
};

} // namespace winmedia
