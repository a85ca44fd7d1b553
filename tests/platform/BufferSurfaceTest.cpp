#include "tests/platform/AttributeKeys.h"
#include "tests/platform/TextureSupport.h"

#include <algorithm>

namespace
{

class SurfaceBuffer : public DeviceTest
{
protected:
    CComPtr<IMFMediaBuffer> bufferOn(ID3D11Texture2D *texture, bool bottomUp = false)
    {
        CComPtr<IMFMediaBuffer> buffer;
        EXPECT_EQ(MFCreateDXGISurfaceBuffer(__uuidof(ID3D11Texture2D), texture, 0, bottomUp, &buffer), S_OK);
        return buffer;
    }
};

} // namespace

TEST_F(SurfaceBuffer, LeadsToItsTexture)
{
    const auto texture = makeTexture(plainTexture(8, 4));
    const auto surface = faceOf<IMFDXGIBuffer>(bufferOn(texture));
    ASSERT_TRUE(surface);
    CComPtr<ID3D11Texture2D> same;
    EXPECT_EQ(surface->GetResource(__uuidof(ID3D11Texture2D), reinterpret_cast<void **>(&same)), S_OK);
    EXPECT_EQ(same.p, texture.p);
    UINT index = 99;
    EXPECT_EQ(surface->GetSubresourceIndex(&index), S_OK);
    EXPECT_EQ(index, 0U);
}

TEST_F(SurfaceBuffer, IsOneObjectWithAllItsInterfaces)
{
    const auto buffer = bufferOn(makeTexture(plainTexture(8, 4)));
    const auto surface = faceOf<IMFDXGIBuffer>(buffer);
    EXPECT_TRUE(isSameObject(buffer.p, surface));
    EXPECT_TRUE(faceOf<IMF2DBuffer>(surface));
    EXPECT_TRUE(faceOf<IMF2DBuffer2>(surface));
}

TEST_F(SurfaceBuffer, IsNotMadeOfWhatIsNoTexture)
{
    CComPtr<IMFMediaBuffer> buffer;
    const CComPtr<IUnknown> object(new PlainObject);
    EXPECT_TRUE(FAILED(MFCreateDXGISurfaceBuffer(__uuidof(ID3D11Texture2D), object, 0, FALSE, &buffer)));
    EXPECT_FALSE(buffer);
}

TEST_F(SurfaceBuffer, IsAsLongAsThePackedPicture)
{
    const auto buffer = bufferOn(makeTexture(plainTexture(8, 4)));
    DWORD length = 0;
    EXPECT_EQ(buffer->GetMaxLength(&length), S_OK);
    EXPECT_EQ(length, 128U);
    EXPECT_EQ(faceOf<IMF2DBuffer>(buffer)->GetContiguousLength(&length), S_OK);
    EXPECT_EQ(length, 128U);
    EXPECT_EQ(buffer->SetCurrentLength(128), S_OK);
    EXPECT_EQ(buffer->GetCurrentLength(&length), S_OK);
    EXPECT_EQ(length, 128U);
}

TEST_F(SurfaceBuffer, ShowsTheTexturesLines)
{
    const Bytes content = countingBytes(128);
    const auto buffer = bufferOn(makeTexture(plainTexture(8, 4), content, 32));
    const auto lines = faceOf<IMF2DBuffer2>(buffer);
    BYTE *first = nullptr;
    BYTE *start = nullptr;
    LONG pitch = 0;
    DWORD length = 0;
    ASSERT_EQ(lines->Lock2DSize(MF2DBuffer_LockFlags_Read, &first, &pitch, &start, &length), S_OK);
    EXPECT_GE(pitch, 32);
    for (int line = 0; line < 4; ++line)
        EXPECT_TRUE(std::equal(first + line * pitch, first + line * pitch + 32, content.begin() + line * 32)) << line;
    EXPECT_EQ(lines->Unlock2D(), S_OK);
}

TEST_F(SurfaceBuffer, WritesThroughToTheTexture)
{
    const auto texture = makeTexture(plainTexture(8, 4));
    const auto lines = faceOf<IMF2DBuffer2>(bufferOn(texture));
    const Bytes content = countingBytes(128);
    BYTE *first = nullptr;
    BYTE *start = nullptr;
    LONG pitch = 0;
    DWORD length = 0;
    ASSERT_EQ(lines->Lock2DSize(MF2DBuffer_LockFlags_Write, &first, &pitch, &start, &length), S_OK);
    EXPECT_EQ(MFCopyImage(first, pitch, content.data(), 32, 32, 4), S_OK);
    EXPECT_EQ(lines->Unlock2D(), S_OK);
    EXPECT_EQ(read(texture), content);
}

TEST_F(SurfaceBuffer, WritesThroughFromAPackedLock)
{
    const auto texture = makeTexture(plainTexture(8, 4));
    const auto buffer = bufferOn(texture);
    const Bytes content = countingBytes(128);
    BYTE *data = nullptr;
    DWORD room = 0;
    ASSERT_EQ(buffer->Lock(&data, &room, nullptr), S_OK);
    ASSERT_EQ(room, 128U);
    std::copy(content.begin(), content.end(), data);
    EXPECT_EQ(buffer->Unlock(), S_OK);
    EXPECT_EQ(read(texture), content);
}

TEST_F(SurfaceBuffer, HoldsItsTexture)
{
    const auto surface = faceOf<IMFDXGIBuffer>(bufferOn(makeTexture(plainTexture(8, 4))));
    context.Release();
    device.Release();
    CComPtr<ID3D11Texture2D> texture;
    ASSERT_EQ(surface->GetResource(__uuidof(ID3D11Texture2D), reinterpret_cast<void **>(&texture)), S_OK);
    D3D11_TEXTURE2D_DESC description = {};
    texture->GetDesc(&description);
    EXPECT_EQ(description.Width, 8U);
}

TEST_F(SurfaceBuffer, KeepsObjectsForItsUsers)
{
    const auto surface = faceOf<IMFDXGIBuffer>(bufferOn(makeTexture(plainTexture(8, 4))));
    const CComPtr<IUnknown> object(new PlainObject);
    CComPtr<IUnknown> kept;
    EXPECT_EQ(surface->GetUnknown(anyKey, IID_IUnknown, reinterpret_cast<void **>(&kept)), MF_E_NOT_FOUND);
    EXPECT_EQ(surface->SetUnknown(anyKey, object), S_OK);
    EXPECT_EQ(surface->SetUnknown(anyKey, object), HRESULT_FROM_WIN32(ERROR_OBJECT_ALREADY_EXISTS));
    EXPECT_EQ(surface->GetUnknown(anyKey, IID_IUnknown, reinterpret_cast<void **>(&kept)), S_OK);
    EXPECT_EQ(kept.p, object.p);
    EXPECT_EQ(surface->SetUnknown(anyKey, nullptr), S_OK);
    kept.Release();
    EXPECT_EQ(surface->GetUnknown(anyKey, IID_IUnknown, reinterpret_cast<void **>(&kept)), MF_E_NOT_FOUND);
}
