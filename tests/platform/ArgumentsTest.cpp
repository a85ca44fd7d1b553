// Results that have nowhere to go.

#include "tests/platform/Buffer2DSupport.h"

#include <mfidl.h>

namespace
{

class MissingArguments : public StartedPlatform
{
protected:
    const CComPtr<IMFMediaType> mediaType = made<IMFMediaType>(MFCreateMediaType);

    template <typename Interface, typename Create>
    static CComPtr<Interface> made(Create create)
    {
        CComPtr<Interface> object;
        EXPECT_EQ(create(&object), S_OK);
        return object;
    }
};

} // namespace

TEST_F(MissingArguments, OfAsyncResultsAreRefused)
{
    CComPtr<IMFAsyncResult> result;
    EXPECT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    ASSERT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, &result), S_OK);
    EXPECT_EQ(result->GetState(nullptr), E_POINTER);
    EXPECT_EQ(result->GetObject(nullptr), E_POINTER);
}

TEST_F(MissingArguments, OfTypeHandlersAreRefused)
{
    EXPECT_EQ(MFCreateMediaType(nullptr), E_INVALIDARG);
    const auto simple = made<IMFMediaTypeHandler>(MFCreateSimpleTypeHandler);
    EXPECT_EQ(simple->GetMediaTypeCount(nullptr), E_POINTER);
    EXPECT_EQ(simple->GetCurrentMediaType(nullptr), E_POINTER);
    IMFMediaType *types[] = {mediaType};
    CComPtr<IMFStreamDescriptor> stream;
    CComPtr<IMFMediaTypeHandler> handler;
    ASSERT_EQ(MFCreateStreamDescriptor(1, 1, types, &stream), S_OK);
    ASSERT_EQ(stream->GetMediaTypeHandler(&handler), S_OK);
    EXPECT_EQ(handler->IsMediaTypeSupported(nullptr, nullptr), E_POINTER);
}

TEST_F(MissingArguments, OfSamplesAndBuffersAreRefused)
{
    EXPECT_EQ(made<IMFSample>(MFCreateSample)->GetBufferCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(MFCreateMemoryBuffer(10, nullptr), E_POINTER);
    const auto buffer = memoryBuffer({1, 2, 3});
    EXPECT_EQ(buffer->Lock(nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(buffer->GetCurrentLength(nullptr), E_INVALIDARG);
    EXPECT_EQ(buffer->GetMaxLength(nullptr), E_INVALIDARG);
}

TEST_F(MissingArguments, OfPicturesAreRefused)
{
    EXPECT_EQ(MFCreate2DMediaBuffer(4, 4, D3DFMT_X8R8G8B8, FALSE, nullptr), E_POINTER);
    const auto lines = rgbPicture();
    EXPECT_EQ(lines->Lock2D(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(lines->Lock2DSize(MF2DBuffer_LockFlags_Read, nullptr, nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(lines->GetScanline0AndPitch(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(lines->IsContiguousFormat(nullptr), E_POINTER);
    EXPECT_EQ(lines->GetContiguousLength(nullptr), E_POINTER);
    const auto packed = faceOf<IMFMediaBuffer>(lines);
    EXPECT_EQ(packed->Lock(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(packed->GetCurrentLength(nullptr), E_INVALIDARG);
    EXPECT_EQ(packed->GetMaxLength(nullptr), E_INVALIDARG);
    EXPECT_EQ(packed->SetCurrentLength(10000), E_INVALIDARG);
}

TEST_F(MissingArguments, OfClocksAreRefused)
{
    const auto clock = made<IMFPresentationClock>(MFCreatePresentationClock);
    const auto source = made<IMFPresentationTimeSource>(MFCreateSystemTimeSource);
    EXPECT_EQ(source->GetProperties(nullptr), E_POINTER);
    EXPECT_EQ(clock->GetTime(nullptr), E_POINTER);
    EXPECT_EQ(clock->GetTimeSource(nullptr), E_INVALIDARG);
    EXPECT_EQ(clock->AddClockStateSink(nullptr), E_INVALIDARG);
    EXPECT_EQ(clock->RemoveClockStateSink(nullptr), E_INVALIDARG);
    EXPECT_EQ(faceOf<IMFRateControl>(clock)->GetRate(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(faceOf<IMFShutdown>(clock)->GetShutdownStatus(nullptr), E_INVALIDARG);
    MFShutdownObject(clock);
}

TEST_F(MissingArguments, OfTopologiesAreRefused)
{
    EXPECT_EQ(MFCreateTopology(nullptr), E_POINTER);
    EXPECT_EQ(MFCreateTopologyNode(MF_TOPOLOGY_TEE_NODE, nullptr), E_POINTER);
    const auto topology = made<IMFTopology>(MFCreateTopology);
    EXPECT_EQ(topology->GetTopologyID(nullptr), E_POINTER);
    EXPECT_EQ(topology->GetNodeCount(nullptr), E_POINTER);
    EXPECT_EQ(topology->GetNode(0, nullptr), E_POINTER);
    EXPECT_EQ(topology->GetSourceNodeCollection(nullptr), E_POINTER);
    EXPECT_EQ(topology->GetOutputNodeCollection(nullptr), E_POINTER);
    EXPECT_EQ(topology->RemoveNode(nullptr), E_INVALIDARG);
    CComPtr<IMFTopologyNode> node;
    ASSERT_EQ(MFCreateTopologyNode(MF_TOPOLOGY_TEE_NODE, &node), S_OK);
    EXPECT_EQ(node->GetObject(nullptr), E_POINTER);
}

TEST_F(MissingArguments, OfCollectionsAreRefused)
{
    EXPECT_EQ(MFCreateCollection(nullptr), E_POINTER);
    const auto collection = made<IMFCollection>(MFCreateCollection);
    ASSERT_EQ(collection->AddElement(mediaType), S_OK);
    EXPECT_EQ(collection->GetElementCount(nullptr), E_POINTER);
    EXPECT_EQ(collection->GetElement(0, nullptr), E_POINTER);
    EXPECT_EQ(collection->RemoveElement(0, nullptr), E_POINTER);
}

TEST_F(MissingArguments, OfDeviceManagersAreRefused)
{
    UINT token = 0;
    CComPtr<IMFDXGIDeviceManager> manager;
    EXPECT_EQ(MFCreateDXGIDeviceManager(&token, nullptr), E_POINTER);
    EXPECT_EQ(MFCreateDXGIDeviceManager(nullptr, &manager), E_POINTER);
    ASSERT_EQ(MFCreateDXGIDeviceManager(&token, &manager), S_OK);
    EXPECT_EQ(manager->ResetDevice(nullptr, token), E_INVALIDARG);
    EXPECT_EQ(manager->TestDevice(nullptr), E_HANDLE);
}

TEST_F(MissingArguments, OfServicesAndIdentifiersAreRefused)
{
    IUnknown *service = nullptr;
    EXPECT_EQ(MFGetService(nullptr, GUID_NULL, IID_IUnknown, reinterpret_cast<void **>(&service)), E_POINTER);
    EXPECT_EQ(MFShutdownObject(nullptr), S_OK);
    EXPECT_EQ(CoCreateGuid(nullptr), E_INVALIDARG);
}
