// Mappings of buffers, media types as text, the device manager.

#include "hostfw/ComException.h"
#include "hostfw/D3D11DeviceManager.h"
#include "hostfw/MediaBuffers.h"
#include "hostfw/MediaTypeText.h"

#include <gtest/gtest.h>

#include <d3d9.h>
#include <mfapi.h>
#include <mferror.h>

namespace
{

CComPtr<IMFMediaBuffer> pictureBuffer(LONG width, LONG height, bool bottomUp)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(MFCreate2DMediaBuffer(static_cast<DWORD>(width), static_cast<DWORD>(height), D3DFMT_A8R8G8B8, bottomUp,
                                    &buffer),
              S_OK);
    return buffer;
}

void setPair(IMFMediaType *type, const GUID &key, UINT64 first, UINT64 second)
{
    type->SetUINT64(key, first << 32 | second);
}

} // namespace

TEST(MediaBufferMapping, GivesBytesAndLengths)
{
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(MFCreateMemoryBuffer(100, &buffer), S_OK);
    buffer->SetCurrentLength(40);
    {
        const MediaBufferMapping mapping(buffer);
        ASSERT_NE(mapping.buffer(), nullptr);
        EXPECT_EQ(mapping.currentLength(), 40U);
        EXPECT_GE(mapping.maxLength(), 100U);
        mapping.buffer()[39] = 7;
    }
    const MediaBufferMapping again(buffer);
    EXPECT_EQ(again.buffer()[39], 7);
}

TEST(MediaBufferMapping, IsEmptyWithoutABuffer)
{
    const MediaBufferMapping mapping(nullptr);
    EXPECT_EQ(mapping.buffer(), nullptr);
    EXPECT_EQ(mapping.currentLength(), 0U);
    EXPECT_EQ(mapping.maxLength(), 0U);
}

TEST(MediaBufferMapping2D, GivesLinesAndUnlocksAtItsEnd)
{
    const CComPtr<IMFMediaBuffer> buffer = pictureBuffer(10, 4, false);
    for (int turn = 0; turn < 2; ++turn) {
        const MediaBufferMapping2D mapping(buffer, MF2DBuffer_LockFlags_Write);
        ASSERT_NE(mapping.buffer(), nullptr);
        EXPECT_GE(mapping.pitch(), 40);
        mapping.buffer()[3 * mapping.pitch() + 39] = 7;
    }
    const MediaBufferMapping whole(buffer);
    EXPECT_NE(whole.buffer(), nullptr);
}

TEST(MediaBufferMapping2D, BeginsABottomUpPictureAtItsTopLine)
{
    const CComPtr<IMFMediaBuffer> buffer = pictureBuffer(10, 4, true);
    const MediaBufferMapping2D mapping(buffer, MF2DBuffer_LockFlags_Write);
    ASSERT_NE(mapping.buffer(), nullptr);
    EXPECT_LE(mapping.pitch(), -40);
    mapping.buffer()[3 * mapping.pitch()] = 7;
}

TEST(MediaBufferMapping2D, IsEmptyWhileTheBufferIsLockedWhole)
{
    const CComPtr<IMFMediaBuffer> buffer = pictureBuffer(10, 4, false);
    const MediaBufferMapping whole(buffer);
    const MediaBufferMapping2D lines(buffer, MF2DBuffer_LockFlags_Write);
    EXPECT_EQ(lines.buffer(), nullptr);
    EXPECT_EQ(lines.pitch(), 0);
}

TEST(MediaBufferMapping2D, LocksAPlainBufferWhole)
{
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(MFCreateMemoryBuffer(100, &buffer), S_OK);
    const MediaBufferMapping2D mapping(buffer, MF2DBuffer_LockFlags_Write);
    EXPECT_NE(mapping.buffer(), nullptr);
    EXPECT_EQ(mapping.pitch(), 0);
}

TEST(MediaBufferMapping2D, IsEmptyWithoutABuffer)
{
    const MediaBufferMapping2D mapping(nullptr, MF2DBuffer_LockFlags_Read);
    EXPECT_EQ(mapping.buffer(), nullptr);
    EXPECT_EQ(mapping.pitch(), 0);
}

