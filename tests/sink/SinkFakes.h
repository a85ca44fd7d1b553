#pragma once

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "tests/support/RefusingSample.h"

#include <mfidl.h>

#include <vector>

// A clock that shows the time it is given, and whose state sinks are written down and never told anything.
class FakeClock : public IMFPresentationClock, public CUnknown
{
public:
    // With an outer object the clock is another face of that one.
    explicit FakeClock(IUnknown *outer = nullptr) : CUnknown(L"FakeClock", outer) {}

    HRESULT timeResult = S_OK;
    HRESULT addResult = S_OK;
    HRESULT removeResult = S_OK;
    MFTIME time = 0;
    int added = 0;
    int removed = 0;

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (IsEqualIID(iid, __uuidof(IMFPresentationClock)))
            return GetInterface(static_cast<IMFPresentationClock *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }

    // IMFClock
    STDMETHODIMP GetClockCharacteristics(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetCorrelatedTime(DWORD, LONGLONG *, MFTIME *) override { return E_NOTIMPL; }
    STDMETHODIMP GetContinuityKey(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetState(DWORD, MFCLOCK_STATE *) override { return E_NOTIMPL; }
    STDMETHODIMP GetProperties(MFCLOCK_PROPERTIES *) override { return E_NOTIMPL; }
    // IMFPresentationClock
    STDMETHODIMP SetTimeSource(IMFPresentationTimeSource *) override { return E_NOTIMPL; }
    STDMETHODIMP GetTimeSource(IMFPresentationTimeSource **) override { return E_NOTIMPL; }
    STDMETHODIMP GetTime(MFTIME *out) override
    {
        *out = time;
        return timeResult;
    }
    STDMETHODIMP AddClockStateSink(IMFClockStateSink *) override
    {
        ++added;
        return addResult;
    }
    STDMETHODIMP RemoveClockStateSink(IMFClockStateSink *) override
    {
        ++removed;
        return removeResult;
    }
    STDMETHODIMP Start(LONGLONG) override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return E_NOTIMPL; }
    STDMETHODIMP Pause() override { return E_NOTIMPL; }
};

// A buffer that cannot be locked.
class UnreadableBuffer : public IMFMediaBuffer, public CUnknown
{
public:
    UnreadableBuffer() : CUnknown(L"UnreadableBuffer", nullptr) {}

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (IsEqualIID(iid, __uuidof(IMFMediaBuffer)))
            return GetInterface(static_cast<IMFMediaBuffer *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }
    STDMETHODIMP Lock(BYTE **, DWORD *, DWORD *) override { return E_ACCESSDENIED; }
    STDMETHODIMP Unlock() override { return E_ACCESSDENIED; }
    STDMETHODIMP GetCurrentLength(DWORD *length) override
    {
        *length = 4096;
        return S_OK;
    }
    STDMETHODIMP SetCurrentLength(DWORD) override { return S_OK; }
    STDMETHODIMP GetMaxLength(DWORD *length) override { return GetCurrentLength(length); }
};

// The buffers of another sample, with metadata that has a size and cannot be read. No time.
class UnreadableMetadataSample : public RefusingSample
{
public:
    explicit UnreadableMetadataSample(const CComPtr<IMFSample> &buffers) : m_buffers(buffers) {}

    int metadataReads = 0;

    STDMETHODIMP ConvertToContiguousBuffer(IMFMediaBuffer **buffer) override
    {
        return m_buffers->ConvertToContiguousBuffer(buffer);
    }
    STDMETHODIMP GetBlobSize(REFGUID, UINT32 *size) override
    {
        *size = 5;
        return S_OK;
    }
    STDMETHODIMP GetBlob(REFGUID, UINT8 *, UINT32, UINT32 *) override
    {
        ++metadataReads;
        return E_ACCESSDENIED;
    }

private:
    const CComPtr<IMFSample> m_buffers;
};

// A media sink that has the streams it is given and fails where it is told to. Its streams are not counted.
class FakeSink : public IMFMediaSink, public CUnknown
{
public:
    FakeSink() : CUnknown(L"FakeSink", nullptr) {}

    std::vector<IMFStreamSink *> streams;
    HRESULT countResult = S_OK;
    HRESULT indexResult = S_OK;

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (IsEqualIID(iid, __uuidof(IMFMediaSink)))
            return GetInterface(static_cast<IMFMediaSink *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }
    STDMETHODIMP GetCharacteristics(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP AddStreamSink(DWORD, IMFMediaType *, IMFStreamSink **) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveStreamSink(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamSinkCount(DWORD *count) override
    {
        *count = static_cast<DWORD>(streams.size());
        return countResult;
    }
    STDMETHODIMP GetStreamSinkByIndex(DWORD index, IMFStreamSink **stream) override
    {
        if (FAILED(indexResult))
            return indexResult;
        return streams.at(index)->QueryInterface(__uuidof(IMFStreamSink), reinterpret_cast<void **>(stream));
    }
    STDMETHODIMP GetStreamSinkById(DWORD, IMFStreamSink **) override { return E_NOTIMPL; }
    STDMETHODIMP SetPresentationClock(IMFPresentationClock *) override { return E_NOTIMPL; }
    STDMETHODIMP GetPresentationClock(IMFPresentationClock **) override { return E_NOTIMPL; }
    STDMETHODIMP Shutdown() override { return E_NOTIMPL; }
};
