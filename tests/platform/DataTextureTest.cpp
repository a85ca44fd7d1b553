#include "tests/platform/TextureSupport.h"

#include <d3d11_4.h>
#include <dxgi.h>

#include <algorithm>

namespace
{

class Device : public DeviceTest
{
protected:
    HRESULT create(const D3D11_TEXTURE2D_DESC &description, const D3D11_SUBRESOURCE_DATA *data = nullptr)
    {
        CComPtr<ID3D11Texture2D> texture;
        return device->CreateTexture2D(&description, data, &texture);
    }
};

using Context = DeviceTest;
using Texture = DeviceTest;

} // namespace

TEST_F(Device, IsMadeWithItsContext)
{
    EXPECT_GE(device->GetFeatureLevel(), D3D_FEATURE_LEVEL_9_1);
    EXPECT_EQ(device->GetDeviceRemovedReason(), S_OK);
    CComPtr<ID3D11DeviceContext> same;
    device->GetImmediateContext(&same);
    EXPECT_EQ(same.p, context.p);
    EXPECT_EQ(context->GetType(), D3D11_DEVICE_CONTEXT_IMMEDIATE);
    CComPtr<ID3D11Device> owner;
    context->GetDevice(&owner);
    EXPECT_EQ(owner.p, device.p);
}

TEST_F(Device, OutlivesItsCreatorWhileItsContextIsHeld)
{
    device.Release();
    CComPtr<ID3D11Device> owner;
    context->GetDevice(&owner);
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->GetDeviceRemovedReason(), S_OK);
}

TEST_F(Device, TellsTheFirstLevelWithinReach)
{
    const D3D_FEATURE_LEVEL levels[] = {D3D_FEATURE_LEVEL_10_1, D3D_FEATURE_LEVEL_10_0};
    D3D_FEATURE_LEVEL level = D3D_FEATURE_LEVEL_9_1;
    CComPtr<ID3D11Device> other;
    ASSERT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_WARP, nullptr, 0, levels, 2, D3D11_SDK_VERSION, &other, &level,
                                nullptr),
              S_OK);
    EXPECT_EQ(level, D3D_FEATURE_LEVEL_10_1);
    EXPECT_EQ(other->GetFeatureLevel(), D3D_FEATURE_LEVEL_10_1);
}

TEST_F(Device, IsProtectedFromThreadsWhenTold)
{
    const auto multithread = faceOf<ID3D11Multithread>(device);
    ASSERT_TRUE(multithread);
    multithread->SetMultithreadProtected(TRUE);
    EXPECT_TRUE(multithread->GetMultithreadProtected());
    multithread->Enter();
    multithread->Enter();
    multithread->Leave();
    multithread->Leave();
}

TEST_F(Device, MakesNoTexturesWithoutPixels)
{
    EXPECT_EQ(create(plainTexture(0, 16)), E_INVALIDARG);
    EXPECT_EQ(create(plainTexture(16, 0)), E_INVALIDARG);
}

TEST_F(Device, MakesNoTexturesOfUnknownFormat)
{
    EXPECT_EQ(create(plainTexture(16, 16, static_cast<DXGI_FORMAT>(9999))), E_INVALIDARG);
}

TEST_F(Device, MakesNoTexturesThatContradictThemselves)
{
    auto description = plainTexture(16, 16);
    description.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    EXPECT_EQ(create(description), E_INVALIDARG);
    description = stagingTexture(16, 16);
    description.CPUAccessFlags = 0;
    EXPECT_EQ(create(description), E_INVALIDARG);
    description = stagingTexture(16, 16);
    description.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    EXPECT_EQ(create(description), E_INVALIDARG);
    description = plainTexture(16, 16);
    description.Usage = D3D11_USAGE_IMMUTABLE;
    EXPECT_EQ(create(description), E_INVALIDARG);
}

