#include "tests/platform/TextureSupport.h"

#include <future>

namespace
{

class DeviceManager : public DeviceTest
{
protected:
    void SetUp() override
    {
        DeviceTest::SetUp();
        ASSERT_EQ(MFCreateDXGIDeviceManager(&token, &manager), S_OK);
    }
    void TearDown() override
    {
        manager.Release();
        DeviceTest::TearDown();
    }
    HANDLE openHandle()
    {
        HANDLE handle = nullptr;
        EXPECT_EQ(manager->OpenDeviceHandle(&handle), S_OK);
        return handle;
    }
    HRESULT lock(HANDLE handle, bool block)
    {
        CComPtr<ID3D11Device> locked;
        const HRESULT hr =
            manager->LockDevice(handle, __uuidof(ID3D11Device), reinterpret_cast<void **>(&locked), block);
        EXPECT_EQ(locked.p, SUCCEEDED(hr) ? device.p : nullptr);
        return hr;
    }

    UINT token = 0;
    CComPtr<IMFDXGIDeviceManager> manager;
};

} // namespace

TEST_F(DeviceManager, OpensNoHandleWithoutADevice)
{
    HANDLE handle = nullptr;
    EXPECT_EQ(manager->OpenDeviceHandle(&handle), MF_E_DXGI_DEVICE_NOT_INITIALIZED);
}

TEST_F(DeviceManager, TakesADeviceForItsTokenOnly)
{
    EXPECT_EQ(manager->ResetDevice(device, token + 1), E_INVALIDARG);
    EXPECT_EQ(manager->ResetDevice(device, token), S_OK);
}

TEST_F(DeviceManager, GivesTheDeviceForAHandle)
{
    ASSERT_EQ(manager->ResetDevice(device, token), S_OK);
    const HANDLE handle = openHandle();
    EXPECT_EQ(manager->TestDevice(handle), S_OK);
    CComPtr<ID3D11Device> service;
    EXPECT_EQ(manager->GetVideoService(handle, __uuidof(ID3D11Device), reinterpret_cast<void **>(&service)), S_OK);
    EXPECT_EQ(service.p, device.p);
    EXPECT_EQ(manager->CloseDeviceHandle(handle), S_OK);
}

TEST_F(DeviceManager, KnowsItsHandlesOnly)
{
    ASSERT_EQ(manager->ResetDevice(device, token), S_OK);
    const HANDLE handle = openHandle();
    EXPECT_EQ(manager->CloseDeviceHandle(handle), S_OK);
    EXPECT_EQ(manager->CloseDeviceHandle(handle), E_HANDLE);
    EXPECT_EQ(manager->TestDevice(handle), E_HANDLE);
    void *service = nullptr;
    EXPECT_EQ(manager->GetVideoService(handle, __uuidof(ID3D11Device), &service), E_HANDLE);
    EXPECT_EQ(manager->LockDevice(handle, __uuidof(ID3D11Device), &service, FALSE), E_HANDLE);
}

TEST_F(DeviceManager, TellsHandlesOfAFormerDevice)
{
    ASSERT_EQ(manager->ResetDevice(device, token), S_OK);
    const HANDLE old = openHandle();
    CComPtr<ID3D11Device> next;
    ASSERT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_WARP, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION, &next,
                                nullptr, nullptr),
              S_OK);
    ASSERT_EQ(manager->ResetDevice(next, token), S_OK);
    EXPECT_EQ(manager->TestDevice(old), MF_E_DXGI_NEW_VIDEO_DEVICE);
    void *service = nullptr;
    EXPECT_EQ(manager->LockDevice(old, __uuidof(ID3D11Device), &service, FALSE), MF_E_DXGI_NEW_VIDEO_DEVICE);
    EXPECT_EQ(manager->CloseDeviceHandle(old), S_OK);
    EXPECT_EQ(manager->TestDevice(openHandle()), S_OK);
}

TEST_F(DeviceManager, LocksTheDeviceForOneHandleAtATime)
{
    ASSERT_EQ(manager->ResetDevice(device, token), S_OK);
    const HANDLE first = openHandle();
    const HANDLE second = openHandle();
    ASSERT_EQ(lock(first, false), S_OK);
    // Asked on another thread: a thread may lock again what it has locked.
    const auto tryOnAnotherThread = [&] { return std::async(std::launch::async, [&] { return lock(second, false); }); };
    EXPECT_EQ(tryOnAnotherThread().get(), MF_E_DXGI_VIDEO_DEVICE_LOCKED);
    EXPECT_EQ(manager->UnlockDevice(first, FALSE), S_OK);
    EXPECT_EQ(std::async(std::launch::async,
                         [&] {
                             const HRESULT hr = lock(second, false);
                             return SUCCEEDED(hr) ? manager->UnlockDevice(second, FALSE) : hr;
                         })
                  .get(),
              S_OK);
}

TEST_F(DeviceManager, MakesALockThatBlocksWait)
{
    ASSERT_EQ(manager->ResetDevice(device, token), S_OK);
    const HANDLE first = openHandle();
    const HANDLE second = openHandle();
    ASSERT_EQ(lock(first, false), S_OK);
    Gate started;
    std::atomic<bool> isUnlocked{false};
    auto waiting = std::async(std::launch::async, [&] {
        started.open();
        const HRESULT hr = lock(second, true);
        EXPECT_TRUE(isUnlocked);
        return SUCCEEDED(hr) ? manager->UnlockDevice(second, FALSE) : hr;
    });
    EXPECT_TRUE(started.wait());
    isUnlocked = true;
    EXPECT_EQ(manager->UnlockDevice(first, FALSE), S_OK);
    ASSERT_EQ(waiting.wait_for(patience), std::future_status::ready);
    EXPECT_EQ(waiting.get(), S_OK);
}

TEST_F(DeviceManager, IsNotUnlockedByWhoHasNotLocked)
{
    ASSERT_EQ(manager->ResetDevice(device, token), S_OK);
    EXPECT_TRUE(FAILED(manager->UnlockDevice(openHandle(), FALSE)));
}

TEST_F(DeviceManager, GivesTheDeviceAsWhatItIsOnly)
{
    ASSERT_EQ(manager->ResetDevice(device, token), S_OK);
    const HANDLE handle = openHandle();
    void *service = nullptr;
    EXPECT_EQ(manager->GetVideoService(handle, __uuidof(IMFTopology), &service), E_NOINTERFACE);
    EXPECT_EQ(manager->LockDevice(handle, __uuidof(IMFTopology), &service, FALSE), E_NOINTERFACE);
    EXPECT_EQ(manager->UnlockDevice(handle, FALSE), E_INVALIDARG);
}

TEST_F(DeviceManager, UnlocksTheDeviceWithTheHandleThatIsClosed)
{
    ASSERT_EQ(manager->ResetDevice(device, token), S_OK);
    const HANDLE first = openHandle();
    const HANDLE second = openHandle();
    ASSERT_EQ(lock(first, false), S_OK);
    ASSERT_EQ(manager->CloseDeviceHandle(first), S_OK);
    auto locked = std::async(std::launch::async, [&] {
        const HRESULT hr = lock(second, false);
        return SUCCEEDED(hr) ? manager->UnlockDevice(second, FALSE) : hr;
    });
    EXPECT_EQ(locked.get(), S_OK);
}
