#include "multimedia/SampleRecycler.h"

#include <mfapi.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace tvx
{

namespace
{

CComPtr<IMFMediaBuffer> onlyBuffer(IMFSample *sample)
{
    DWORD count = 0;
    CComPtr<IMFMediaBuffer> buffer;
    if (SUCCEEDED(sample->GetBufferCount(&count)) && count == 1)
        sample->GetBufferByIndex(0, &buffer);
    return buffer;
}

// A consumer may have taken the buffer out of the sample, or put another in its place.
void restoreBuffer(IMFSample *sample, IUnknown *lent)
{
    CComPtr<IMFMediaBuffer> buffer;
    if (onlyBuffer(sample).IsEqualObject(lent) ||
        FAILED(lent->QueryInterface(__uuidof(IMFMediaBuffer), reinterpret_cast<void **>(&buffer))))
        return;
    sample->RemoveAllBuffers();
    sample->AddBuffer(buffer);
}

// How many there are on the sample's only buffer, this function's included; 0 when it has not one. Buffers tell their
// count truly.
ULONG referencesOnBuffer(IMFSample *sample)
{
    const CComPtr<IMFMediaBuffer> buffer = onlyBuffer(sample);
    if (!buffer)
        return 0;
    buffer.p->AddRef();
    return buffer.p->Release();
}

} // namespace

SampleRecycler::SampleRecycler(DWORD limit) : AsyncCallback(L"SampleRecycler", nullptr), m_limit(limit)
{
    m_idle.reserve(limit);
}

HRESULT SampleRecycler::Invoke(IMFAsyncResult *result)
{
    CComPtr<IUnknown> object;
    HRESULT hr = result->GetObject(&object);
    if (FAILED(hr))
        return hr;
    CComPtr<IMFSample> sample;
    hr = object->QueryInterface(__uuidof(IMFSample), reinterpret_cast<void **>(&sample));
    if (FAILED(hr))
        return hr;
    if (CComPtr<IUnknown> buffer; SUCCEEDED(result->GetState(&buffer)) && buffer)
        restoreBuffer(sample, buffer);
    keep(std::move(sample));
    return S_OK;
}

void SampleRecycler::keep(CComPtr<IMFSample> sample)
{
    // Clearing may release objects that call back here, so it happens before the lock is taken.
    sample->DeleteAllItems();
    CComPtr<IMFSample> freed; // outlives the lock
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed || m_limit == 0)
        return;
    // The oldest makes room: if it is idle for long, that may be because its buffer is held for good.
    if (m_idle.size() == m_limit) {
        freed = std::move(m_idle.front());
        m_idle.erase(m_idle.begin());
    }
    m_idle.push_back(std::move(sample));
}

CComPtr<IMFSample> SampleRecycler::take()
{
    CComPtr<IMFSample> sample;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        // A consumer may hold a buffer longer than its sample: in a sample of its own, or locked. That is not written
        // to meanwhile.
        const auto found = std::find_if(m_idle.rbegin(), m_idle.rend(), [this](const CComPtr<IMFSample> &idle) {
            return referencesOnBuffer(idle) <= m_ownReferences;
        });
        if (found == m_idle.rend())
            return sample;
        sample = std::move(*found);
        m_idle.erase(std::next(found).base());
    }
    sample->SetSampleFlags(0);
    sample->SetSampleTime(0);
    sample->SetSampleDuration(0);
    return sample;
}

void SampleRecycler::track(IMFSample *sample)
{
    CComPtr<IMFTrackedSample> tracked;
    if (FAILED(sample->QueryInterface(__uuidof(IMFTrackedSample), reinterpret_cast<void **>(&tracked))))
        return;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_ownReferences == 0)
            m_ownReferences = referencesOnBuffer(sample);
    }
    tracked->SetAllocator(this, onlyBuffer(sample));
}

void SampleRecycler::close()
{
    std::vector<CComPtr<IMFSample>> freed;
    const std::lock_guard<std::mutex> lock(m_mutex);
    freed.swap(m_idle);
    m_closed = true;
}

} // namespace tvx
