// Results that are documented and not given by every system.

#include "tests/platform/TextureSupport.h"

#include <mfidl.h>

#include <objbase.h>

namespace
{

using SimpleTypeHandlerNative = StartedPlatform;
using DeviceManagerNative = DeviceTest;

} // namespace

TEST_F(SimpleTypeHandlerNative, SupportsNoTypeButItsOwn)
{
    CComPtr<IMFMediaTypeHandler> handler;
    ASSERT_EQ(MFCreateSimpleTypeHandler(&handler), S_OK);
    ASSERT_EQ(handler->SetCurrentMediaType(videoType(MFVideoFormat_NV12)), S_OK);
    EXPECT_EQ(handler->IsMediaTypeSupported(videoType(MFVideoFormat_UYVY), nullptr), MF_E_INVALIDMEDIATYPE);
}

TEST_F(DeviceManagerNative, UnlocksForItsHandlesOnly)
{
    UINT token = 0;
    CComPtr<IMFDXGIDeviceManager> manager;
    ASSERT_EQ(MFCreateDXGIDeviceManager(&token, &manager), S_OK);
    ASSERT_EQ(manager->ResetDevice(device, token), S_OK);
    HANDLE handle = nullptr;
    ASSERT_EQ(manager->OpenDeviceHandle(&handle), S_OK);
    ASSERT_EQ(manager->CloseDeviceHandle(handle), S_OK);
    EXPECT_EQ(manager->UnlockDevice(handle, FALSE), E_HANDLE);
}

TEST(ApartmentNative, TakesNoReservedArgument)
{
    int something = 0;
    EXPECT_EQ(CoInitializeEx(&something, COINIT_MULTITHREADED), E_INVALIDARG);
}
