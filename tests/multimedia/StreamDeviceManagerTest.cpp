// How long the device managers of a stream live.

#include "tests/multimedia/SmallSource.h"

#include <d3d11.h>

namespace
{

class StreamDeviceManager : public BaseSource
{
protected:
    static CComPtr<IMFDXGIDeviceManager> makeManager()
    {
        CComPtr<IMFDXGIDeviceManager> manager;
        UINT token = 0;
        EXPECT_EQ(MFCreateDXGIDeviceManager(&token, &manager), S_OK);
        return manager;
    }
    static ULONG references(const CComPtr<IMFDXGIDeviceManager> &manager)
    {
        manager.p->AddRef();
        return manager.p->Release();
    }

    const CComPtr<IMFDXGIDeviceManager> m_first = makeManager();
    const CComPtr<IMFDXGIDeviceManager> m_second = makeManager();
};

} // namespace

TEST_F(StreamDeviceManager, IsTheOneSetLast)
{
    EXPECT_EQ(video().deviceManager(), nullptr);
    ASSERT_EQ(m_source->SetD3DManager(m_first), S_OK);
    EXPECT_EQ(video().deviceManager()->manager(), m_first.p);
    ASSERT_EQ(m_source->SetD3DManager(m_second), S_OK);
    EXPECT_EQ(video().deviceManager()->manager(), m_second.p);
    ASSERT_EQ(m_source->SetD3DManager(nullptr), S_OK);
    EXPECT_EQ(video().deviceManager(), nullptr);
}

TEST_F(StreamDeviceManager, StaysWhenAnotherOneIsSet)
{
    m_source->SetD3DManager(m_first);
    const CD3D11DeviceManager *const used = video().deviceManager();
    const ULONG before = references(m_first);
    m_source->SetD3DManager(m_second);
    m_source->SetD3DManager(nullptr);
    ASSERT_EQ(references(m_first), before);
    EXPECT_EQ(used->manager(), m_first.p);
}

TEST_F(StreamDeviceManager, StaysAfterAShutdownUntilTheStreamGoes)
{
    const ULONG unused = references(m_first);
    m_source->SetD3DManager(m_first);
    const CD3D11DeviceManager *const used = video().deviceManager();
    const ULONG before = references(m_first);
    m_source->Shutdown();
    EXPECT_EQ(video().deviceManager(), nullptr);
    ASSERT_EQ(references(m_first), before);
    EXPECT_EQ(used->manager(), m_first.p);
    m_source.Release();
    EXPECT_EQ(references(m_first), unused);
}

TEST_F(StreamDeviceManager, IsTheSameObjectWhenTheSameOneIsSetAgain)
{
    m_source->SetD3DManager(m_first);
    const CD3D11DeviceManager *const used = video().deviceManager();
    m_source->SetD3DManager(m_second);
    const ULONG before = references(m_first);
    for (int turn = 0; turn < 10; ++turn) {
        m_source->SetD3DManager(m_first);
        EXPECT_EQ(video().deviceManager(), used);
        m_source->SetD3DManager(nullptr);
    }
    EXPECT_EQ(references(m_first), before);
}

TEST_F(StreamDeviceManager, StaysWhenWhatIsSetNextIsNone)
{
    m_source->SetD3DManager(m_first);
    EXPECT_EQ(m_source->SetD3DManager(makeMediaType()), E_NOINTERFACE);
    EXPECT_EQ(video().deviceManager()->manager(), m_first.p);
}
