#pragma once

// What the tests of textures share: a device that needs no graphics hardware, and the content of textures.

#include "tests/platform/DataSupport.h"

#include <d3d11.h>

inline D3D11_TEXTURE2D_DESC plainTexture(UINT width, UINT height, DXGI_FORMAT format = DXGI_FORMAT_B8G8R8A8_UNORM)
{
    D3D11_TEXTURE2D_DESC description = {};
    description.Width = width;
    description.Height = height;
    description.MipLevels = 1;
    description.ArraySize = 1;
    description.Format = format;
    description.SampleDesc.Count = 1;
    description.Usage = D3D11_USAGE_DEFAULT;
    return description;
}

inline D3D11_TEXTURE2D_DESC stagingTexture(UINT width, UINT height, DXGI_FORMAT format = DXGI_FORMAT_B8G8R8A8_UNORM)
{
    D3D11_TEXTURE2D_DESC description = plainTexture(width, height, format);
    description.Usage = D3D11_USAGE_STAGING;
    description.CPUAccessFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
    return description;
}

class DeviceTest : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_WARP, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION, &device,
                                    nullptr, &context),
                  S_OK);
    }
    void TearDown() override
    {
        context.Release();
        device.Release();
        StartedPlatform::TearDown();
    }

    CComPtr<ID3D11Texture2D> makeTexture(const D3D11_TEXTURE2D_DESC &description, const Bytes &content = {},
                                         UINT pitch = 0)
    {
        const D3D11_SUBRESOURCE_DATA data = {content.data(), pitch, 0};
        CComPtr<ID3D11Texture2D> texture;
        EXPECT_EQ(device->CreateTexture2D(&description, content.empty() ? nullptr : &data, &texture), S_OK);
        return texture;
    }

    // The packed content of a slice of a texture of four bytes per pixel.
    Bytes read(ID3D11Texture2D *texture, UINT slice = 0)
    {
        D3D11_TEXTURE2D_DESC description = {};
        texture->GetDesc(&description);
        const auto copy = makeTexture(stagingTexture(description.Width, description.Height, description.Format));
        context->CopySubresourceRegion(copy, 0, 0, 0, 0, texture, slice, nullptr);
        D3D11_MAPPED_SUBRESOURCE mapped = {};
        EXPECT_EQ(context->Map(copy, 0, D3D11_MAP_READ, 0, &mapped), S_OK);
        Bytes content;
        for (UINT line = 0; line < description.Height; ++line) {
            const auto *const data =
                static_cast<const BYTE *>(mapped.pData) + static_cast<size_t>(mapped.RowPitch) * line;
            content.insert(content.end(), data, data + static_cast<size_t>(description.Width) * 4);
        }
        context->Unmap(copy, 0);
        return content;
    }

    CComPtr<ID3D11Device> device;
    CComPtr<ID3D11DeviceContext> context;
};