TEST(MediaTypeText, NamesWhatItKnows)
{
    CComPtr<IMFMediaType> type;
    ASSERT_EQ(MFCreateMediaType(&type), S_OK);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_UYVY);
    setPair(type, MF_MT_FRAME_SIZE, 1920, 1080);
    setPair(type, MF_MT_FRAME_RATE, 30000, 1001);
    setPair(type, MF_MT_PIXEL_ASPECT_RATIO, 4, 3);
    type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive);
    const QString text = to_qstring(type);
    for (const char *part :
         {"MF_MT_MAJOR_TYPE=Video", "MF_MT_SUBTYPE=UYVY", "MF_MT_FRAME_SIZE=1920x1080", "MF_MT_FRAME_RATE=30000/1001",
          "MF_MT_PIXEL_ASPECT_RATIO=4:3", "MF_MT_INTERLACE_MODE=Progressive"})
        EXPECT_TRUE(text.contains(QLatin1String(part))) << qPrintable(text);
    EXPECT_EQ(text.count(QStringLiteral(", ")), 5);
}

TEST(MediaTypeText, SpellsTheGuidsThatItDoesNotKnow)
{
    CComPtr<IMFAttributes> attributes;
    ASSERT_EQ(MFCreateAttributes(&attributes, 1), S_OK);
    const GUID key = {0x01234567, 0x89ab, 0xcdef, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x07}};
    attributes->SetUINT32(key, 5);
    EXPECT_EQ(to_qstring(attributes), QStringLiteral("{01234567-89ab-cdef-0011-223344556607}=5"));
}

TEST(MediaTypeText, ShowsEveryKindOfValue)
{
    const auto shown = [](auto set) {
        CComPtr<IMFAttributes> attributes;
        MFCreateAttributes(&attributes, 1);
        set(attributes.p);
        return to_qstring(attributes).section(QLatin1Char('='), 1);
    };
    const WCHAR text[] = {'t', 'e', 'x', 't', 0};
    const UINT8 blob[3] = {};
    EXPECT_EQ(shown([](IMFAttributes *a) { a->SetDouble(GUID_NULL, 0.5); }), QStringLiteral("0.5"));
    EXPECT_EQ(shown([](IMFAttributes *a) { a->SetUINT64(GUID_NULL, 1ULL << 40); }), QStringLiteral("1099511627776"));
    EXPECT_EQ(shown([&](IMFAttributes *a) { a->SetString(GUID_NULL, text); }), QStringLiteral("text"));
    EXPECT_EQ(shown([&](IMFAttributes *a) { a->SetBlob(GUID_NULL, blob, 3); }), QStringLiteral("3 bytes"));
    EXPECT_EQ(shown([](IMFAttributes *a) {
                  CComPtr<IMFAttributes> object;
                  MFCreateAttributes(&object, 0);
                  a->SetUnknown(GUID_NULL, object);
              }),
              QStringLiteral("object"));
}

TEST(MediaTypeText, SaysSoWhenThereIsNothing)
{
    CComPtr<IMFAttributes> attributes;
    ASSERT_EQ(MFCreateAttributes(&attributes, 0), S_OK);
    EXPECT_EQ(to_qstring(nullptr), QStringLiteral("(null)"));
    EXPECT_EQ(to_qstring(attributes), QString());
}

TEST(D3D11DeviceManager, GivesTheDeviceAsItIs)
{
    CComPtr<ID3D11Device> device;
    CComPtr<IMFDXGIDeviceManager> mfManager;
    UINT token = 0;
    ASSERT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION, &device,
                                nullptr, nullptr),
              S_OK);
    ASSERT_EQ(MFCreateDXGIDeviceManager(&token, &mfManager), S_OK);
    CD3D11DeviceManager manager(mfManager);
    EXPECT_EQ(manager.valid(), S_OK);
    EXPECT_EQ(manager.manager(), mfManager.p);
    EXPECT_THROW(CD3D11Device{manager}, ComException);

    ASSERT_EQ(mfManager->ResetDevice(device, token), S_OK);
    CComPtr<ID3D11Device> given;
    EXPECT_EQ(manager.getDevice(&given), S_OK);
    EXPECT_EQ(given.p, device.p);
    EXPECT_EQ(CD3D11Device(manager).operator->(), device.p);
}

TEST(D3D11DeviceManager, IsNotValidWithAnythingElse)
{
    CComPtr<IMFMediaType> type;
    ASSERT_EQ(MFCreateMediaType(&type), S_OK);
    CComPtr<ID3D11Device> device;
    CD3D11DeviceManager manager(type);
    EXPECT_EQ(manager.valid(), E_NOINTERFACE);
    EXPECT_EQ(manager.manager(), nullptr);
    EXPECT_EQ(manager.getDevice(&device), E_NOINTERFACE);
    EXPECT_THROW(CD3D11Device{manager}, ComException);
    EXPECT_EQ(CD3D11DeviceManager(nullptr).valid(), E_NOINTERFACE);
}
