// The functions below take the place of the platform library's, since the loader looks into the program first.

#include "tests/support/native/FailingMediaCalls.h"

#include "tests/support/native/RealFunction.h"

#include <evr.h>
#include <mfapi.h>
#include <mfidl.h>

#include <atomic>
#include <stdexcept>

namespace
{

std::atomic<MediaCall> failingCall;
std::atomic<HRESULT> failureOfCall{S_OK};
std::atomic<IMFSample *> madeVideoSample{nullptr};
std::atomic<bool> copiesThrow{false};

HRESULT failureOf(MediaCall call)
{
    return failingCall == call ? failureOfCall.load() : S_OK;
}

} // namespace

FailingMediaCall::FailingMediaCall(MediaCall call, HRESULT failure)
{
    failingCall = call;
    failureOfCall = failure;
}

FailingMediaCall::~FailingMediaCall()
{
    failureOfCall = S_OK;
}

MadeVideoSample::MadeVideoSample(IMFSample &sample)
{
    madeVideoSample = &sample;
}

MadeVideoSample::~MadeVideoSample()
{
    madeVideoSample = nullptr;
}

ThrowingPictureCopies::ThrowingPictureCopies()
{
    copiesThrow = true;
}

ThrowingPictureCopies::~ThrowingPictureCopies()
{
    copiesThrow = false;
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI
MFCreatePresentationDescriptor(DWORD count, IMFStreamDescriptor **descriptors, IMFPresentationDescriptor **descriptor)
{
    const HRESULT failure = failureOf(MediaCall::CreatePresentationDescriptor);
    static auto *const create =
        realFunction<decltype(MFCreatePresentationDescriptor)>("MFCreatePresentationDescriptor");
    return FAILED(failure) ? failure : create(count, descriptors, descriptor);
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFCreateVideoSampleFromSurface(IUnknown *surface,
                                                                                                IMFSample **sample)
{
    if (IMFSample *const made = madeVideoSample) {
        made->AddRef();
        *sample = made;
        return S_OK;
    }
    const HRESULT failure = failureOf(MediaCall::CreateVideoSampleFromSurface);
    static auto *const create =
        realFunction<decltype(MFCreateVideoSampleFromSurface)>("MFCreateVideoSampleFromSurface");
    return FAILED(failure) ? failure : create(surface, sample);
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI
MFCreateDXGISurfaceBuffer(REFIID iid, IUnknown *surface, UINT subresource, BOOL bottomUp, IMFMediaBuffer **buffer)
{
    const HRESULT failure = failureOf(MediaCall::CreateDXGISurfaceBuffer);
    static auto *const create = realFunction<decltype(MFCreateDXGISurfaceBuffer)>("MFCreateDXGISurfaceBuffer");
    return FAILED(failure) ? failure : create(iid, surface, subresource, bottomUp, buffer);
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFCreateTrackedSample(IMFTrackedSample **sample)
{
    const HRESULT failure = failureOf(MediaCall::CreateTrackedSample);
    static auto *const create = realFunction<decltype(MFCreateTrackedSample)>("MFCreateTrackedSample");
    return FAILED(failure) ? failure : create(sample);
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFCopyImage(BYTE *destination, LONG destinationPitch,
                                                                             const BYTE *source, LONG sourcePitch,
                                                                             DWORD lineBytes, DWORD lines)
{
    if (copiesThrow)
        throw std::runtime_error("the picture cannot be copied");
    static auto *const copy = realFunction<decltype(MFCopyImage)>("MFCopyImage");
    return copy(destination, destinationPitch, source, sourcePitch, lineBytes, lines);
}
