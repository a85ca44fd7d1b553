#include "multimedia/TrackedSamples.h"

#include <windows.h>

#include <evr.h>
#include <mfapi.h>
#include <mfidl.h>

namespace tvx
{

namespace
{

HRESULT moveBuffers(IMFSample *from, IMFSample *to)
{
    DWORD count = 0;
    HRESULT hr = from->GetBufferCount(&count);
    for (DWORD index = 0; SUCCEEDED(hr) && index < count; ++index) {
        CComPtr<IMFMediaBuffer> buffer;
        hr = from->GetBufferByIndex(index, &buffer);
        if (SUCCEEDED(hr))
            hr = to->AddBuffer(buffer);
    }
    return SUCCEEDED(hr) ? from->RemoveAllBuffers() : hr;
}

void copyTimes(IMFSample *from, IMFSample *to)
{
    DWORD flags = 0;
    LONGLONG time = 0;
    LONGLONG duration = 0;
    if (SUCCEEDED(from->GetSampleFlags(&flags)))
        to->SetSampleFlags(flags);
    if (SUCCEEDED(from->GetSampleTime(&time)))
        to->SetSampleTime(time);
    if (SUCCEEDED(from->GetSampleDuration(&duration)))
        to->SetSampleDuration(duration);
}

} // namespace

HRESULT makeTrackedSample(IMFSample **sample)
{
    CComPtr<IMFTrackedSample> tracked;
    const HRESULT hr = MFCreateTrackedSample(&tracked);
    if (FAILED(hr))
        return hr;
    return tracked->QueryInterface(__uuidof(IMFSample), reinterpret_cast<void **>(sample));
}

HRESULT makeReadable(CComPtr<IMFSample> &sample)
{
    CComPtr<IMFMediaBuffer> whole;
    if (sample->ConvertToContiguousBuffer(&whole) != E_NOTIMPL)
        return S_OK;
    CComPtr<IMFSample> readable;
    HRESULT hr = makeTrackedSample(&readable);
    if (SUCCEEDED(hr))
        hr = sample->CopyAllItems(readable);
    if (SUCCEEDED(hr))
        hr = moveBuffers(sample, readable);
    if (FAILED(hr))
        return hr;
    copyTimes(sample, readable);
    sample = readable;
    return S_OK;
}

} // namespace tvx
