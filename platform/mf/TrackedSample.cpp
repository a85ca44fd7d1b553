#include "platform/mf/SampleObject.h"

#include <evr.h>
#include <mfidl.h>

#include <atomic>

namespace winmedia
{

namespace
{

class TrackedSample;

// What the allocator is called with. A part of its sample, so that coming back costs no allocation; while anyone refers
// to it the sample lives.
class ReturnedSample : public MFASYNCRESULT
{
public:
    explicit ReturnedSample(TrackedSample &sample);
    ReturnedSample(const ReturnedSample &) = delete;
    ReturnedSample &operator=(const ReturnedSample &) = delete;

    // Calls the allocator. Nobody refers to this object before.
    void deliver(Ref<IMFAsyncCallback> allocator, Ref<IUnknown> state);

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void **out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }
    STDMETHODIMP_(ULONG) Release() override;
    // IMFAsyncResult
    STDMETHODIMP GetState(IUnknown **state) override { return state && m_state ? m_state.copyTo(state) : E_POINTER; }
    STDMETHODIMP GetStatus() override { return hrStatusResult; }
    STDMETHODIMP SetStatus(HRESULT status) override
    {
        hrStatusResult = status;
        return S_OK;
    }
    STDMETHODIMP GetObject(IUnknown **object) override;
    STDMETHODIMP_(IUnknown *) GetStateNoAddRef() override { return m_state.get(); }

private:
    TrackedSample &m_sample;
    std::atomic<ULONG> m_references{0};
    Ref<IMFAsyncCallback> m_allocator;
    Ref<IUnknown> m_state;
};

// A sample that tells its allocator when its last reference goes, and lives on in the allocator's hands.
class TrackedSample : public SampleObject<IMFTrackedSample>
{
public:
    STDMETHODIMP SetAllocator(IMFAsyncCallback *allocator, IUnknown *state) override
    {
        if (!allocator)
            return E_POINTER;
        const std::lock_guard lock(m_allocatorMutex);
        if (m_allocator)
            return MF_E_NOTACCEPTING;
        m_allocator = allocator;
        m_state = state;
        return S_OK;
    }

protected:
    void lastReferenceGone() override
    {
        // With no reference left no other thread can be here.
        if (m_allocator)
            m_returned.deliver(std::move(m_allocator), std::move(m_state));
        else
            delete this;
    }

private:
    ReturnedSample m_returned{*this};
    std::mutex m_allocatorMutex; // guards both below while there are references
    Ref<IMFAsyncCallback> m_allocator;
    Ref<IUnknown> m_state;
};

ReturnedSample::ReturnedSample(TrackedSample &sample) : m_sample(sample)
{
    overlapped = {};
    pCallback = nullptr;
    hrStatusResult = S_OK;
    dwBytesTransferred = 0;
    hEvent = nullptr;
}

void ReturnedSample::deliver(Ref<IMFAsyncCallback> allocator, Ref<IUnknown> state)
{
    m_sample.AddRef();
    m_allocator = std::move(allocator);
    m_state = std::move(state);
    pCallback = m_allocator.get();
    hrStatusResult = S_OK;
    const Ref<IMFAsyncResult> self(this);
    m_allocator->Invoke(this);
}

STDMETHODIMP ReturnedSample::QueryInterface(REFIID iid, void **out)
{
    if (!out)
        return E_POINTER;
    *out = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, __uuidof(IMFAsyncResult)))
        return E_NOINTERFACE;
    *out = static_cast<IMFAsyncResult *>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) ReturnedSample::Release()
{
    const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        // What is released below may be the last to hold anything, this sample included.
        const Ref<IMFAsyncCallback> allocator = std::move(m_allocator);
        const Ref<IUnknown> state = std::move(m_state);
        pCallback = nullptr;
        m_sample.Release();
    }
    return left;
}

STDMETHODIMP ReturnedSample::GetObject(IUnknown **object)
{
    return object ? m_sample.QueryInterface(IID_IUnknown, reinterpret_cast<void **>(object)) : E_POINTER;
}

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateTrackedSample(IMFTrackedSample **sample)
{
    if (!sample)
        return E_POINTER;
    *sample = winmedia::createObject<winmedia::TrackedSample>().detach();
    return *sample ? S_OK : E_OUTOFMEMORY;
}

HRESULT WINAPI MFCreateVideoSampleFromSurface(IUnknown *surface, IMFSample **sample)
{
    if (!sample)
        return E_POINTER;
    if (surface)
        return E_NOTIMPL;
    *sample = winmedia::createObject<winmedia::TrackedSample>().detach();
    return *sample ? S_OK : E_OUTOFMEMORY;
}
