#pragma once

#include <windows.h>

#include <mfobjects.h>

// The functions of Media Foundation that can be made to fail.
enum class MediaCall {
    CreatePresentationDescriptor,
    CreateVideoSampleFromSurface,
    CreateDXGISurfaceBuffer,
    CreateTrackedSample,
};

// While it exists, that function fails. One at a time, for calls on any thread.
class FailingMediaCall
{
public:
    FailingMediaCall(MediaCall call, HRESULT failure);
    FailingMediaCall(const FailingMediaCall &) = delete;
    FailingMediaCall &operator=(const FailingMediaCall &) = delete;
    ~FailingMediaCall();
};

// While it exists, that sample is made for every video sample. Likewise.
class MadeVideoSample
{
public:
    explicit MadeVideoSample(IMFSample &sample);
    MadeVideoSample(const MadeVideoSample &) = delete;
    MadeVideoSample &operator=(const MadeVideoSample &) = delete;
    ~MadeVideoSample();
};

// While it exists, copying a picture throws std::runtime_error. Likewise.
class ThrowingPictureCopies
{
public:
    ThrowingPictureCopies();
    ThrowingPictureCopies(const ThrowingPictureCopies &) = delete;
    ThrowingPictureCopies &operator=(const ThrowingPictureCopies &) = delete;
    ~ThrowingPictureCopies();
};
