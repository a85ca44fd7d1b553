// Formats of video, which software renderers of the system need not have, what is documented and not refused by every
// system, and what this device cannot do.

#include "tests/platform/TextureSupport.h"

#include <d3d11_4.h>

#include <algorithm>

namespace
{

class VideoTexture : public DeviceTest
{
protected:
    // All lines of a picture of one byte per column and pixel, chroma included.
    Bytes readPlanes(ID3D11Texture2D *texture, UINT lineBytes, UINT lines)
    {
        D3D11_MAPPED_SUBRESOURCE mapped = {};
        EXPECT_EQ(context->Map(texture, 0, D3D11_MAP_READ, 0, &mapped), S_OK);
        Bytes content;
        for (UINT line = 0; line < lines; ++line) {
            const auto *const data =
                static_cast<const BYTE *>(mapped.pData) + static_cast<size_t>(mapped.RowPitch) * line;
            content.insert(content.end(), data, data + lineBytes);
        }
        context->Unmap(texture, 0);
        return content;
    }
};

class DeviceLimits : public DeviceTest
{
protected:
    HRESULT create(const D3D11_TEXTURE2D_DESC &description)
    {
        CComPtr<ID3D11Texture2D> texture;
        return device->CreateTexture2D(&description, nullptr, &texture);
    }
};

} // namespace

TEST_F(VideoTexture, HasWholeGroupsOfPixelsOnly)
{
    const std::pair<DXGI_FORMAT, SIZE> wrong[] = {
        {DXGI_FORMAT_NV12, {5, 4}}, {DXGI_FORMAT_NV12, {4, 5}}, {DXGI_FORMAT_YUY2, {5, 4}}};
    for (const auto &[format, size] : wrong) {
        const auto description = plainTexture(static_cast<UINT>(size.cx), static_cast<UINT>(size.cy), format);
        CComPtr<ID3D11Texture2D> texture;
        EXPECT_EQ(device->CreateTexture2D(&description, nullptr, &texture), E_INVALIDARG) << format;
    }
    EXPECT_TRUE(makeTexture(plainTexture(4, 5, DXGI_FORMAT_YUY2)));
}

TEST_F(VideoTexture, IsCopiedWithItsChroma)
{
    const Bytes content = countingBytes(8 * 6);
    const auto source = makeTexture(plainTexture(8, 4, DXGI_FORMAT_NV12), content, 8);
    const auto destination = makeTexture(stagingTexture(8, 4, DXGI_FORMAT_NV12));
    context->CopyResource(destination, source);
    EXPECT_EQ(readPlanes(destination, 8, 6), content);
}

TEST_F(VideoTexture, IsCopiedInPartWithThePartsChroma)
{
    const Bytes content = countingBytes(8 * 6);
    const auto source = makeTexture(plainTexture(8, 4, DXGI_FORMAT_NV12), content, 8);
    const auto destination = makeTexture(stagingTexture(8, 4, DXGI_FORMAT_NV12));
    const D3D11_BOX part = {2, 2, 0, 6, 4, 1};
    context->CopySubresourceRegion(destination, 0, 4, 0, 0, source, 0, &part);
    Bytes expected(48, 0);
    for (const auto &[from, to] : {std::pair{2, 0}, std::pair{3, 1}, std::pair{5, 4}})
        std::copy_n(content.begin() + from * 8 + 2, 4, expected.begin() + to * 8 + 4);
    EXPECT_EQ(readPlanes(destination, 8, 6), expected);
}

TEST_F(VideoTexture, IsNotCopiedAcrossAGroupOrAnEdge)
{
    const auto source = makeTexture(plainTexture(8, 4, DXGI_FORMAT_NV12), countingBytes(48), 8);
    const auto destination = makeTexture(stagingTexture(8, 4, DXGI_FORMAT_NV12));
    const D3D11_BOX odd = {1, 0, 0, 3, 2, 1};
    const D3D11_BOX oddLines = {0, 1, 0, 2, 3, 1};
    const D3D11_BOX beyond = {6, 0, 0, 10, 2, 1};
    const D3D11_BOX fitting = {0, 0, 0, 4, 2, 1};
    context->CopySubresourceRegion(destination, 0, 0, 0, 0, source, 0, &odd);
    context->CopySubresourceRegion(destination, 0, 0, 0, 0, source, 0, &oddLines);
    context->CopySubresourceRegion(destination, 0, 0, 0, 0, source, 0, &beyond);
    context->CopySubresourceRegion(destination, 0, 6, 0, 0, source, 0, &fitting);
    context->CopySubresourceRegion(destination, 0, 0, 4, 0, source, 0, &fitting);
    EXPECT_EQ(readPlanes(destination, 8, 6), Bytes(48, 0));
}

TEST_F(VideoTexture, IsNotCopiedToAnotherFormatOrSize)
{
    const auto source = makeTexture(plainTexture(8, 4, DXGI_FORMAT_NV12), countingBytes(48), 8);
    const auto larger = makeTexture(stagingTexture(8, 6, DXGI_FORMAT_NV12));
    context->CopyResource(larger, source);
    EXPECT_EQ(readPlanes(larger, 8, 9), Bytes(72, 0));
    const auto other = makeTexture(stagingTexture(8, 4, DXGI_FORMAT_B8G8R8X8_UNORM));
    context->CopyResource(other, source);
    EXPECT_EQ(read(other), Bytes(128, 0));
}

