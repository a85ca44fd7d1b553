#include "multimedia/SampleRecycler.h"

#include <mfapi.h>

namespace tvx
{

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
    if (SUCCEEDED(hr))
        keep(std::move(sample));
    return hr;
}

void SampleRecycler::keep(CComPtr<IMFSample> sample)
{
    // Clearing may release objects that call back here, so it happens before the lock is taken.
    sample->DeleteAllItems();
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_closed && m_idle.size() < m_limit)
        m_idle.push_back(std::move(sample));
}

CComPtr<IMFSample> SampleRecycler::take()
{
    CComPtr<IMFSample> sample;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_idle.empty())
            return sample;
        sample = std::move(m_idle.back());
        m_idle.pop_back();
    }
    sample->SetSampleFlags(0);
    sample->SetSampleTime(0);
    sample->SetSampleDuration(0);
    return sample;
}

void SampleRecycler::track(IMFSample *sample)
{
    CComPtr<IMFTrackedSample> tracked;
    if (SUCCEEDED(sample->QueryInterface(__uuidof(IMFTrackedSample), reinterpret_cast<void **>(&tracked))))
        tracked->SetAllocator(this, nullptr);
}

void SampleRecycler::close()
{
    std::vector<CComPtr<IMFSample>> freed;
    const std::lock_guard<std::mutex> lock(m_mutex);
    freed.swap(m_idle);
    m_closed = true;
}

} // namespace tvx
