// Not every system lets two threads let go of a tracked sample at the same time, and comes back before the last one's
// Release() returns.

#include "tests/platform/DataSupport.h"

#include <evr.h>
#include <mfidl.h>

#include <thread>

using TrackedSampleNative = StartedPlatform;

TEST_F(TrackedSampleNative, CirculatesBetweenThreads)
{
    constexpr int rounds = 500;
    std::atomic<int> calls{0};
    CComPtr<IMFTrackedSample> returned;
    const CComPtr<IMFAsyncCallback> allocator(new Callback([&](IMFAsyncResult *result) {
        CComPtr<IUnknown> object;
        EXPECT_EQ(result->GetObject(&object), S_OK);
        returned = faceOf<IMFTrackedSample>(object);
        ++calls;
    }));
    CComPtr<IMFTrackedSample> sample;
    ASSERT_EQ(MFCreateTrackedSample(&sample), S_OK);
    for (int round = 0; round < rounds; ++round) {
        ASSERT_EQ(sample->SetAllocator(allocator, nullptr), S_OK);
        // Either thread may be the one that lets go last.
        CComPtr<IMFTrackedSample> theirs(sample);
        std::thread other([&theirs] { theirs.Release(); });
        sample.Release();
        other.join();
        ASSERT_EQ(calls, round + 1);
        sample = std::move(returned);
    }
}