TEST_F(VideoTexture, OfDynamicUsageIsMappedToBeDiscarded)
{
    auto description = plainTexture(4, 2);
    description.Usage = D3D11_USAGE_DYNAMIC;
    description.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    description.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    const auto texture = makeTexture(description);
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    EXPECT_EQ(context->Map(texture, 0, D3D11_MAP_WRITE, 0, &mapped), E_INVALIDARG);
    EXPECT_EQ(context->Map(texture, 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped), S_OK);
    context->Unmap(texture, 0);
}

TEST_F(DeviceLimits, CopyToNoImmutableTexture)
{
    const Bytes content = countingBytes(32);
    auto description = plainTexture(4, 2);
    description.Usage = D3D11_USAGE_IMMUTABLE;
    description.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    const auto texture = makeTexture(description, content, 16);
    const auto source = makeTexture(plainTexture(4, 2), Bytes(32, 0xEE), 16);
    context->CopyResource(texture, source);
    EXPECT_EQ(read(texture), content);
}

TEST_F(DeviceLimits, KeepEvictionPrioritiesAsWords)
{
    const auto texture = makeTexture(plainTexture(4, 2));
    EXPECT_EQ(texture->GetEvictionPriority(), static_cast<UINT>(DXGI_RESOURCE_PRIORITY_NORMAL));
    texture->SetEvictionPriority(DXGI_RESOURCE_PRIORITY_HIGH);
    EXPECT_EQ(texture->GetEvictionPriority(), static_cast<UINT>(DXGI_RESOURCE_PRIORITY_HIGH));
}

TEST_F(DeviceLimits, MakesNoTexturesThatAreTooLarge)
{
    EXPECT_EQ(create(plainTexture(16385, 16)), E_INVALIDARG);
    EXPECT_EQ(create(plainTexture(16, 16385)), E_INVALIDARG);
}

TEST_F(DeviceLimits, ChecksADescriptionWithoutMakingATexture)
{
    const auto description = plainTexture(16, 16);
    EXPECT_EQ(device->CreateTexture2D(&description, nullptr, nullptr), S_FALSE);
}

TEST(DeviceNative, IsNotMadeForAnotherInterfaceVersion)
{
    CComPtr<ID3D11Device> other;
    EXPECT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_WARP, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION + 1, &other,
                                nullptr, nullptr),
              E_INVALIDARG);
}

TEST(DeviceNative, OffersLevel11AndVideoFormats)
{
    D3D_FEATURE_LEVEL level = D3D_FEATURE_LEVEL_9_1;
    CComPtr<ID3D11Device> device;
    ASSERT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, D3D11_CREATE_DEVICE_VIDEO_SUPPORT, nullptr,
                                0, D3D11_SDK_VERSION, &device, &level, nullptr),
              S_OK);
    EXPECT_EQ(level, D3D_FEATURE_LEVEL_11_0);
    EXPECT_EQ(device->GetCreationFlags(), static_cast<UINT>(D3D11_CREATE_DEVICE_VIDEO_SUPPORT));
    for (const auto format :
         {DXGI_FORMAT_NV12, DXGI_FORMAT_YUY2, DXGI_FORMAT_B8G8R8A8_UNORM, DXGI_FORMAT_B8G8R8X8_UNORM}) {
        UINT support = 0;
        EXPECT_EQ(device->CheckFormatSupport(format, &support), S_OK) << format;
        EXPECT_TRUE(support & D3D11_FORMAT_SUPPORT_TEXTURE2D) << format;
    }
    UINT support = 0;
    EXPECT_EQ(device->CheckFormatSupport(DXGI_FORMAT_BC7_UNORM, &support), E_FAIL);
    const D3D_FEATURE_LEVEL beyond[] = {D3D_FEATURE_LEVEL_11_1};
    CComPtr<ID3D11Device> other;
    EXPECT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, beyond, 1, D3D11_SDK_VERSION, &other,
                                nullptr, nullptr),
              E_INVALIDARG);
    EXPECT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION, nullptr,
                                nullptr, nullptr),
              S_FALSE);
}

TEST(DeviceNative, HasOneLockForDeviceAndContext)
{
    CComPtr<ID3D11Device> device;
    CComPtr<ID3D11DeviceContext> context;
    ASSERT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION, &device,
                                nullptr, &context),
              S_OK);
    const auto ofDevice = faceOf<ID3D11Multithread>(device);
    const auto ofContext = faceOf<ID3D11Multithread>(context);
    ASSERT_TRUE(ofDevice);
    ASSERT_TRUE(ofContext);
    EXPECT_FALSE(ofDevice->SetMultithreadProtected(TRUE));
    EXPECT_TRUE(ofContext->GetMultithreadProtected());
    ofContext->Enter();
    ofDevice->Enter();
    ofDevice->Leave();
    ofContext->Leave();
    EXPECT_TRUE(ofContext->SetMultithreadProtected(FALSE));
    EXPECT_FALSE(ofDevice->GetMultithreadProtected());
}

TEST(DeviceNative, DrawsNothing)
{
    CComPtr<ID3D11Device> device;
    ASSERT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION, &device,
                                nullptr, nullptr),
              S_OK);
    CComPtr<ID3D11DeviceContext> deferred;
    EXPECT_EQ(device->CreateDeferredContext(0, &deferred), E_NOTIMPL);
    auto description = plainTexture(4, 4);
    description.MipLevels = 2;
    CComPtr<ID3D11Texture2D> texture;
    EXPECT_EQ(device->CreateTexture2D(&description, nullptr, &texture), E_NOTIMPL);
}
