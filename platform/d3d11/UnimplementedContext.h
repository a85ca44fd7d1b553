#pragma once

#include <windows.h>

#include <d3d11.h>

namespace winmedia
{

// What a context without a pipeline does not do: `Base`, which is an ID3D11DeviceContext, with the answers to it.
template <typename Base>
class UnimplementedContext : public Base
{
public:
    STDMETHODIMP_(void) VSSetConstantBuffers(UINT, UINT, ID3D11Buffer *const *) override {}
    STDMETHODIMP_(void) PSSetShaderResources(UINT, UINT, ID3D11ShaderResourceView *const *) override {}
    STDMETHODIMP_(void) PSSetShader(ID3D11PixelShader *, ID3D11ClassInstance *const *, UINT) override {}
    STDMETHODIMP_(void) PSSetSamplers(UINT, UINT, ID3D11SamplerState *const *) override {}
    STDMETHODIMP_(void) VSSetShader(ID3D11VertexShader *, ID3D11ClassInstance *const *, UINT) override {}
    STDMETHODIMP_(void) DrawIndexed(UINT, UINT, INT) override {}
    STDMETHODIMP_(void) Draw(UINT, UINT) override {}
    STDMETHODIMP_(void) PSSetConstantBuffers(UINT, UINT, ID3D11Buffer *const *) override {}
    STDMETHODIMP_(void) IASetInputLayout(ID3D11InputLayout *) override {}
    STDMETHODIMP_(void) IASetVertexBuffers(UINT, UINT, ID3D11Buffer *const *, const UINT *, const UINT *) override {}
    STDMETHODIMP_(void) IASetIndexBuffer(ID3D11Buffer *, DXGI_FORMAT, UINT) override {}
    STDMETHODIMP_(void) DrawIndexedInstanced(UINT, UINT, UINT, INT, UINT) override {}
    STDMETHODIMP_(void) DrawInstanced(UINT, UINT, UINT, UINT) override {}
    STDMETHODIMP_(void) GSSetConstantBuffers(UINT, UINT, ID3D11Buffer *const *) override {}
    STDMETHODIMP_(void) GSSetShader(ID3D11GeometryShader *, ID3D11ClassInstance *const *, UINT) override {}
    STDMETHODIMP_(void) IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY) override {}
    STDMETHODIMP_(void) VSSetShaderResources(UINT, UINT, ID3D11ShaderResourceView *const *) override {}
    STDMETHODIMP_(void) VSSetSamplers(UINT, UINT, ID3D11SamplerState *const *) override {}
    STDMETHODIMP_(void) Begin(ID3D11Asynchronous *) override {}
    STDMETHODIMP_(void) End(ID3D11Asynchronous *) override {}
    STDMETHODIMP GetData(ID3D11Asynchronous *, void *, UINT, UINT) override { return E_NOTIMPL; }
    STDMETHODIMP_(void) SetPredication(ID3D11Predicate *, BOOL) override {}
    STDMETHODIMP_(void) GSSetShaderResources(UINT, UINT, ID3D11ShaderResourceView *const *) override {}
    STDMETHODIMP_(void) GSSetSamplers(UINT, UINT, ID3D11SamplerState *const *) override {}
    STDMETHODIMP_(void) OMSetRenderTargets(UINT, ID3D11RenderTargetView *const *, ID3D11DepthStencilView *) override {}
    STDMETHODIMP_(void)
    OMSetRenderTargetsAndUnorderedAccessViews(UINT, ID3D11RenderTargetView *const *, ID3D11DepthStencilView *, UINT,
                                              UINT, ID3D11UnorderedAccessView *const *, const UINT *) override
    {
    }
    STDMETHODIMP_(void) OMSetBlendState(ID3D11BlendState *, const FLOAT *, UINT) override {}
    STDMETHODIMP_(void) OMSetDepthStencilState(ID3D11DepthStencilState *, UINT) override {}
    STDMETHODIMP_(void) SOSetTargets(UINT, ID3D11Buffer *const *, const UINT *) override {}
    STDMETHODIMP_(void) DrawAuto() override {}
    STDMETHODIMP_(void) DrawIndexedInstancedIndirect(ID3D11Buffer *, UINT) override {}
    STDMETHODIMP_(void) DrawInstancedIndirect(ID3D11Buffer *, UINT) override {}
    STDMETHODIMP_(void) Dispatch(UINT, UINT, UINT) override {}
    STDMETHODIMP_(void) DispatchIndirect(ID3D11Buffer *, UINT) override {}
    STDMETHODIMP_(void) RSSetState(ID3D11RasterizerState *) override {}
    STDMETHODIMP_(void) RSSetViewports(UINT, const D3D11_VIEWPORT *) override {}
    STDMETHODIMP_(void) RSSetScissorRects(UINT, const D3D11_RECT *) override {}
    STDMETHODIMP_(void) CopyStructureCount(ID3D11Buffer *, UINT, ID3D11UnorderedAccessView *) override {}
    STDMETHODIMP_(void) ClearRenderTargetView(ID3D11RenderTargetView *, const FLOAT *) override {}
    STDMETHODIMP_(void) ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView *, const UINT *) override {}
    STDMETHODIMP_(void) ClearUnorderedAccessViewFloat(ID3D11UnorderedAccessView *, const FLOAT *) override {}
    STDMETHODIMP_(void) ClearDepthStencilView(ID3D11DepthStencilView *, UINT, FLOAT, UINT8) override {}
    STDMETHODIMP_(void) GenerateMips(ID3D11ShaderResourceView *) override {}
    STDMETHODIMP_(void) SetResourceMinLOD(ID3D11Resource *, FLOAT) override {}
    STDMETHODIMP_(FLOAT) GetResourceMinLOD(ID3D11Resource *) override { return {}; }
    STDMETHODIMP_(void) ResolveSubresource(ID3D11Resource *, UINT, ID3D11Resource *, UINT, DXGI_FORMAT) override {}
    STDMETHODIMP_(void) ExecuteCommandList(ID3D11CommandList *, BOOL) override {}
    STDMETHODIMP_(void) HSSetShaderResources(UINT, UINT, ID3D11ShaderResourceView *const *) override {}
    STDMETHODIMP_(void) HSSetShader(ID3D11HullShader *, ID3D11ClassInstance *const *, UINT) override {}
    STDMETHODIMP_(void) HSSetSamplers(UINT, UINT, ID3D11SamplerState *const *) override {}
    STDMETHODIMP_(void) HSSetConstantBuffers(UINT, UINT, ID3D11Buffer *const *) override {}
    STDMETHODIMP_(void) DSSetShaderResources(UINT, UINT, ID3D11ShaderResourceView *const *) override {}
    STDMETHODIMP_(void) DSSetShader(ID3D11DomainShader *, ID3D11ClassInstance *const *, UINT) override {}
    STDMETHODIMP_(void) DSSetSamplers(UINT, UINT, ID3D11SamplerState *const *) override {}
    STDMETHODIMP_(void) DSSetConstantBuffers(UINT, UINT, ID3D11Buffer *const *) override {}
    STDMETHODIMP_(void) CSSetShaderResources(UINT, UINT, ID3D11ShaderResourceView *const *) override {}
    STDMETHODIMP_(void) CSSetUnorderedAccessViews(UINT, UINT, ID3D11UnorderedAccessView *const *, const UINT *) override
    {
    }
    STDMETHODIMP_(void) CSSetShader(ID3D11ComputeShader *, ID3D11ClassInstance *const *, UINT) override {}
    STDMETHODIMP_(void) CSSetSamplers(UINT, UINT, ID3D11SamplerState *const *) override {}
    STDMETHODIMP_(void) CSSetConstantBuffers(UINT, UINT, ID3D11Buffer *const *) override {}
    STDMETHODIMP_(void) VSGetConstantBuffers(UINT, UINT, ID3D11Buffer **) override {}
    STDMETHODIMP_(void) PSGetShaderResources(UINT, UINT, ID3D11ShaderResourceView **) override {}
    STDMETHODIMP_(void) PSGetShader(ID3D11PixelShader **, ID3D11ClassInstance **, UINT *) override {}
    STDMETHODIMP_(void) PSGetSamplers(UINT, UINT, ID3D11SamplerState **) override {}
    STDMETHODIMP_(void) VSGetShader(ID3D11VertexShader **, ID3D11ClassInstance **, UINT *) override {}
    STDMETHODIMP_(void) PSGetConstantBuffers(UINT, UINT, ID3D11Buffer **) override {}
    STDMETHODIMP_(void) IAGetInputLayout(ID3D11InputLayout **) override {}
    STDMETHODIMP_(void) IAGetVertexBuffers(UINT, UINT, ID3D11Buffer **, UINT *, UINT *) override {}
    STDMETHODIMP_(void) IAGetIndexBuffer(ID3D11Buffer **, DXGI_FORMAT *, UINT *) override {}
    STDMETHODIMP_(void) GSGetConstantBuffers(UINT, UINT, ID3D11Buffer **) override {}
    STDMETHODIMP_(void) GSGetShader(ID3D11GeometryShader **, ID3D11ClassInstance **, UINT *) override {}
    STDMETHODIMP_(void) IAGetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY *) override {}
    STDMETHODIMP_(void) VSGetShaderResources(UINT, UINT, ID3D11ShaderResourceView **) override {}
    STDMETHODIMP_(void) VSGetSamplers(UINT, UINT, ID3D11SamplerState **) override {}
    STDMETHODIMP_(void) GetPredication(ID3D11Predicate **, BOOL *) override {}
    STDMETHODIMP_(void) GSGetShaderResources(UINT, UINT, ID3D11ShaderResourceView **) override {}
    STDMETHODIMP_(void) GSGetSamplers(UINT, UINT, ID3D11SamplerState **) override {}
    STDMETHODIMP_(void) OMGetRenderTargets(UINT, ID3D11RenderTargetView **, ID3D11DepthStencilView **) override {}
    STDMETHODIMP_(void)
    OMGetRenderTargetsAndUnorderedAccessViews(UINT, ID3D11RenderTargetView **, ID3D11DepthStencilView **, UINT, UINT,
                                              ID3D11UnorderedAccessView **) override
    {
    }
    STDMETHODIMP_(void) OMGetBlendState(ID3D11BlendState **, FLOAT *, UINT *) override {}
    STDMETHODIMP_(void) OMGetDepthStencilState(ID3D11DepthStencilState **, UINT *) override {}
    STDMETHODIMP_(void) SOGetTargets(UINT, ID3D11Buffer **) override {}
    STDMETHODIMP_(void) RSGetState(ID3D11RasterizerState **) override {}
    STDMETHODIMP_(void) RSGetViewports(UINT *, D3D11_VIEWPORT *) override {}
    STDMETHODIMP_(void) RSGetScissorRects(UINT *, D3D11_RECT *) override {}
    STDMETHODIMP_(void) HSGetShaderResources(UINT, UINT, ID3D11ShaderResourceView **) override {}
    STDMETHODIMP_(void) HSGetShader(ID3D11HullShader **, ID3D11ClassInstance **, UINT *) override {}
    STDMETHODIMP_(void) HSGetSamplers(UINT, UINT, ID3D11SamplerState **) override {}
    STDMETHODIMP_(void) HSGetConstantBuffers(UINT, UINT, ID3D11Buffer **) override {}
    STDMETHODIMP_(void) DSGetShaderResources(UINT, UINT, ID3D11ShaderResourceView **) override {}
    STDMETHODIMP_(void) DSGetShader(ID3D11DomainShader **, ID3D11ClassInstance **, UINT *) override {}
    STDMETHODIMP_(void) DSGetSamplers(UINT, UINT, ID3D11SamplerState **) override {}
    STDMETHODIMP_(void) DSGetConstantBuffers(UINT, UINT, ID3D11Buffer **) override {}
    STDMETHODIMP_(void) CSGetShaderResources(UINT, UINT, ID3D11ShaderResourceView **) override {}
    STDMETHODIMP_(void) CSGetUnorderedAccessViews(UINT, UINT, ID3D11UnorderedAccessView **) override {}
    STDMETHODIMP_(void) CSGetShader(ID3D11ComputeShader **, ID3D11ClassInstance **, UINT *) override {}
    STDMETHODIMP_(void) CSGetSamplers(UINT, UINT, ID3D11SamplerState **) override {}
    STDMETHODIMP_(void) CSGetConstantBuffers(UINT, UINT, ID3D11Buffer **) override {}
    STDMETHODIMP FinishCommandList(BOOL, ID3D11CommandList **) override { return E_NOTIMPL; }
    STDMETHODIMP GetPrivateData(REFGUID, UINT *, void *) override { return E_NOTIMPL; }
    STDMETHODIMP SetPrivateData(REFGUID, UINT, const void *) override { return E_NOTIMPL; }
    STDMETHODIMP SetPrivateDataInterface(REFGUID, const IUnknown *) override { return E_NOTIMPL; }
};

} // namespace winmedia