TEST_F(Texture, IsAsDescribed)
{
    const auto texture = makeTexture(plainTexture(64, 32));
    D3D11_TEXTURE2D_DESC description = {};
    texture->GetDesc(&description);
    EXPECT_EQ(description.Width, 64U);
    EXPECT_EQ(description.Height, 32U);
    EXPECT_EQ(description.Format, DXGI_FORMAT_B8G8R8A8_UNORM);
    D3D11_RESOURCE_DIMENSION dimension = D3D11_RESOURCE_DIMENSION_UNKNOWN;
    texture->GetType(&dimension);
    EXPECT_EQ(dimension, D3D11_RESOURCE_DIMENSION_TEXTURE2D);
    CComPtr<ID3D11Device> owner;
    texture->GetDevice(&owner);
    EXPECT_EQ(owner.p, device.p);
}

TEST_F(Texture, AnswersAsResourceAndAsSurface)
{
    const auto texture = makeTexture(plainTexture(64, 32));
    EXPECT_TRUE(faceOf<ID3D11Resource>(texture));
    EXPECT_TRUE(faceOf<ID3D11DeviceChild>(texture));
    const auto surface = faceOf<IDXGISurface>(texture);
    ASSERT_TRUE(surface);
    DXGI_SURFACE_DESC description = {};
    EXPECT_EQ(surface->GetDesc(&description), S_OK);
    EXPECT_EQ(description.Width, 64U);
    EXPECT_EQ(description.Height, 32U);
    EXPECT_TRUE(isSameObject(surface.p, texture));
}

TEST_F(Texture, BeginsWithTheBytesItIsGiven)
{
    const Bytes content = countingBytes(16 * 4);
    const auto texture = makeTexture(plainTexture(4, 4), content, 16);
    EXPECT_EQ(read(texture), content);
}

TEST_F(Texture, KeepsItsDeviceAlive)
{
    const auto texture = makeTexture(plainTexture(4, 4));
    context.Release();
    device.Release();
    CComPtr<ID3D11Device> owner;
    texture->GetDevice(&owner);
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->GetDeviceRemovedReason(), S_OK);
}

TEST_F(Texture, HasSlices)
{
    auto description = plainTexture(4, 2);
    description.ArraySize = 2;
    CComPtr<ID3D11Texture2D> texture;
    ASSERT_EQ(device->CreateTexture2D(&description, nullptr, &texture), S_OK);
    const Bytes content = countingBytes(32);
    context->UpdateSubresource(texture, 1, nullptr, content.data(), 16, 0);
    EXPECT_EQ(read(texture, 0), Bytes(32, 0));
    EXPECT_EQ(read(texture, 1), content);
    context->UpdateSubresource(texture, 2, nullptr, content.data(), 16, 0);
}

TEST_F(Context, MapsStagingTexturesOnly)
{
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    const auto plain = makeTexture(plainTexture(4, 4));
    EXPECT_EQ(context->Map(plain, 0, D3D11_MAP_READ, 0, &mapped), E_INVALIDARG);
    const auto staging = makeTexture(stagingTexture(4, 4));
    EXPECT_EQ(context->Map(staging, 0, D3D11_MAP_READ, 0, &mapped), S_OK);
    EXPECT_NE(mapped.pData, nullptr);
    EXPECT_GE(mapped.RowPitch, 16U);
    context->Unmap(staging, 0);
    EXPECT_EQ(context->Map(staging, 1, D3D11_MAP_READ, 0, &mapped), E_INVALIDARG);
}

TEST_F(Context, MapsForWhatATextureAllows)
{
    auto description = stagingTexture(4, 4);
    description.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    const auto texture = makeTexture(description);
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    EXPECT_EQ(context->Map(texture, 0, D3D11_MAP_WRITE, 0, &mapped), E_INVALIDARG);
    EXPECT_EQ(context->Map(texture, 0, D3D11_MAP_READ, 0, &mapped), S_OK);
    context->Unmap(texture, 0);
}

TEST_F(Context, KeepsWhatWasWrittenToAMapping)
{
    const auto staging = makeTexture(stagingTexture(4, 2));
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    ASSERT_EQ(context->Map(staging, 0, D3D11_MAP_WRITE, 0, &mapped), S_OK);
    for (int line = 0; line < 2; ++line)
        std::fill_n(static_cast<BYTE *>(mapped.pData) + line * mapped.RowPitch, 16, static_cast<BYTE>(line + 1));
    context->Unmap(staging, 0);
    Bytes expected(16, 1);
    expected.insert(expected.end(), 16, 2);
    EXPECT_EQ(read(staging), expected);
}

