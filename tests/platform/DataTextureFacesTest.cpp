// What devices, contexts and textures are besides what they are made as.

#include "tests/platform/TextureSupport.h"

#include <d3d11_4.h>
#include <dxgi.h>

namespace
{

using DeviceFaces = DeviceTest;
using ContextFaces = DeviceTest;
using SurfaceOfTexture = DeviceTest;

D3D11_TEXTURE2D_DESC dynamicTexture()
{
    D3D11_TEXTURE2D_DESC description = plainTexture(4, 2);
    description.Usage = D3D11_USAGE_DYNAMIC;
    description.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    description.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    return description;
}

} // namespace

TEST_F(DeviceFaces, TellWhatFormatsAreGoodFor)
{
    for (const auto format : {DXGI_FORMAT_B8G8R8A8_UNORM, DXGI_FORMAT_B8G8R8X8_UNORM, DXGI_FORMAT_R8G8B8A8_UNORM}) {
        UINT support = 0;
        EXPECT_EQ(device->CheckFormatSupport(format, &support), S_OK) << format;
        EXPECT_TRUE(support & D3D11_FORMAT_SUPPORT_TEXTURE2D) << format;
    }
    UINT support = 9;
    EXPECT_EQ(device->CheckFormatSupport(static_cast<DXGI_FORMAT>(9999), &support), E_FAIL);
    EXPECT_EQ(support, 0U);
}

TEST_F(DeviceFaces, HaveNoFlagsThatNobodySet)
{
    EXPECT_EQ(device->GetCreationFlags(), 0U);
    EXPECT_EQ(context->GetContextFlags(), 0U);
}

TEST_F(DeviceFaces, AreNotMade_WhenNobodyTakesThem)
{
    D3D_FEATURE_LEVEL level = {};
    EXPECT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_WARP, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION, nullptr,
                                &level, nullptr),
              S_FALSE);
    EXPECT_GE(level, D3D_FEATURE_LEVEL_9_1);
}

TEST_F(ContextFaces, AreThoseOfAContextOnly)
{
    const auto child = faceOf<ID3D11DeviceChild>(context);
    ASSERT_TRUE(child);
    EXPECT_TRUE(isSameObject(child.p, context));
    EXPECT_TRUE(faceOf<ID3D11DeviceContext>(child));
    EXPECT_FALSE(faceOf<ID3D11Device>(context));
    EXPECT_FALSE(faceOf<ID3D11DeviceContext>(device));
    EXPECT_FALSE(isSameObject(context.p, device));
}

TEST_F(ContextFaces, HaveOneProtectionWithTheDevice)
{
    const auto ofContext = faceOf<ID3D11Multithread>(context);
    const auto ofDevice = faceOf<ID3D11Multithread>(device);
    ASSERT_TRUE(ofContext);
    ASSERT_TRUE(ofDevice);
    ofContext->SetMultithreadProtected(TRUE);
    EXPECT_TRUE(ofDevice->GetMultithreadProtected());
    EXPECT_TRUE(ofContext->GetMultithreadProtected());
    ofContext->Enter();
    ofDevice->Enter();
    ofDevice->Leave();
    ofContext->Leave();
}

TEST_F(ContextFaces, KeepTextures_WhenStateIsClearedAndCommandsAreFlushed)
{
    const Bytes content = countingBytes(32);
    const auto texture = makeTexture(plainTexture(4, 2));
    context->UpdateSubresource(texture, 0, nullptr, content.data(), 16, 0);
    context->ClearState();
    context->Flush();
    EXPECT_EQ(read(texture), content);
}

TEST_F(SurfaceOfTexture, LeadsToTheDevice)
{
    const auto surface = faceOf<IDXGISurface>(makeTexture(plainTexture(4, 2)));
    ASSERT_TRUE(surface);
    CComPtr<ID3D11Device> owner;
    EXPECT_EQ(surface->GetDevice(__uuidof(ID3D11Device), reinterpret_cast<void **>(&owner)), S_OK);
    EXPECT_EQ(owner.p, device.p);
}

TEST_F(SurfaceOfTexture, IsMappedIfTheTextureIs)
{
    const Bytes content = countingBytes(32);
    const auto surface = faceOf<IDXGISurface>(makeTexture(stagingTexture(4, 2), content, 16));
    ASSERT_TRUE(surface);
    DXGI_MAPPED_RECT mapped = {};
    ASSERT_EQ(surface->Map(&mapped, DXGI_MAP_READ), S_OK);
    const BYTE *const second = mapped.pBits + mapped.Pitch;
    EXPECT_EQ(Bytes(second, second + 16), Bytes(content.begin() + 16, content.end()));
    EXPECT_EQ(surface->Unmap(), S_OK);
    EXPECT_EQ(surface->Map(&mapped, 0), E_INVALIDARG);
    const auto hidden = faceOf<IDXGISurface>(makeTexture(plainTexture(4, 2)));
    EXPECT_EQ(hidden->Map(&mapped, DXGI_MAP_READ), E_INVALIDARG);
}

TEST_F(SurfaceOfTexture, IsThatOfASingleSlice)
{
    auto description = plainTexture(4, 2);
    description.ArraySize = 2;
    const auto texture = makeTexture(description);
    EXPECT_FALSE(faceOf<IDXGISurface>(texture));
}

TEST_F(ContextFaces, MapDynamicTexturesToDiscardThem)
{
    const auto texture = makeTexture(dynamicTexture());
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    EXPECT_EQ(context->Map(texture, 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped), S_OK);
    EXPECT_NE(mapped.pData, nullptr);
    context->Unmap(texture, 0);
    EXPECT_EQ(context->Map(texture, 0, D3D11_MAP_READ, 0, &mapped), E_INVALIDARG);
}

TEST_F(DeviceFaces, MakeNoDynamicTextureThatNobodyWrites)
{
    CComPtr<ID3D11Texture2D> texture;
    auto description = dynamicTexture();
    description.CPUAccessFlags = 0;
    EXPECT_EQ(device->CreateTexture2D(&description, nullptr, &texture), E_INVALIDARG);
    EXPECT_FALSE(texture);
}
