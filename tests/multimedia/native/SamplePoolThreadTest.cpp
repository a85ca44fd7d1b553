// Not every system lets two threads let go of a tracked sample at the same time.

#include "hostfw/ComPtr.h"
#include "hostfw/SamplePool.h"
#include "tests/multimedia/Recorded.h"

#include <gtest/gtest.h>

#include <evr.h>
#include <mfapi.h>
#include <mfidl.h>

#include <memory>
#include <thread>
#include <vector>

namespace
{

HRESULT makeTrackedSample(IMFSample **sample)
{
    CComPtr<IMFTrackedSample> tracked;
    const HRESULT hr = MFCreateTrackedSample(&tracked);
    return SUCCEEDED(hr) ? tracked->QueryInterface(__uuidof(IMFSample), reinterpret_cast<void **>(sample)) : hr;
}

} // namespace

TEST(FixedSamplePoolThreads, PopAndReleaseAtTheSameTime)
{
    const std::unique_ptr<tvx::ISamplePoolFixed> pool(
        tvx::createFixedSizeSamplePool(nullptr, {}, &makeTrackedSample, 3));
    Recorded<HRESULT> failures;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int frame = 0; frame < 500; ++frame) {
                CComPtr<IMFSample> sample;
                const HRESULT hr = pool->Pop(&sample);
                if (FAILED(hr))
                    failures.add(hr);
                else
                    sample->SetSampleTime(frame);
                if (frame % 100 == 0)
                    pool->Reset();
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(failures.count(), 0U);
}
