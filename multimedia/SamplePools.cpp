#include "hostfw/SamplePool.h"

#include "multimedia/SampleRecycler.h"

#include <mfapi.h>

namespace tvx
{

namespace
{

CComPtr<SampleRecycler> makeRecycler(DWORD count)
{
    return CComPtr<SampleRecycler>(new SampleRecycler(count));
}

class FixedPool : public ISamplePoolFixed
{
public:
    FixedPool(std::function<HRESULT()> allocator, std::function<HRESULT(IMFSample **)> factory, DWORD count)
        : m_allocator(std::move(allocator)), m_factory(std::move(factory)), m_recycler(makeRecycler(count))
    {
    }
    ~FixedPool() override { m_recycler->close(); }

    HRESULT Pop(IMFSample **sample) override
    {
        if (!sample)
            return E_POINTER;
        CComPtr<IMFSample> popped = m_recycler->take();
        if (!popped) {
            HRESULT hr = m_allocator ? m_allocator() : S_OK;
            if (SUCCEEDED(hr))
                hr = m_factory(&popped);
            if (FAILED(hr))
                return hr;
        }
        if (popped)
            m_recycler->track(popped);
        *sample = popped.Detach();
        return S_OK;
    }

    HRESULT Reset() override
    {
        m_recycler->reset();
        return S_OK;
    }

private:
    const std::function<HRESULT()> m_allocator;
    const std::function<HRESULT(IMFSample **)> m_factory;
    const CComPtr<SampleRecycler> m_recycler;
};

class FlexiblePool : public ISamplePoolFlexible
{
public:
    FlexiblePool(std::function<HRESULT()> allocator, DWORD count)
        : m_allocator(std::move(allocator)), m_recycler(makeRecycler(count))
    {
    }
    ~FlexiblePool() override { m_recycler->close(); }

    HRESULT Pop(IMFSample **sample, DWORD size) override
    {
        if (!sample)
            return E_POINTER;
        CComPtr<IMFSample> popped = m_recycler->take();
        HRESULT hr = S_OK;
        if (!popped) {
            hr = m_allocator ? m_allocator() : S_OK;
            if (SUCCEEDED(hr))
                hr = makeSample(&popped);
        }
        if (SUCCEEDED(hr))
            hr = provideBuffer(popped, size);
        if (FAILED(hr))
            return hr;
        m_recycler->track(popped);
        *sample = popped.Detach();
        return S_OK;
    }

    HRESULT Reset() override
    {
        m_recycler->reset();
        return S_OK;
    }

private:
    static HRESULT makeSample(IMFSample **sample)
    {
        CComPtr<IMFTrackedSample> tracked;
        const HRESULT hr = MFCreateTrackedSample(&tracked);
        if (FAILED(hr))
            return hr;
        return tracked->QueryInterface(__uuidof(IMFSample), reinterpret_cast<void **>(sample));
    }

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
    const CComPtr<SampleRecycler> m_recycler;
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
