// The functions below take the place of the platform library's, since the loader looks into the program first.

#include "tests/multimedia/native/PlatformFailures.h"

#include <mfapi.h>

#include <atomic>

#include <dlfcn.h>

namespace
{

std::atomic<HRESULT> failureOfQueues{S_OK};

// The platform library's own function of that name and type.
template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

FailingQueues::FailingQueues(HRESULT failure)
{
    failureOfQueues = failure;
}

FailingQueues::~FailingQueues()
{
    failureOfQueues = S_OK;
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFCreateEventQueue(IMFMediaEventQueue **queue)
{
    const HRESULT failure = failureOfQueues;
    return FAILED(failure) ? failure : real<decltype(MFCreateEventQueue)>("MFCreateEventQueue")(queue);
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFAllocateWorkQueueEx(MFASYNC_WORKQUEUE_TYPE type,
                                                                                       DWORD *queue)
{
    const HRESULT failure = failureOfQueues;
    return FAILED(failure) ? failure : real<decltype(MFAllocateWorkQueueEx)>("MFAllocateWorkQueueEx")(type, queue);
}
