// The function below takes the place of the platform library's, since the loader looks into the program first.

#include "tests/discovery/ProbeHarness.h"

#include <mfapi.h>

#include <atomic>

#include <dlfcn.h>

namespace
{

std::atomic<HRESULT> failureOfTypes{S_OK};

// Media types cannot be made while it exists.
class FailingMediaTypes
{
public:
    explicit FailingMediaTypes(HRESULT failure) { failureOfTypes = failure; }
    FailingMediaTypes(const FailingMediaTypes &) = delete;
    FailingMediaTypes &operator=(const FailingMediaTypes &) = delete;
    ~FailingMediaTypes() { failureOfTypes = S_OK; }
};

} // namespace

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFCreateMediaType(IMFMediaType **type)
{
    const HRESULT failure = failureOfTypes;
    if (FAILED(failure))
        return failure;
    static const auto real = reinterpret_cast<decltype(&MFCreateMediaType)>(dlsym(RTLD_NEXT, "MFCreateMediaType"));
    return real(type);
}

TEST_F(NDIProbeTest, ATypeThatCannotBeMadeEndsTheRunAndGivesTheFrameBack)
{
    for (const bool isVideo : {true, false}) {
        const FailingMediaTypes failing(E_OUTOFMEMORY);
        log.clear();
        isVideo ? pushVideo() : pushAudio();
        doProbe(forever);
        EXPECT_EQ(E_OUTOFMEMORY, probe.status());
        EXPECT_EQ(1, log.count(QtCriticalMsg, generalLog, " [MFCreateMediaType(&type)] (HR=0x8007000E)"));
        EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "NDI probing error: \"Error\""));
        EXPECT_TRUE(outcomes.empty());
        EXPECT_EQ(ndi.calls().capturedFrames, ndi.calls().freedFrames);
    }
}
