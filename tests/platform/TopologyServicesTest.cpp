#include "tests/platform/AsyncSupport.h"

namespace
{

const GUID knownService = {0x52b8b0b1, 0x7f0c, 0x4b3a, {0x9c, 0x11, 0x5d, 0x0f, 0x7a, 0x5b, 0x2e, 0x01}};

class ServiceProvider final : public TestObject<IMFGetService>
{
public:
    STDMETHODIMP GetService(REFGUID service, REFIID iid, void **out) override
    {
        return IsEqualGUID(service, knownService) ? QueryInterface(iid, out) : MF_E_UNSUPPORTED_SERVICE;
    }
};

class Closable final : public TestObject<IMFShutdown>
{
public:
    STDMETHODIMP Shutdown() override
    {
        ++shutdowns;
        return S_OK;
    }
    STDMETHODIMP GetShutdownStatus(MFSHUTDOWN_STATUS *) override { return E_NOTIMPL; }

    int shutdowns = 0;
};

} // namespace

TEST(Services, AreAskedOfTheObject)
{
    const CComPtr<ServiceProvider> provider(new ServiceProvider);
    CComPtr<IMFGetService> service;
    EXPECT_EQ(MFGetService(provider, knownService, __uuidof(IMFGetService), reinterpret_cast<void **>(&service)), S_OK);
    EXPECT_EQ(service.p, provider.p);
    service.Release();
    EXPECT_EQ(MFGetService(provider, GUID_NULL, __uuidof(IMFGetService), reinterpret_cast<void **>(&service)),
              MF_E_UNSUPPORTED_SERVICE);
}

TEST(Services, AreNotToBeHadOfAnObjectThatHasNone)
{
    const CComPtr<IUnknown> token = makeToken();
    CComPtr<IMFGetService> service;
    EXPECT_TRUE(
        FAILED(MFGetService(token, knownService, __uuidof(IMFGetService), reinterpret_cast<void **>(&service))));
    EXPECT_EQ(service.p, nullptr);
}

TEST(ShutdownObject, ShutsDownWhatCanBeShutDown)
{
    const CComPtr<Closable> closable(new Closable);
    EXPECT_EQ(MFShutdownObject(closable), S_OK);
    EXPECT_EQ(closable->shutdowns, 1);
    EXPECT_EQ(MFShutdownObject(makeToken()), S_OK);
    EXPECT_EQ(MFShutdownObject(nullptr), S_OK);
}