TEST_F(Context, UpdatesAWholeTexture)
{
    const auto texture = makeTexture(plainTexture(4, 2));
    const Bytes content = countingBytes(32);
    context->UpdateSubresource(texture, 0, nullptr, content.data(), 16, 0);
    EXPECT_EQ(read(texture), content);
}

TEST_F(Context, UpdatesAPartOfATexture)
{
    const auto texture = makeTexture(plainTexture(4, 2), Bytes(32, 0xEE), 16);
    const D3D11_BOX part = {1, 1, 0, 3, 2, 1};
    const Bytes content = countingBytes(8);
    context->UpdateSubresource(texture, 0, &part, content.data(), 8, 0);
    Bytes expected(32, 0xEE);
    std::copy(content.begin(), content.end(), expected.begin() + 20);
    EXPECT_EQ(read(texture), expected);
}

TEST_F(Context, CopiesTexturesOfOneSize)
{
    const Bytes content = countingBytes(32);
    const auto source = makeTexture(plainTexture(4, 2), content, 16);
    const auto destination = makeTexture(plainTexture(4, 2));
    context->CopyResource(destination, source);
    EXPECT_EQ(read(destination), content);
}

TEST_F(Context, CopiesAPartToAnotherPlace)
{
    const auto source = makeTexture(plainTexture(4, 2), countingBytes(32), 16);
    const auto destination = makeTexture(plainTexture(4, 2), Bytes(32, 0xEE), 16);
    const D3D11_BOX part = {2, 1, 0, 4, 2, 1};
    context->CopySubresourceRegion(destination, 0, 1, 0, 0, source, 0, &part);
    const Bytes content = countingBytes(32);
    Bytes expected(32, 0xEE);
    std::copy_n(content.begin() + 24, 8, expected.begin() + 4);
    EXPECT_EQ(read(destination), expected);
}

TEST_F(Context, CopiesNothingOfAnEmptyPart)
{
    const auto source = makeTexture(plainTexture(4, 2), countingBytes(32), 16);
    const auto destination = makeTexture(plainTexture(4, 2), Bytes(32, 0xEE), 16);
    const D3D11_BOX part = {2, 1, 0, 2, 2, 1};
    context->CopySubresourceRegion(destination, 0, 0, 0, 0, source, 0, &part);
    EXPECT_EQ(read(destination), Bytes(32, 0xEE));
}

TEST_F(Context, CopiesNothingToAnotherSizeOrFormat)
{
    const auto source = makeTexture(plainTexture(4, 2), countingBytes(32), 16);
    const auto larger = makeTexture(plainTexture(4, 3), Bytes(48, 0xEE), 16);
    context->CopyResource(larger, source);
    EXPECT_EQ(read(larger), Bytes(48, 0xEE));
    const auto other = makeTexture(plainTexture(4, 2, DXGI_FORMAT_R8G8B8A8_UNORM), Bytes(32, 0xEE), 16);
    context->CopyResource(other, source);
    EXPECT_EQ(read(other), Bytes(32, 0xEE));
}

TEST_F(Context, CopiesNothingBeyondAnEdge)
{
    const auto source = makeTexture(plainTexture(4, 2), countingBytes(32), 16);
    const auto destination = makeTexture(plainTexture(4, 2), Bytes(32, 0xEE), 16);
    const D3D11_BOX beyond = {2, 0, 0, 6, 1, 1};
    const D3D11_BOX below = {0, 1, 0, 2, 3, 1};
    const D3D11_BOX fitting = {0, 0, 0, 2, 1, 1};
    context->CopySubresourceRegion(destination, 0, 0, 0, 0, source, 0, &beyond);
    context->CopySubresourceRegion(destination, 0, 0, 0, 0, source, 0, &below);
    context->CopySubresourceRegion(destination, 0, 3, 0, 0, source, 0, &fitting);
    context->CopySubresourceRegion(destination, 0, 0, 2, 0, source, 0, &fitting);
    context->CopySubresourceRegion(destination, 0, 0, 0, 0, source, 1, &fitting);
    EXPECT_EQ(read(destination), Bytes(32, 0xEE));
}
