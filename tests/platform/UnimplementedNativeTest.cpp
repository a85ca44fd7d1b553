// What this library does not do says so, and leaves what it would have given empty.

#include "tests/platform/TextureSupport.h"

#include <mfapi.h>

namespace
{

using Unimplemented = DeviceTest;

// A call that would give an object: the result is E_NOTIMPL, and there is none.
template <typename Object, typename Call>
void expectNone(const char *what, Call call)
{
    Object *object = nullptr;
    EXPECT_EQ(call(&object), E_NOTIMPL) << what;
    EXPECT_EQ(object, nullptr) << what;
}

TEST_F(Unimplemented, DeviceMakesNeitherViewsNorBuffers)
{
    const auto texture = makeTexture(stagingTexture(4, 2), countingBytes(32), 16);
    ID3D11Device *const d = device;
    const D3D11_BUFFER_DESC buffer = {};
    const D3D11_TEXTURE1D_DESC line = {};
    const D3D11_TEXTURE3D_DESC volume = {};
    expectNone<ID3D11Buffer>("buffer", [&](auto out) { return d->CreateBuffer(&buffer, nullptr, out); });
    expectNone<ID3D11Texture1D>("1-D", [&](auto out) { return d->CreateTexture1D(&line, nullptr, out); });
    expectNone<ID3D11Texture3D>("3-D", [&](auto out) { return d->CreateTexture3D(&volume, nullptr, out); });
    expectNone<ID3D11ShaderResourceView>("resource view",
                                         [&](auto out) { return d->CreateShaderResourceView(texture, nullptr, out); });
    expectNone<ID3D11UnorderedAccessView>(
        "access view", [&](auto out) { return d->CreateUnorderedAccessView(texture, nullptr, out); });
    expectNone<ID3D11RenderTargetView>("target view",
                                       [&](auto out) { return d->CreateRenderTargetView(texture, nullptr, out); });
    expectNone<ID3D11DepthStencilView>("depth view",
                                       [&](auto out) { return d->CreateDepthStencilView(texture, nullptr, out); });
    expectNone<ID3D11InputLayout>("layout",
                                  [&](auto out) { return d->CreateInputLayout(nullptr, 0, nullptr, 0, out); });
}

TEST_F(Unimplemented, DeviceMakesNoShaders)
{
    ID3D11Device *const d = device;
    expectNone<ID3D11VertexShader>("vertex", [&](auto out) { return d->CreateVertexShader(nullptr, 0, nullptr, out); });
    expectNone<ID3D11GeometryShader>("geometry",
                                     [&](auto out) { return d->CreateGeometryShader(nullptr, 0, nullptr, out); });
    expectNone<ID3D11GeometryShader>("stream output", [&](auto out) {
        return d->CreateGeometryShaderWithStreamOutput(nullptr, 0, nullptr, 0, nullptr, 0, 0, nullptr, out);
    });
    expectNone<ID3D11PixelShader>("pixel", [&](auto out) { return d->CreatePixelShader(nullptr, 0, nullptr, out); });
    expectNone<ID3D11HullShader>("hull", [&](auto out) { return d->CreateHullShader(nullptr, 0, nullptr, out); });
    expectNone<ID3D11DomainShader>("domain", [&](auto out) { return d->CreateDomainShader(nullptr, 0, nullptr, out); });
    expectNone<ID3D11ComputeShader>("compute",
                                    [&](auto out) { return d->CreateComputeShader(nullptr, 0, nullptr, out); });
    expectNone<ID3D11ClassLinkage>("linkage", [&](auto out) { return d->CreateClassLinkage(out); });
}

TEST_F(Unimplemented, DeviceHasNoStatesQueriesOrOtherContexts)
{
    ID3D11Device *const d = device;
    const D3D11_BLEND_DESC blend = {};
    const D3D11_DEPTH_STENCIL_DESC depth = {};
    const D3D11_RASTERIZER_DESC raster = {};
    const D3D11_SAMPLER_DESC sampler = {};
    const D3D11_QUERY_DESC query = {};
    const D3D11_COUNTER_DESC counter = {};
    expectNone<ID3D11BlendState>("blend", [&](auto out) { return d->CreateBlendState(&blend, out); });
    expectNone<ID3D11DepthStencilState>("depth", [&](auto out) { return d->CreateDepthStencilState(&depth, out); });
    expectNone<ID3D11RasterizerState>("raster", [&](auto out) { return d->CreateRasterizerState(&raster, out); });
    expectNone<ID3D11SamplerState>("sampler", [&](auto out) { return d->CreateSamplerState(&sampler, out); });
    expectNone<ID3D11Query>("query", [&](auto out) { return d->CreateQuery(&query, out); });
    expectNone<ID3D11Predicate>("predicate", [&](auto out) { return d->CreatePredicate(&query, out); });
    expectNone<ID3D11Counter>("counter", [&](auto out) { return d->CreateCounter(&counter, out); });
    expectNone<ID3D11DeviceContext>("context", [&](auto out) { return d->CreateDeferredContext(0, out); });
    expectNone<void>("shared", [&](auto out) { return d->OpenSharedResource(nullptr, IID_ID3D11Texture2D, out); });
}

TEST_F(Unimplemented, DeviceTellsNothingOfFeaturesAndKeepsNoPrivateData)
{
    UINT number = 0;
    D3D11_FEATURE_DATA_THREADING threading = {};
    EXPECT_EQ(device->CheckMultisampleQualityLevels(DXGI_FORMAT_B8G8R8A8_UNORM, 4, &number), E_NOTIMPL);
    EXPECT_EQ(device->CheckFeatureSupport(D3D11_FEATURE_THREADING, &threading, sizeof threading), E_NOTIMPL);
    EXPECT_EQ(device->SetExceptionMode(0), E_NOTIMPL);
    EXPECT_EQ(device->GetPrivateData(GUID_NULL, &number, nullptr), E_NOTIMPL);
    EXPECT_EQ(device->SetPrivateData(GUID_NULL, sizeof number, &number), E_NOTIMPL);
    EXPECT_EQ(device->SetPrivateDataInterface(GUID_NULL, device), E_NOTIMPL);
    EXPECT_EQ(context->GetPrivateData(GUID_NULL, &number, nullptr), E_NOTIMPL);
    EXPECT_EQ(context->SetPrivateData(GUID_NULL, sizeof number, &number), E_NOTIMPL);
    EXPECT_EQ(context->SetPrivateDataInterface(GUID_NULL, device), E_NOTIMPL);
    expectNone<ID3D11CommandList>("commands", [&](auto out) { return context->FinishCommandList(FALSE, out); });
    const auto texture = makeTexture(stagingTexture(4, 2), countingBytes(32), 16);
    EXPECT_EQ(texture->GetPrivateData(GUID_NULL, &number, nullptr), E_NOTIMPL);
    EXPECT_EQ(texture->SetPrivateData(GUID_NULL, sizeof number, &number), E_NOTIMPL);
    EXPECT_EQ(texture->SetPrivateDataInterface(GUID_NULL, device), E_NOTIMPL);
    expectNone<void>("parent",
                     [&](auto out) { return faceOf<IDXGISurface>(texture)->GetParent(IID_ID3D11Device, out); });
}

TEST_F(Unimplemented, QueuesHaveNoWindowsAndNoPeriodicCallbacks)
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
    DWORD queue = 0;
    EXPECT_EQ(MFAllocateWorkQueueEx(MF_WINDOW_WORKQUEUE, &queue), E_NOTIMPL);
    DWORD key = 0;
    EXPECT_EQ(MFAddPeriodicCallback(nullptr, nullptr, &key), E_NOTIMPL);
    EXPECT_EQ(MFRemovePeriodicCallback(key), E_NOTIMPL);
    EXPECT_EQ(MFShutdown(), S_OK);
}

} // namespace
