// What not every system can do of buffers on textures: contiguous bytes, pictures turned over, slices, formats of
// video.

#include "tests/platform/TextureSupport.h"

namespace
{

class SurfaceBufferNative : public DeviceTest
{
};

} // namespace

TEST_F(SurfaceBufferNative, ReversesLinesWhenPackedOnly)
{
    const auto texture = makeTexture(plainTexture(1, 2), {1, 1, 1, 1, 2, 2, 2, 2}, 4);
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(MFCreateDXGISurfaceBuffer(__uuidof(ID3D11Texture2D), texture, 0, TRUE, &buffer), S_OK);
    EXPECT_EQ(contentOf(buffer), (Bytes{2, 2, 2, 2, 1, 1, 1, 1}));
    EXPECT_EQ(read(texture), (Bytes{1, 1, 1, 1, 2, 2, 2, 2}));
    BYTE *first = nullptr;
    LONG pitch = 0;
    const auto lines = faceOf<IMF2DBuffer>(buffer);
    ASSERT_EQ(lines->Lock2D(&first, &pitch), S_OK);
    EXPECT_GT(pitch, 0);
    EXPECT_EQ(*first, 1);
    EXPECT_EQ(lines->Unlock2D(), S_OK);
}

TEST_F(SurfaceBufferNative, ShowsOneSlice)
{
    auto description = plainTexture(1, 1);
    description.ArraySize = 2;
    const D3D11_SUBRESOURCE_DATA data[] = {{"1111", 4, 0}, {"2222", 4, 0}};
    CComPtr<ID3D11Texture2D> texture;
    ASSERT_EQ(device->CreateTexture2D(&description, data, &texture), S_OK);
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(MFCreateDXGISurfaceBuffer(__uuidof(ID3D11Texture2D), texture, 2, FALSE, &buffer), E_INVALIDARG);
    ASSERT_EQ(MFCreateDXGISurfaceBuffer(__uuidof(ID3D11Texture2D), texture, 1, FALSE, &buffer), S_OK);
    EXPECT_EQ(contentOf(buffer), Bytes(4, '2'));
    UINT index = 0;
    EXPECT_EQ(faceOf<IMFDXGIBuffer>(buffer)->GetSubresourceIndex(&index), S_OK);
    EXPECT_EQ(index, 1U);
}

TEST_F(SurfaceBufferNative, HoldsChromaBehindTheLines)
{
    const Bytes content = countingBytes(8 * 6);
    const auto texture = makeTexture(plainTexture(8, 4, DXGI_FORMAT_NV12), content, 8);
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(MFCreateDXGISurfaceBuffer(__uuidof(ID3D11Texture2D), texture, 0, FALSE, &buffer), S_OK);
    EXPECT_EQ(contentOf(buffer), content);
}

TEST_F(SurfaceBufferNative, IsCopiedAsContiguousBytes)
{
    const Bytes content = countingBytes(128);
    const auto texture = makeTexture(plainTexture(8, 4), content, 32);
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(MFCreateDXGISurfaceBuffer(__uuidof(ID3D11Texture2D), texture, 0, FALSE, &buffer), S_OK);
    const auto lines = faceOf<IMF2DBuffer>(buffer);
    Bytes found(128);
    EXPECT_EQ(lines->ContiguousCopyTo(found.data(), 128), S_OK);
    EXPECT_EQ(found, content);
    EXPECT_EQ(lines->ContiguousCopyFrom(Bytes(128, 5).data(), 128), S_OK);
    EXPECT_EQ(read(texture), Bytes(128, 5));
}
