#pragma once

#include <windows.h>

#include <mfobjects.h>

// A sample that takes its time and its duration, or refuses them, as the test says, and can do nothing else. Lives
// where the test puts it: it is not counted.
class RefusingSample : public IMFSample
{
public:
    HRESULT timeResult = S_OK;
    HRESULT durationResult = S_OK;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID, void **) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    // IMFAttributes
    STDMETHODIMP GetItem(REFGUID, PROPVARIANT *) override { return E_NOTIMPL; }
    STDMETHODIMP GetItemType(REFGUID, MF_ATTRIBUTE_TYPE *) override { return E_NOTIMPL; }
    STDMETHODIMP CompareItem(REFGUID, REFPROPVARIANT, BOOL *) override { return E_NOTIMPL; }
    STDMETHODIMP Compare(IMFAttributes *, MF_ATTRIBUTES_MATCH_TYPE, BOOL *) override { return E_NOTIMPL; }
    STDMETHODIMP GetUINT32(REFGUID, UINT32 *) override { return E_NOTIMPL; }
    STDMETHODIMP GetUINT64(REFGUID, UINT64 *) override { return E_NOTIMPL; }
    STDMETHODIMP GetDouble(REFGUID, double *) override { return E_NOTIMPL; }
    STDMETHODIMP GetGUID(REFGUID, GUID *) override { return E_NOTIMPL; }
    STDMETHODIMP GetStringLength(REFGUID, UINT32 *) override { return E_NOTIMPL; }
    STDMETHODIMP GetString(REFGUID, LPWSTR, UINT32, UINT32 *) override { return E_NOTIMPL; }
    STDMETHODIMP GetAllocatedString(REFGUID, LPWSTR *, UINT32 *) override { return E_NOTIMPL; }
    STDMETHODIMP GetBlobSize(REFGUID, UINT32 *) override { return E_NOTIMPL; }
    STDMETHODIMP GetBlob(REFGUID, UINT8 *, UINT32, UINT32 *) override { return E_NOTIMPL; }
    STDMETHODIMP GetAllocatedBlob(REFGUID, UINT8 **, UINT32 *) override { return E_NOTIMPL; }
    STDMETHODIMP GetUnknown(REFGUID, REFIID, LPVOID *) override { return E_NOTIMPL; }
    STDMETHODIMP SetItem(REFGUID, REFPROPVARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteItem(REFGUID) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteAllItems() override { return E_NOTIMPL; }
    STDMETHODIMP SetUINT32(REFGUID, UINT32) override { return E_NOTIMPL; }
    STDMETHODIMP SetUINT64(REFGUID, UINT64) override { return E_NOTIMPL; }
    STDMETHODIMP SetDouble(REFGUID, double) override { return E_NOTIMPL; }
    STDMETHODIMP SetGUID(REFGUID, REFGUID) override { return E_NOTIMPL; }
    STDMETHODIMP SetString(REFGUID, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP SetBlob(REFGUID, const UINT8 *, UINT32) override { return E_NOTIMPL; }
    STDMETHODIMP SetUnknown(REFGUID, IUnknown *) override { return E_NOTIMPL; }
    STDMETHODIMP LockStore() override { return E_NOTIMPL; }
    STDMETHODIMP UnlockStore() override { return E_NOTIMPL; }
    STDMETHODIMP GetCount(UINT32 *) override { return E_NOTIMPL; }
    STDMETHODIMP GetItemByIndex(UINT32, GUID *, PROPVARIANT *) override { return E_NOTIMPL; }
    STDMETHODIMP CopyAllItems(IMFAttributes *) override { return E_NOTIMPL; }
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
