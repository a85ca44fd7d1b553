#include "multimedia/SampleRecycler.h"

#include <mfapi.h>

namespace tvx
{

namespace
{

// Which generation of its pool a sample in use belongs to.
// {6C8F0B7D-62B2-4C52-9C52-0B3B6A1E7C11}
constexpr GUID generationAttribute = {0x6c8f0b7d, 0x62b2, 0x4c52, {0x9c, 0x52, 0x0b, 0x3b, 0x6a, 0x1e, 0x7c, 0x11}};

} // namespace

SampleRecycler::SampleRecycler(DWORD limit) : CUnknown(L"SampleRecycler", nullptr), m_limit(limit)
{
    m_idle.reserve(limit);
}

HRESULT SampleRecycler::NonDelegatingQueryInterface(REFIID iid, void **out)
{
    if (IsEqualIID(iid, __uuidof(IMFAsyncCallback)))
        return GetInterface(static_cast<IMFAsyncCallback *>(this), out);
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT SampleRecycler::GetParameters(DWORD *, DWORD *)
{
    return E_NOTIMPL;
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
    UINT32 generation = 0;
    sample->GetUINT32(generationAttribute, &generation);
    // Clearing may release objects that call back here, so it happens before the lock is taken.
    sample->DeleteAllItems();
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_closed && generation == m_generation && m_idle.size() < m_limit)
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
    if (FAILED(sample->QueryInterface(__uuidof(IMFTrackedSample), reinterpret_cast<void **>(&tracked))))
        return;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        sample->SetUINT32(generationAttribute, m_generation);
    }
    tracked->SetAllocator(this, nullptr);
}

void SampleRecycler::reset()
{
    std::vector<CComPtr<IMFSample>> freed;
    const std::lock_guard<std::mutex> lock(m_mutex);
    freed.swap(m_idle);
    m_idle.reserve(m_limit);
    ++m_generation;
}

void SampleRecycler::close()
{
    std::vector<CComPtr<IMFSample>> freed;
    const std::lock_guard<std::mutex> lock(m_mutex);
    freed.swap(m_idle);
    m_closed = true;
}

} // namespace tvx
