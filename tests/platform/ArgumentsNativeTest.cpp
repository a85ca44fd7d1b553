// Results that have nowhere to go, where not every system looks before it writes.

#include "tests/platform/AttributeKeys.h"
#include "tests/platform/DataSupport.h"

#include <evr.h>
#include <mfidl.h>

namespace
{

using MissingArgumentsNative = StartedPlatform;

template <typename Interface, typename Create>
CComPtr<Interface> made(Create create)
{
    EXPECT_TRUE(FAILED(create(nullptr)));
    CComPtr<Interface> object;
    EXPECT_EQ(create(&object), S_OK);
    return object;
}

} // namespace

TEST_F(MissingArgumentsNative, OfAttributesAreRefused)
{
    const auto store = made<IMFAttributes>([](auto out) { return MFCreateAttributes(out, 0); });
    PROPVARIANT value;
    PropVariantInit(&value);
    BOOL same = FALSE;
    ASSERT_EQ(store->SetUINT32(anyKey, 1), S_OK);
    EXPECT_EQ(store->GetItemType(anyKey, nullptr), E_INVALIDARG);
    EXPECT_EQ(store->CompareItem(anyKey, value, nullptr), E_INVALIDARG);
    EXPECT_EQ(store->Compare(nullptr, MF_ATTRIBUTES_MATCH_ALL_ITEMS, &same), E_INVALIDARG);
    EXPECT_EQ(store->Compare(store, MF_ATTRIBUTES_MATCH_ALL_ITEMS, nullptr), E_INVALIDARG);
    EXPECT_EQ(store->GetAllocatedString(anyKey, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(store->GetAllocatedBlob(anyKey, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(store->CopyAllItems(nullptr), E_INVALIDARG);
    EXPECT_EQ(store->GetItemByIndex(0, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(store->GetCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(store->SetString(anyKey, nullptr), E_INVALIDARG);
    EXPECT_EQ(store->SetBlob(anyKey, nullptr, 2), E_INVALIDARG);
    EXPECT_EQ(store->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(PropVariantCopy(nullptr, &value), E_INVALIDARG);
    EXPECT_EQ(PropVariantCopy(&value, nullptr), E_INVALIDARG);
}

TEST_F(MissingArgumentsNative, OfEventsAndTheirQueuesAreRefused)
{
    const auto event =
        made<IMFMediaEvent>([](auto out) { return MFCreateMediaEvent(MEEndOfStream, GUID_NULL, S_OK, nullptr, out); });
    EXPECT_EQ(event->GetType(nullptr), E_POINTER);
    EXPECT_EQ(event->GetExtendedType(nullptr), E_POINTER);
    EXPECT_EQ(event->GetStatus(nullptr), E_POINTER);
    EXPECT_EQ(event->GetValue(nullptr), E_POINTER);
    const auto queue = made<IMFMediaEventQueue>(MFCreateEventQueue);
    CComPtr<IMFMediaEvent> found;
    EXPECT_EQ(queue->GetEvent(MF_EVENT_FLAG_NO_WAIT, nullptr), E_POINTER);
    EXPECT_EQ(queue->EndGetEvent(nullptr, &found), E_POINTER);
    EXPECT_EQ(queue->QueueEvent(nullptr), E_INVALIDARG);
    EXPECT_EQ(queue->Shutdown(), S_OK);
}

TEST_F(MissingArgumentsNative, OfWorkQueuesAreRefused)
{
    constexpr DWORD queue = MFASYNC_CALLBACK_QUEUE_STANDARD;
    CComPtr<IMFAsyncResult> withoutCallback;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, &withoutCallback), S_OK);
    DWORD none = 0;
    EXPECT_EQ(MFAllocateWorkQueue(nullptr), E_POINTER);
    EXPECT_EQ(MFAllocateWorkQueueEx(static_cast<MFASYNC_WORKQUEUE_TYPE>(3), &none), E_INVALIDARG);
    EXPECT_EQ(MFAllocateSerialWorkQueue(queue, nullptr), E_POINTER);
    EXPECT_EQ(MFPutWorkItem(queue, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(MFPutWorkItemEx(queue, nullptr), E_POINTER);
    EXPECT_EQ(MFPutWorkItemEx(queue, withoutCallback), E_INVALIDARG);
    EXPECT_EQ(MFInvokeCallback(nullptr), E_POINTER);
    EXPECT_EQ(MFScheduleWorkItem(nullptr, nullptr, -1, nullptr), E_POINTER);
    EXPECT_EQ(MFScheduleWorkItemEx(nullptr, -1, nullptr), E_POINTER);
    EXPECT_EQ(MFScheduleWorkItemEx(withoutCallback, -1, nullptr), E_INVALIDARG);
}

TEST_F(MissingArgumentsNative, OfSamplesAndTypesAreRefused)
{
    const auto sample = made<IMFSample>(MFCreateSample);
    EXPECT_EQ(sample->GetSampleFlags(nullptr), E_POINTER);
    EXPECT_EQ(sample->GetSampleTime(nullptr), E_POINTER);
    EXPECT_EQ(sample->GetSampleDuration(nullptr), E_POINTER);
    EXPECT_EQ(sample->GetBufferByIndex(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->GetTotalLength(nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->CopyToBuffer(nullptr), E_INVALIDARG);
    EXPECT_EQ(made<IMFTrackedSample>(MFCreateTrackedSample)->SetAllocator(nullptr, nullptr), E_POINTER);
    const auto type = made<IMFMediaType>(MFCreateMediaType);
    EXPECT_EQ(type->IsCompressedFormat(nullptr), E_INVALIDARG);
    EXPECT_EQ(type->IsEqual(type, nullptr), E_INVALIDARG);
    EXPECT_EQ(made<IMFMediaTypeHandler>(MFCreateSimpleTypeHandler)->GetMajorType(nullptr), E_POINTER);
}

TEST_F(MissingArgumentsNative, OfPictureSizesAreRefused)
{
    EXPECT_EQ(MFCalculateImageSize(MFVideoFormat_NV12, 4, 4, nullptr), E_POINTER);
    EXPECT_EQ(MFGetPlaneSize(MFVideoFormat_NV12.Data1, 4, 4, nullptr), E_POINTER);
    EXPECT_EQ(MFGetStrideForBitmapInfoHeader(MFVideoFormat_NV12.Data1, 4, nullptr), E_POINTER);
    EXPECT_EQ(MFFrameRateToAverageTimePerFrame(25, 1, nullptr), E_POINTER);
}

TEST_F(MissingArgumentsNative, OfClocksAreRefused)
{
    const auto clock = made<IMFPresentationClock>(MFCreatePresentationClock);
    EXPECT_EQ(clock->GetContinuityKey(nullptr), E_POINTER);
    EXPECT_EQ(clock->GetState(0, nullptr), E_POINTER);
    EXPECT_EQ(clock->SetTimeSource(nullptr), E_INVALIDARG);
    const auto source = made<IMFPresentationTimeSource>(MFCreateSystemTimeSource);
    EXPECT_EQ(source->GetUnderlyingClock(nullptr), E_POINTER);
    CComPtr<IMFClock> underlying;
    ASSERT_EQ(source->GetUnderlyingClock(&underlying), S_OK);
    EXPECT_EQ(underlying->GetProperties(nullptr), E_POINTER);
    IMFClock *const clocks[] = {source, underlying};
    for (IMFClock *const each : clocks) {
        EXPECT_EQ(each->GetClockCharacteristics(nullptr), E_POINTER);
        EXPECT_EQ(each->GetCorrelatedTime(0, nullptr, nullptr), E_POINTER);
        EXPECT_EQ(each->GetContinuityKey(nullptr), E_POINTER);
        EXPECT_EQ(each->GetState(0, nullptr), E_POINTER);
    }
    MFShutdownObject(clock);
}

TEST_F(MissingArgumentsNative, OfTopologiesAreRefused)
{
    const auto topology = made<IMFTopology>(MFCreateTopology);
    EXPECT_EQ(topology->GetNodeByID(1, nullptr), E_POINTER);
    EXPECT_EQ(topology->CloneFrom(nullptr), E_POINTER);
    const auto node =
        made<IMFTopologyNode>([](auto out) { return MFCreateTopologyNode(MF_TOPOLOGY_TRANSFORM_NODE, out); });
    EXPECT_EQ(node->GetNodeType(nullptr), E_POINTER);
    EXPECT_EQ(node->GetTopoNodeID(nullptr), E_POINTER);
    EXPECT_EQ(node->GetInputCount(nullptr), E_POINTER);
    EXPECT_EQ(node->GetOutputCount(nullptr), E_POINTER);
    EXPECT_EQ(node->GetInput(0, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(node->GetOutputPrefType(0, nullptr), E_POINTER);
    EXPECT_EQ(node->CloneFrom(nullptr), E_POINTER);
}

TEST(TopologyNative, StaysAsItIs_WhenClonedFromItself)
{
    CComPtr<IMFTopology> topology;
    CComPtr<IMFTopologyNode> node;
    ASSERT_EQ(MFCreateTopology(&topology), S_OK);
    ASSERT_EQ(MFCreateTopologyNode(MF_TOPOLOGY_TEE_NODE, &node), S_OK);
    ASSERT_EQ(topology->AddNode(node), S_OK);
    EXPECT_EQ(topology->CloneFrom(topology), S_OK);
    WORD count = 0;
    EXPECT_EQ(topology->GetNodeCount(&count), S_OK);
    EXPECT_EQ(count, 1);
}
