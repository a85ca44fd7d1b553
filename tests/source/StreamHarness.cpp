#include "tests/source/StreamHarness.h"

#include <d3d11.h>

void StreamsTest::SetUp()
{
    SourceTest::SetUp();
    source = makeSource();
}

void StreamsTest::TearDown()
{
    m_video.reset();
    m_audio.reset();
    source->Shutdown();
    source.Release();
    SourceTest::TearDown();
}

void StreamsTest::useHardware()
{
    source->Shutdown();
    SourceParameters params = parameters();
    params.hardwareSamples = true;
    source = makeSource(params);
}

CComPtr<IUnknown> StreamsTest::deviceManager()
{
    CComPtr<ID3D11Device> device;
    EXPECT_EQ(S_OK, D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_WARP, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION, &device,
                                      nullptr, nullptr));
    UINT token = 0;
    CComPtr<IMFDXGIDeviceManager> manager;
    EXPECT_EQ(S_OK, MFCreateDXGIDeviceManager(&token, &manager));
    EXPECT_EQ(S_OK, manager->ResetDevice(device, token));
    return CComPtr<IUnknown>(manager.p);
}

VideoStream &StreamsTest::videoStream()
{
    m_video = std::make_unique<VideoStream>(source, 7, &m_queue);
    return *m_video;
}

AudioStream &StreamsTest::audioStream()
{
    m_audio = std::make_unique<AudioStream>(source, 8, &m_queue);
    return *m_audio;
}

CComPtr<IMFSample> plainSample()
{
    CComPtr<IMFSample> sample;
    EXPECT_EQ(S_OK, MFCreateSample(&sample));
    return sample;
}

CComPtr<IMFMediaType> videoType(const GUID &subtype, UINT32 rateNumerator, UINT32 rateDenominator)
{
    CComPtr<IMFMediaType> type;
    EXPECT_EQ(S_OK, MFCreateMediaType(&type));
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, subtype);
    MFSetAttributeSize(type, MF_MT_FRAME_SIZE, 64, 36);
    MFSetAttributeRatio(type, MF_MT_FRAME_RATE, rateNumerator, rateDenominator);
    return type;
}

GUID subtypeOf(IMFMediaType *type)
{
    GUID subtype = GUID_NULL;
    type->GetGUID(MF_MT_SUBTYPE, &subtype);
    return subtype;
}

UINT32 flagOf(IMFSample *sample, const GUID &key, UINT32 absent)
{
    return MFGetAttributeUINT32(sample, key, absent);
}
