#include "hostfw/SamplePool.h"

#include "multimedia/SampleRecycler.h"
#include "multimedia/TrackedSamples.h"

#include <mfapi.h>

#include <mutex>

namespace tvx
{

namespace
{

// A pool's recycler: a new one after each reset, so that samples handed out before come back to one that is closed.
// Thread-safe.
class CurrentRecycler
{
public:
    explicit CurrentRecycler(DWORD limit) : m_limit(limit), m_recycler(new SampleRecycler(limit)) {}
    CurrentRecycler(const CurrentRecycler &) = delete;
    CurrentRecycler &operator=(const CurrentRecycler &) = delete;
    ~CurrentRecycler() { m_recycler->close(); }

    CComPtr<SampleRecycler> get() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_recycler;
    }
    void reset()
    {
        CComPtr<SampleRecycler> recycler(new SampleRecycler(m_limit));
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            std::swap(recycler, m_recycler);
        }
        recycler->close();
    }

private:
    const DWORD m_limit;
    mutable std::mutex m_mutex;
    CComPtr<SampleRecycler> m_recycler; // guarded by m_mutex
};

class FixedPool : public ISamplePoolFixed
{
public:
    FixedPool(std::function<HRESULT()> allocator, std::function<HRESULT(IMFSample **)> factory, DWORD count)
        : m_allocator(std::move(allocator)), m_factory(std::move(factory)), m_recycler(count)
    {
    }

    HRESULT Pop(IMFSample **sample) override
    {
        if (!sample)
            return E_POINTER;
        const CComPtr<SampleRecycler> recycler = m_recycler.get();
        CComPtr<IMFSample> popped = recycler->take();
        if (!popped) {
            HRESULT hr = m_allocator ? m_allocator() : S_OK;
            if (SUCCEEDED(hr))
                hr = m_factory(&popped);
            if (SUCCEEDED(hr) && popped)
                hr = makeReadable(popped);
            if (FAILED(hr))
                return hr;
        }
        if (popped)
            recycler->track(popped);
        *sample = popped.Detach();
        return S_OK;
    }

    HRESULT Reset() override
    {
        m_recycler.reset();
        return S_OK;
    }

private:
    const std::function<HRESULT()> m_allocator;
    const std::function<HRESULT(IMFSample **)> m_factory;
    CurrentRecycler m_recycler;
};

class FlexiblePool : public ISamplePoolFlexible
{
public:
    FlexiblePool(std::function<HRESULT()> allocator, DWORD count) : m_allocator(std::move(allocator)), m_recycler(count)
    {
    }

    HRESULT Pop(IMFSample **sample, DWORD size) override
    {
        if (!sample)
            return E_POINTER;
        const CComPtr<SampleRecycler> recycler = m_recycler.get();
        CComPtr<IMFSample> popped = recycler->take();
        HRESULT hr = S_OK;
        if (!popped) {
            hr = m_allocator ? m_allocator() : S_OK;
            if (SUCCEEDED(hr))
                hr = makeTrackedSample(&popped);
        }
        if (SUCCEEDED(hr))
            hr = provideBuffer(popped, size);
        if (FAILED(hr))
            return hr;
        recycler->track(popped);
        *sample = popped.Detach();
        return S_OK;
    }

    HRESULT Reset() override
    {
        m_recycler.reset();
        return S_OK;
    }

private:
    static HRESULT provideBuffer(IMFSample *sample, DWORD size)
    {
        CComPtr<IMFMediaBuffer> buffer;
        DWORD room = 0;
        if (SUCCEEDED(sample->GetBufferByIndex(0, &buffer)) && SUCCEEDED(buffer->GetMaxLength(&room)) && room >= size)
            return buffer->SetCurrentLength(0);
        sample->RemoveAllBuffers();
        buffer.Release();
        const HRESULT hr = MFCreateMemoryBuffer(size, &buffer);
        return SUCCEEDED(hr) ? sample->AddBuffer(buffer) : hr;
    }

    const std::function<HRESULT()> m_allocator;
    CurrentRecycler m_recycler;
};

} // namespace

ISamplePoolFlexible *createFlexibleSamplePool(IUnknown * /*owner*/, std::function<HRESULT()> &&allocator, DWORD count)
{
    return new FlexiblePool(std::move(allocator), count);
}

ISamplePoolFixed *createFixedSizeSamplePool(IUnknown * /*owner*/, std::function<HRESULT()> &&allocator,
                                            std::function<HRESULT(IMFSample **)> &&factory, DWORD count)
{
    return new FixedPool(std::move(allocator), std::move(factory), count);
}

} // namespace tvx
