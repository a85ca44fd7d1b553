#pragma once

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "hostfw/ISource.h"
#include "tests/multimedia/Recorded.h"

#include <mfapi.h>

#include <atomic>
#include <functional>
#include <ostream>

// What a request manager told its stream.
struct Delivery {
    enum Kind { Sample, TypeChange, Gap, EndOfStream };

    Kind kind;
    LONGLONG time = 0;         // of a sample or a gap
    IUnknown *token = nullptr; // of a sample
    IMFMediaType *type = nullptr;

    friend bool operator==(const Delivery &left, const Delivery &right)
    {
        return left.kind == right.kind && left.time == right.time && left.token == right.token &&
               left.type == right.type;
    }
    friend std::ostream &operator<<(std::ostream &out, const Delivery &delivery)
    {
        static const char *const names[] = {"sample", "type change", "gap", "end"};
        return out << names[delivery.kind] << " at " << delivery.time << " with " << delivery.token << delivery.type;
    }
};

inline Delivery sampleAt(LONGLONG time, IUnknown *token = nullptr)
{
    return {Delivery::Sample, time, token, nullptr};
}
inline Delivery changeTo(IMFMediaType *type)
{
    return {Delivery::TypeChange, 0, nullptr, type};
}
inline Delivery gapAt(LONGLONG time)
{
    return {Delivery::Gap, time, nullptr, nullptr};
}
inline Delivery endOfStream()
{
    return {Delivery::EndOfStream, 0, nullptr, nullptr};
}

// A stream that remembers what it was told and makes frames as its test says. Thread-safe.
class FakeStream : public tvx::ISourceStream, public CUnknown
{
public:
    FakeStream() : CUnknown(L"FakeStream", nullptr) {}

    Recorded<Delivery> deliveries;
    // What RequestFrame does; set before the first request.
    std::function<HRESULT()> makeFrame = [] { return S_FALSE; };
    // Called at the end of every delivery; set before the first request.
    std::function<void(const Delivery &)> afterDelivery;
    std::atomic<bool> selected{true};
    std::atomic<bool> stopped{false};
    std::atomic<int> frameRequests{0};

    DECLARE_IUNKNOWN

    // IMFMediaEventGenerator
    HRESULT STDMETHODCALLTYPE GetEvent(DWORD, IMFMediaEvent **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback *, IUnknown *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult *, IMFMediaEvent **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType, REFGUID, HRESULT, const PROPVARIANT *) override
    {
        return E_NOTIMPL;
    }
    // IMFMediaStream
    HRESULT STDMETHODCALLTYPE GetMediaSource(IMFMediaSource **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetStreamDescriptor(IMFStreamDescriptor **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RequestSample(IUnknown *) override { return E_NOTIMPL; }
    // tvx::ISourceStream
    HRESULT Initialize() override { return E_NOTIMPL; }
    HRESULT Uninitialize() override { return E_NOTIMPL; }
    HRESULT SetMediaType(IMFMediaType *) override { return E_NOTIMPL; }
    HRESULT MediaTypeChanged(IMFMediaType *type) override { return record(changeTo(type)); }
    bool IsSelected() const override { return selected; }
    HRESULT SetSelected(bool) override { return E_NOTIMPL; }
    bool IsEnded() const override { return false; }
    bool IsStopped() const override { return stopped; }
    HRESULT Start(const PROPVARIANT &) override { return E_NOTIMPL; }
    HRESULT Stop() override { return E_NOTIMPL; }
    HRESULT Pause() override { return E_NOTIMPL; }
    HRESULT Seek(const PROPVARIANT &) override { return E_NOTIMPL; }
    HRESULT SetRate(float) override { return E_NOTIMPL; }
    HRESULT RequestFrame() override
    {
        ++frameRequests;
        return makeFrame();
    }
    HRESULT SetThinMode(bool) override { return E_NOTIMPL; }
    HRESULT DeliverSample(IMFSample *sample, IUnknown *token) override
    {
        LONGLONG time = -1;
        sample->GetSampleTime(&time);
        return record(sampleAt(time, token));
    }
    HRESULT NotifyEndOfStream() override { return record(endOfStream()); }
    HRESULT NotifyGap(LONGLONG time) override { return record(gapAt(time)); }
    HRESULT NotifyStopped() override { return E_NOTIMPL; }
    LONGLONG GetDuration() const override { return 0; }
    HRESULT GetShutdownStatus(MFSHUTDOWN_STATUS *) override { return E_NOTIMPL; }
    HRESULT Shutdown() override { return E_NOTIMPL; }
    HRESULT SetD3DManager(IUnknown *) override { return E_NOTIMPL; }

private:
    HRESULT record(const Delivery &delivery)
    {
        deliveries.add(delivery);
        if (afterDelivery)
            afterDelivery(delivery);
        return S_OK;
    }
};

inline CComPtr<IMFSample> makeSampleAt(LONGLONG time)
{
    CComPtr<IMFSample> sample;
    if (SUCCEEDED(MFCreateSample(&sample)))
        sample->SetSampleTime(time);
    return sample;
}

inline CComPtr<IMFMediaType> makeMediaType()
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    return type;
}
