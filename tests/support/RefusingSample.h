#pragma once

#include "tests/support/RefusingAttributes.h"

// A sample that takes its time and its duration, or refuses them, as the test says, and can do nothing else. Lives
// where the test puts it: it is not counted.
class RefusingSample : public RefusingAttributes<IMFSample>
{
public:
    HRESULT timeResult = S_OK;
    HRESULT durationResult = S_OK;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID, void **) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    // IMFSample
    STDMETHODIMP GetSampleFlags(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP SetSampleFlags(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetSampleTime(LONGLONG *) override { return E_NOTIMPL; }
    STDMETHODIMP SetSampleTime(LONGLONG) override { return timeResult; }
    STDMETHODIMP GetSampleDuration(LONGLONG *) override { return E_NOTIMPL; }
    STDMETHODIMP SetSampleDuration(LONGLONG) override { return durationResult; }
    STDMETHODIMP GetBufferCount(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetBufferByIndex(DWORD, IMFMediaBuffer **) override { return E_NOTIMPL; }
    STDMETHODIMP ConvertToContiguousBuffer(IMFMediaBuffer **) override { return E_NOTIMPL; }
    STDMETHODIMP AddBuffer(IMFMediaBuffer *) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveBufferByIndex(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveAllBuffers() override { return E_NOTIMPL; }
    STDMETHODIMP GetTotalLength(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP CopyToBuffer(IMFMediaBuffer *) override { return E_NOTIMPL; }
};
