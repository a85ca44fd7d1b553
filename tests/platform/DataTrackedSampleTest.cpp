#include "tests/platform/DataSupport.h"

#include <evr.h>
#include <mfidl.h>

#include <thread>

namespace
{

CComPtr<IMFTrackedSample> trackedSample()
{
    CComPtr<IMFTrackedSample> sample;
    EXPECT_EQ(MFCreateTrackedSample(&sample), S_OK);
    return sample;
}

CComPtr<IMFSample> sampleOf(IMFAsyncResult *result)
{
    CComPtr<IUnknown> object;
    EXPECT_EQ(result->GetObject(&object), S_OK);
    return object ? faceOf<IMFSample>(object) : CComPtr<IMFSample>();
}

class TrackedSample : public StartedPlatform
{
};

} // namespace

TEST_F(TrackedSample, IsASampleToo)
{
    const auto tracked = trackedSample();
    const auto sample = faceOf<IMFSample>(tracked);
    ASSERT_TRUE(sample);
    EXPECT_TRUE(isSameObject(sample.p, tracked));
    EXPECT_TRUE(faceOf<IMFAttributes>(sample));
    EXPECT_EQ(sample->AddBuffer(memoryBuffer({1})), S_OK);
}

TEST_F(TrackedSample, IsWhatAVideoSampleIs)
{
    CComPtr<IMFSample> sample;
    ASSERT_EQ(MFCreateVideoSampleFromSurface(nullptr, &sample), S_OK);
    EXPECT_TRUE(faceOf<IMFTrackedSample>(sample));
    DWORD buffers = 99;
    EXPECT_EQ(sample->GetBufferCount(&buffers), S_OK);
    EXPECT_EQ(buffers, 0U);
}

TEST_F(TrackedSample, GoesWithoutAnAllocator)
{
    bool isGone = false;
    {
        const auto tracked = trackedSample();
        const CComPtr<IUnknown> object(new PlainObject([&] { isGone = true; }));
        faceOf<IMFSample>(tracked)->SetUnknown(MFSampleExtension_Discontinuity, object);
    }
    EXPECT_TRUE(isGone);
}

TEST_F(TrackedSample, ComesBackToItsAllocatorAlive)
{
    int calls = 0;
    CComPtr<IMFSample> returned;
    const CComPtr<IUnknown> state(new PlainObject);
    const CComPtr<IMFAsyncCallback> allocator(new Callback([&](IMFAsyncResult *result) {
        ++calls;
        returned = sampleOf(result);
        CComPtr<IUnknown> stateOfResult;
        EXPECT_EQ(result->GetState(&stateOfResult), S_OK);
        EXPECT_EQ(stateOfResult.p, state.p);
        EXPECT_EQ(result->GetStatus(), S_OK);
    }));
    {
        const auto tracked = trackedSample();
        const auto sample = faceOf<IMFSample>(tracked);
        sample->SetSampleTime(123);
        sample->AddBuffer(memoryBuffer({1, 2}));
        EXPECT_EQ(tracked->SetAllocator(allocator, state), S_OK);
        EXPECT_EQ(calls, 0);
    }
    EXPECT_EQ(calls, 1);
    ASSERT_TRUE(returned);
    LONGLONG time = 0;
    EXPECT_EQ(returned->GetSampleTime(&time), S_OK);
    EXPECT_EQ(time, 123);
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(returned->GetBufferByIndex(0, &buffer), S_OK);
    EXPECT_EQ(contentOf(buffer), (Bytes{1, 2}));
}

TEST_F(TrackedSample, ComesBackOncePerSetting)
{
    int calls = 0;
    CComPtr<IMFSample> returned;
    const CComPtr<IMFAsyncCallback> allocator(new Callback([&](IMFAsyncResult *result) {
        ++calls;
        returned = sampleOf(result);
    }));
    EXPECT_EQ(trackedSample()->SetAllocator(allocator, nullptr), S_OK);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(faceOf<IMFTrackedSample>(returned)->SetAllocator(allocator, nullptr), S_OK);
    returned.Release();
    EXPECT_EQ(calls, 2);
    returned.Release();
    EXPECT_EQ(calls, 2);
}

TEST_F(TrackedSample, HasOneAllocatorAtATime)
{
    const auto tracked = trackedSample();
    const CComPtr<IMFAsyncCallback> allocator(new Callback([](IMFAsyncResult *) {}));
    EXPECT_EQ(tracked->SetAllocator(allocator, nullptr), S_OK);
    EXPECT_EQ(tracked->SetAllocator(allocator, nullptr), MF_E_NOTACCEPTING);
}

TEST_F(TrackedSample, LetsAllocatorAndStateGoAfterItCameBack)
{
    bool isCallbackGone = false;
    bool isStateGone = false;
    CComPtr<IMFSample> returned;
    {
        const CComPtr<IUnknown> state(new PlainObject([&] { isStateGone = true; }));
        const CComPtr<IMFAsyncCallback> allocator(new Callback(
            [&](IMFAsyncResult *result) { returned = sampleOf(result); }, 0, [&] { isCallbackGone = true; }));
        EXPECT_EQ(trackedSample()->SetAllocator(allocator, state), S_OK);
    }
    EXPECT_TRUE(returned);
    EXPECT_TRUE(isCallbackGone);
    EXPECT_TRUE(isStateGone);
}

TEST_F(TrackedSample, LeavesItsResultUsableAsLongAsItIsHeld)
{
    CComPtr<IMFAsyncResult> held;
    const CComPtr<IUnknown> state(new PlainObject);
    const CComPtr<IMFAsyncCallback> allocator(new Callback([&](IMFAsyncResult *result) { held = result; }));
    EXPECT_EQ(trackedSample()->SetAllocator(allocator, state), S_OK);
    ASSERT_TRUE(held);
    EXPECT_TRUE(sampleOf(held));
    CComPtr<IUnknown> stateOfResult;
    EXPECT_EQ(held->GetState(&stateOfResult), S_OK);
    EXPECT_EQ(stateOfResult.p, state.p);
    EXPECT_TRUE(faceOf<IMFAsyncResult>(held));
    EXPECT_EQ(held->SetStatus(E_FAIL), S_OK);
    EXPECT_EQ(held->GetStatus(), E_FAIL);
}

TEST_F(TrackedSample, CirculatesBetweenThreads)
{
    constexpr int rounds = 500;
    std::atomic<int> calls{0};
    CComPtr<IMFSample> returned;
    const CComPtr<IMFAsyncCallback> allocator(new Callback([&](IMFAsyncResult *result) {
        returned = sampleOf(result);
        ++calls;
    }));
    CComPtr<IMFSample> sample = faceOf<IMFSample>(trackedSample());
    for (int round = 0; round < rounds; ++round) {
        ASSERT_EQ(faceOf<IMFTrackedSample>(sample)->SetAllocator(allocator, nullptr), S_OK);
        // Either thread may be the one that lets go last.
        CComPtr<IMFSample> theirs(sample);
        std::thread other([&theirs] { theirs.Release(); });
        sample.Release();
        other.join();
        ASSERT_EQ(calls, round + 1);
        sample = std::move(returned);
    }
}
