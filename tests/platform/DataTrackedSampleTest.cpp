#include "tests/platform/DataSupport.h"

#include <evr.h>
#include <mfidl.h>

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

// Where samples come back to: on the thread that lets go of them or on another.
class ReturnedSamples
{
public:
    const CComPtr<IMFAsyncCallback> allocator{new Callback([this](IMFAsyncResult *result) { add(sampleOf(result)); })};

    int count()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }
    // The next that comes back; null when none does.
    CComPtr<IMFSample> take()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, patience, [this] { return m_last; });
        return std::move(m_last);
    }

private:
    void add(CComPtr<IMFSample> sample)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_count;
        m_last = std::move(sample);
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0;
    CComPtr<IMFSample> m_last;
};

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
    ReturnedSamples samples;
    {
        const auto tracked = trackedSample();
        const auto sample = faceOf<IMFSample>(tracked);
        sample->SetSampleTime(123);
        sample->AddBuffer(memoryBuffer({1, 2}));
        EXPECT_EQ(tracked->SetAllocator(samples.allocator, nullptr), S_OK);
        EXPECT_EQ(samples.count(), 0);
    }
    const auto returned = samples.take();
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
    ReturnedSamples samples;
    Gate gone;
    {
        const auto tracked = trackedSample();
        const CComPtr<IUnknown> object(new PlainObject([&] { gone.open(); }));
        faceOf<IMFSample>(tracked)->SetUnknown(MFSampleExtension_Discontinuity, object);
        EXPECT_EQ(tracked->SetAllocator(samples.allocator, nullptr), S_OK);
    }
    auto returned = samples.take();
    ASSERT_TRUE(returned);
    EXPECT_EQ(faceOf<IMFTrackedSample>(returned)->SetAllocator(samples.allocator, nullptr), S_OK);
    returned.Release();
    ASSERT_TRUE(samples.take());
    EXPECT_TRUE(gone.wait());
    EXPECT_EQ(samples.count(), 2);
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
    Gate callbackGone;
    Gate stateGone;
    Gate returned;
    CComPtr<IMFSample> sample;
    {
        const CComPtr<IUnknown> state(new PlainObject([&] { stateGone.open(); }));
        const CComPtr<IMFAsyncCallback> allocator(new Callback(
            [&](IMFAsyncResult *result) {
                sample = sampleOf(result);
                returned.open();
            },
            0, [&] { callbackGone.open(); }));
        EXPECT_EQ(trackedSample()->SetAllocator(allocator, state), S_OK);
    }
    ASSERT_TRUE(returned.wait());
    EXPECT_TRUE(sample);
    EXPECT_TRUE(callbackGone.wait());
    EXPECT_TRUE(stateGone.wait());
}

TEST_F(TrackedSample, LeavesItsResultUsableAsLongAsItIsHeld)
{
    Record<CComPtr<IMFAsyncResult>> results;
    const CComPtr<IUnknown> state(new PlainObject);
    const CComPtr<IMFAsyncCallback> allocator(new Callback([&](IMFAsyncResult *result) {
        EXPECT_EQ(result->GetStatus(), S_OK);
        results.add(CComPtr<IMFAsyncResult>(result));
    }));
    EXPECT_EQ(trackedSample()->SetAllocator(allocator, state), S_OK);
    ASSERT_TRUE(results.waitFor(1));
    const CComPtr<IMFAsyncResult> held = results.entries().front();
    EXPECT_TRUE(sampleOf(held));
    CComPtr<IUnknown> stateOfResult;
    EXPECT_EQ(held->GetState(&stateOfResult), S_OK);
    EXPECT_EQ(stateOfResult.p, state.p);
    EXPECT_EQ(held->GetStateNoAddRef(), state.p);
    EXPECT_TRUE(faceOf<IMFAsyncResult>(held));
    EXPECT_EQ(held->SetStatus(E_FAIL), S_OK);
    EXPECT_EQ(held->GetStatus(), E_FAIL);
}
