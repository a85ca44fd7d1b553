// The functions below take the place of the platform library's, since the loader looks into the program first.

#include "tests/multimedia/native/PlatformFailures.h"

#include "tests/support/native/RealFunction.h"

#include <mfapi.h>

#include <atomic>

namespace
{

std::atomic<HRESULT> failureOfQueues{S_OK};

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
    return FAILED(failure) ? failure : realFunction<decltype(MFCreateEventQueue)>("MFCreateEventQueue")(queue);
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFAllocateWorkQueueEx(MFASYNC_WORKQUEUE_TYPE type,
                                                                                       DWORD *queue)
{
    const HRESULT failure = failureOfQueues;
    return FAILED(failure) ? failure
                           : realFunction<decltype(MFAllocateWorkQueueEx)>("MFAllocateWorkQueueEx")(type, queue);
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFPutWorkItem2(DWORD queue, LONG priority,
                                                                                IMFAsyncCallback *callback,
                                                                                IUnknown *state)
{
    const HRESULT failure = failureOfQueues;
    return FAILED(failure) ? failure
                           : realFunction<decltype(MFPutWorkItem2)>("MFPutWorkItem2")(queue, priority, callback, state);
}
