#include "host/pipeline/SampleLoans.h"

#include "host/pipeline/ComFactory.h"

#include <evr.h>
#include <mfapi.h>
#include <mfidl.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace host
{

namespace
{

// More are lent for a moment after a hold-up only.
constexpr std::size_t MostIdle = 8;

HRESULT copyAttributes(IMFSample *from, IMFSample *to)
{
    UINT32 count = 0;
    HRESULT hr = from->GetCount(&count);
    // One by one: copying them all at once takes memory for the whole set, sample after sample.
    for (UINT32 index = 0; SUCCEEDED(hr) && index < count; ++index) {
        GUID key = GUID_NULL;
        PROPVARIANT value;
        PropVariantInit(&value);
        hr = from->GetItemByIndex(index, &key, &value);
        if (SUCCEEDED(hr))
            hr = to->SetItem(key, value);
        PropVariantClear(&value);
    }
    return hr;
}

HRESULT shareBuffers(IMFSample *from, IMFSample *to)
{
    DWORD count = 0;
    HRESULT hr = from->GetBufferCount(&count);
    for (DWORD index = 0; SUCCEEDED(hr) && index < count; ++index) {
        CComPtr<IMFMediaBuffer> buffer;
        hr = from->GetBufferByIndex(index, &buffer);
        if (SUCCEEDED(hr))
            hr = to->AddBuffer(buffer);
    }
    return hr;
}

void copyTimes(IMFSample *from, IMFSample *to)
{
    DWORD flags = 0;
    LONGLONG time = 0;
    LONGLONG duration = 0;
    if (SUCCEEDED(from->GetSampleFlags(&flags)))
        to->SetSampleFlags(flags);
    if (SUCCEEDED(from->GetSampleTime(&time)))
        to->SetSampleTime(time);
    if (SUCCEEDED(from->GetSampleDuration(&duration)))
        to->SetSampleDuration(duration);
}

// A sample keeps what it has of a time and of a duration: neither can be taken off it again.
bool isTimed(IMFSample *sample)
{
    LONGLONG ignored = 0;
    return SUCCEEDED(sample->GetSampleTime(&ignored)) && SUCCEEDED(sample->GetSampleDuration(&ignored));
}

void empty(IMFSample *sample)
{
    sample->DeleteAllItems();
    DWORD count = 0;
    sample->GetBufferCount(&count);
    while (count > 0) // all at once would give back the memory that lists them
        sample->RemoveBufferByIndex(--count);
}

} // namespace

// What a sample that is out stands for; the state that comes back with it.
class SampleLoans::Loan final : public IUnknown, public CUnknown
{
public:
    Loan() : CUnknown(L"SampleLoans::Loan", nullptr) {}

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        return IsEqualIID(iid, __uuidof(IUnknown)) ? GetInterface(static_cast<IUnknown *>(this), out)
                                                   : CUnknown::NonDelegatingQueryInterface(iid, out);
    }

    CComPtr<IMFSample> original;
    Term term;
};

SampleLoans::SampleLoans(ReturnFunction returned)
    : AsyncCallback(L"SampleLoans", nullptr), m_returned(std::make_shared<ReturnFunction>(std::move(returned)))
{
    m_idle.reserve(MostIdle);
}

SampleLoans::~SampleLoans() = default;

CComPtr<IMFSample> SampleLoans::lend(IMFSample *original, const Term &term)
{
    StandIn standIn = take(isTimed(original));
    CComPtr<IMFTrackedSample> tracked;
    if (!standIn.sample || FAILED(standIn.sample.QueryInterface(&tracked)) ||
        FAILED(copyAttributes(original, standIn.sample)) || FAILED(shareBuffers(original, standIn.sample)))
        return nullptr;
    copyTimes(original, standIn.sample);
    standIn.loan->original = original;
    standIn.loan->term = term;
    return SUCCEEDED(tracked->SetAllocator(this, standIn.loan)) ? standIn.sample : nullptr;
}

void SampleLoans::close()
{
    std::vector<StandIn> freed;
    std::shared_ptr<const ReturnFunction> dropped;
    const std::lock_guard<std::mutex> guard(m_lock);
    freed.swap(m_idle);
    dropped.swap(m_returned);
}

HRESULT SampleLoans::Invoke(IMFAsyncResult *result)
{
    CComPtr<IUnknown> state;
    CComPtr<IUnknown> object;
    StandIn standIn;
    HRESULT hr = result->GetState(&state);
    if (SUCCEEDED(hr))
        hr = result->GetObject(&object);
    if (SUCCEEDED(hr))
        hr = object->QueryInterface(__uuidof(IMFSample), reinterpret_cast<void **>(&standIn.sample));
    if (FAILED(hr))
        return hr;
    standIn.loan = static_cast<Loan *>(state.p);
    const Term term = standIn.loan->term;
    empty(standIn.sample);
    standIn.loan->original.Release(); // its pool may have the buffers again
    keep(std::move(standIn));
    std::shared_ptr<const ReturnFunction> returned;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        returned = m_returned;
    }
    if (returned)
        (*returned)(term);
    return S_OK;
}

SampleLoans::StandIn SampleLoans::take(bool timed)
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        // One that had a time before will do for a sample that has one, and only for that.
        if (timed && !m_idle.empty()) {
            StandIn standIn = std::move(m_idle.back());
            m_idle.pop_back();
            return standIn;
        }
    }
    CComPtr<IMFTrackedSample> tracked;
    StandIn standIn;
    standIn.loan = createObject<Loan>();
    if (!standIn.loan || FAILED(MFCreateTrackedSample(&tracked)) || FAILED(tracked.QueryInterface(&standIn.sample)))
        return {};
    return standIn;
}

void SampleLoans::keep(StandIn standIn)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_returned && m_idle.size() < MostIdle)
        m_idle.push_back(std::move(standIn));
}

} // namespace host
