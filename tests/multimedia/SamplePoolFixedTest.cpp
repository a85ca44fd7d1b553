#include "tests/multimedia/SamplePoolSupport.h"
#include "tests/support/RefusingSample.h"

#include <d3d9types.h>
#include <evr.h>
#include <mferror.h>

#include <memory>
#include <thread>
#include <vector>

namespace
{

constexpr DWORD bufferSize = 64;

HRESULT makeTrackedSample(IMFSample **out)
{
    CComPtr<IMFTrackedSample> tracked;
    CComPtr<IMFMediaBuffer> buffer;
    HRESULT hr = MFCreateTrackedSample(&tracked);
    if (SUCCEEDED(hr))
        hr = MFCreateMemoryBuffer(bufferSize, &buffer);
    if (FAILED(hr))
        return hr;
    Sample sample;
    hr = tracked->QueryInterface(__uuidof(IMFSample), reinterpret_cast<void **>(&sample));
    if (SUCCEEDED(hr))
        hr = sample->AddBuffer(buffer);
    return SUCCEEDED(hr) ? sample.CopyTo(out) : hr;
}

// Has two buffers and an attribute, of which nobody is given one buffer.
class SurfaceSample : public RefusingSample
{
public:
    SurfaceSample()
    {
        for (CComPtr<IMFMediaBuffer> &buffer : m_buffers)
            MFCreateMemoryBuffer(bufferSize, &buffer);
    }

    const CComPtr<IMFMediaBuffer> &buffer(int index) const { return m_buffers[index]; }
    DWORD count() const { return m_count; }

    STDMETHODIMP CopyAllItems(IMFAttributes *to) override { return to->SetUINT32(someAttribute, 7); }
    STDMETHODIMP GetSampleFlags(DWORD *flags) override { return *flags = 30, S_OK; }
    STDMETHODIMP GetSampleTime(LONGLONG *time) override { return *time = 10, S_OK; }
    STDMETHODIMP GetSampleDuration(LONGLONG *duration) override { return *duration = 20, S_OK; }
    STDMETHODIMP GetBufferCount(DWORD *count) override { return *count = m_count, S_OK; }
    STDMETHODIMP GetBufferByIndex(DWORD index, IMFMediaBuffer **buffer) override
    {
        return m_buffers[index].CopyTo(buffer);
    }
    STDMETHODIMP RemoveAllBuffers() override { return m_count = 0, S_OK; }

private:
    CComPtr<IMFMediaBuffer> m_buffers[2];
    DWORD m_count = 2;
};

class FixedSamplePool : public testing::Test
{
protected:
    static constexpr DWORD limit = 3;

    Sample pop()
    {
        Sample sample;
        EXPECT_EQ(m_pool->Pop(&sample), S_OK);
        return sample;
    }
    std::vector<Sample> pop(int count)
    {
        std::vector<Sample> samples;
        while (count-- > 0)
            samples.push_back(pop());
        return samples;
    }
    // As a consumer that is done with as many at a time.
    void use(int count = 1)
    {
        pop(count);
        expectSamplesToComeBack();
    }

    int m_allocatorCalls = 0;
    int m_factoryCalls = 0;
    std::unique_ptr<tvx::ISamplePoolFixed> m_pool{tvx::createFixedSizeSamplePool(
        nullptr,
        [this] {
            ++m_allocatorCalls;
            return S_OK;
        },
        [this](IMFSample **sample) {
            ++m_factoryCalls;
            return makeTrackedSample(sample);
        },
        limit)};
};

} // namespace

TEST_F(FixedSamplePool, MakesNothingBeforeItIsAsked)
{
    EXPECT_EQ(m_factoryCalls, 0);
}

TEST_F(FixedSamplePool, UsesOneSampleForAStreamWhoseConsumerHoldsOne)
{
    for (int frame = 0; frame < 100; ++frame)
        use();
    EXPECT_EQ(m_factoryCalls, 1);
    EXPECT_EQ(m_allocatorCalls, 1);
}

TEST_F(FixedSamplePool, MakesAnotherWhenAllAreInUse)
{
    const std::vector<Sample> samples = pop(limit + 2);
    EXPECT_EQ(m_factoryCalls, static_cast<int>(limit) + 2);
}

TEST_F(FixedSamplePool, KeepsNoMoreIdleSamplesThanItsLimit)
{
    use(limit + 2);
    ASSERT_EQ(m_factoryCalls, static_cast<int>(limit) + 2);
    const std::vector<Sample> samples = pop(limit);
    EXPECT_EQ(m_factoryCalls, static_cast<int>(limit) + 2);
    pop();
    EXPECT_EQ(m_factoryCalls, static_cast<int>(limit) + 3);
}

TEST_F(FixedSamplePool, HandsOutClearedSamplesWithTheirBuffers)
{
    const IMFMediaBuffer *buffer = nullptr;
    {
        const Sample sample = pop();
        buffer = bufferOf(sample);
        fill(sample);
    }
    expectSamplesToComeBack();
    const Sample recycled = pop();
    ASSERT_EQ(m_factoryCalls, 1);
    expectCleared(recycled);
    EXPECT_EQ(bufferOf(recycled).p, buffer);
}

TEST_F(FixedSamplePool, LeavesABufferAloneThatItsConsumerStillHolds)
{
    CComPtr<IMFMediaBuffer> held = bufferOf(pop());
    expectSamplesToComeBack();
    EXPECT_NE(bufferOf(pop()).p, held.p);
    expectSamplesToComeBack();
    EXPECT_EQ(m_factoryCalls, 2);
    held.Release();
    use(2);
    EXPECT_EQ(m_factoryCalls, 2);
}

TEST_F(FixedSamplePool, TakesAnIdleSampleBesideOneWhoseBufferIsHeld)
{
    std::vector<Sample> samples = pop(2);
    const CComPtr<IMFMediaBuffer> held = bufferOf(samples[1]);
    samples.clear();
    expectSamplesToComeBack();
    for (int frame = 0; frame < 10; ++frame) {
        EXPECT_NE(bufferOf(pop()).p, held.p);
        expectSamplesToComeBack();
    }
    EXPECT_EQ(m_factoryCalls, 2);
}

TEST_F(FixedSamplePool, DoesNotCountSamplesWhoseBuffersAreHeldForGood)
{
    std::vector<CComPtr<IMFMediaBuffer>> held;
    for (const Sample &sample : pop(limit))
        held.push_back(bufferOf(sample));
    expectSamplesToComeBack();
    for (int frame = 0; frame < 10; ++frame)
        use();
    EXPECT_EQ(m_factoryCalls, static_cast<int>(limit) + 1);
}

TEST_F(FixedSamplePool, PutsABufferBackThatWasTakenOut)
{
    pop()->RemoveAllBuffers();
    expectSamplesToComeBack();
    const Sample recycled = pop();
    EXPECT_EQ(m_factoryCalls, 1);
    DWORD buffers = 0;
    recycled->GetBufferCount(&buffers);
    EXPECT_EQ(buffers, 1U);
}

TEST_F(FixedSamplePool, PutsItsOwnBufferBackWhereAnotherWasPut)
{
    const IMFMediaBuffer *own = nullptr;
    {
        const Sample sample = pop();
        own = bufferOf(sample);
        CComPtr<IMFMediaBuffer> smaller;
        ASSERT_EQ(MFCreateMemoryBuffer(1, &smaller), S_OK);
        sample->RemoveAllBuffers();
        sample->AddBuffer(smaller);
    }
    expectSamplesToComeBack();
    EXPECT_EQ(bufferOf(pop()).p, own);
    EXPECT_EQ(m_factoryCalls, 1);
}

TEST_F(FixedSamplePool, AddsNothingToAFreshSample)
{
    UINT32 attributes = 1;
    pop()->GetCount(&attributes);
    EXPECT_EQ(attributes, 0U);
}

TEST_F(FixedSamplePool, ResetMakesSamplesAnew)
{
    const Sample inUse = pop();
    use();
    ASSERT_EQ(m_factoryCalls, 2);
    EXPECT_EQ(m_pool->Reset(), S_OK);
    pop();
    EXPECT_EQ(m_factoryCalls, 3);
}

TEST_F(FixedSamplePool, SamplesInUseDoNotComeBackAfterReset)
{
    Sample inUse = pop();
    m_pool->Reset();
    inUse.Release();
    expectSamplesToComeBack();
    pop();
    EXPECT_EQ(m_factoryCalls, 2);
}

TEST_F(FixedSamplePool, RecyclesAfterResetWhateverTheConsumerDoesToAttributes)
{
    m_pool->Reset();
    pop()->DeleteAllItems();
    expectSamplesToComeBack();
    pop();
    EXPECT_EQ(m_factoryCalls, 1);
}

TEST_F(FixedSamplePool, TakesSamplesBackOnAnyThread)
{
    constexpr int frames = 2000;
    for (int frame = 0; frame < frames; ++frame) {
        std::vector<Sample> samples = pop(1);
        if (frame % 100 == 0)
            std::thread([taken = std::move(samples)]() mutable { taken.clear(); }).join();
        samples.clear();
        expectSamplesToComeBack();
    }
    EXPECT_EQ(m_factoryCalls, 1);
}

TEST_F(FixedSamplePool, SamplesOutliveThePool)
{
    Sample sample = pop();
    m_pool.reset();
    fill(sample);
    EXPECT_EQ(bufferOf(sample)->SetCurrentLength(bufferSize), S_OK);
}

TEST_F(FixedSamplePool, PassesTheFactorysFailureOn)
{
    const std::unique_ptr<tvx::ISamplePoolFixed> pool(tvx::createFixedSizeSamplePool(
        nullptr, {}, [](IMFSample **) { return MF_E_INVALIDMEDIATYPE; }, limit));
    Sample sample;
    EXPECT_EQ(pool->Pop(&sample), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(sample.p, nullptr);
}

TEST_F(FixedSamplePool, AsksTheAllocatorBeforeTheFactory)
{
    const std::unique_ptr<tvx::ISamplePoolFixed> pool(tvx::createFixedSizeSamplePool(
        nullptr, [] { return E_OUTOFMEMORY; },
        [this](IMFSample **sample) {
            ++m_factoryCalls;
            return makeTrackedSample(sample);
        },
        limit));
    Sample sample;
    EXPECT_EQ(pool->Pop(&sample), E_OUTOFMEMORY);
    EXPECT_EQ(m_factoryCalls, 0);
}

TEST_F(FixedSamplePool, GivesSamplesThatCannotBeTrackedAway)
{
    const std::unique_ptr<tvx::ISamplePoolFixed> pool(tvx::createFixedSizeSamplePool(
        nullptr, {},
        [this](IMFSample **sample) {
            ++m_factoryCalls;
            return MFCreateSample(sample);
        },
        limit));
    for (int frame = 0; frame < 2; ++frame) {
        Sample sample;
        ASSERT_EQ(pool->Pop(&sample), S_OK);
    }
    EXPECT_EQ(m_factoryCalls, 2);
}

TEST_F(FixedSamplePool, MovesWhatASampleThatCannotBeReadHoldsIntoOneThatCan)
{
    SurfaceSample surface;
    const std::unique_ptr<tvx::ISamplePoolFixed> pool(tvx::createFixedSizeSamplePool(
        nullptr, {}, [&](IMFSample **sample) { return *sample = &surface, S_OK; }, limit));
    Sample sample;
    ASSERT_EQ(pool->Pop(&sample), S_OK);
    UINT32 attribute = 0;
    sample->GetUINT32(someAttribute, &attribute);
    EXPECT_EQ(attribute, 7U);
    EXPECT_EQ(marksOf(sample), Marks(10, 20, 30));
    CComPtr<IMFMediaBuffer> second;
    ASSERT_EQ(sample->GetBufferByIndex(1, &second), S_OK);
    EXPECT_EQ(bufferOf(sample).p, surface.buffer(0).p);
    EXPECT_EQ(second.p, surface.buffer(1).p);
    EXPECT_EQ(surface.count(), 0U);
    CComPtr<IMFMediaBuffer> whole;
    EXPECT_EQ(sample->ConvertToContiguousBuffer(&whole), S_OK);
}

TEST_F(FixedSamplePool, RecyclesTheSampleThatTookAnothersPlace)
{
    SurfaceSample surface;
    const std::unique_ptr<tvx::ISamplePoolFixed> pool(tvx::createFixedSizeSamplePool(
        nullptr, {},
        [&](IMFSample **sample) {
            ++m_factoryCalls;
            return *sample = &surface, S_OK;
        },
        limit));
    for (int frame = 0; frame < 10; ++frame) {
        Sample sample;
        ASSERT_EQ(pool->Pop(&sample), S_OK);
        EXPECT_EQ(bufferOf(sample).p, surface.buffer(0).p);
        sample.Release();
        expectSamplesToComeBack();
    }
    EXPECT_EQ(m_factoryCalls, 1);
}

TEST_F(FixedSamplePool, GivesTheSystemsVideoSamplesAsOneBuffer)
{
    const std::unique_ptr<tvx::ISamplePoolFixed> pool(tvx::createFixedSizeSamplePool(
        nullptr, {},
        [](IMFSample **out) {
            CComPtr<IMFMediaBuffer> buffer;
            HRESULT hr = MFCreate2DMediaBuffer(16, 8, D3DFMT_YUY2, FALSE, &buffer);
            Sample sample;
            if (SUCCEEDED(hr))
                hr = MFCreateVideoSampleFromSurface(nullptr, &sample);
            if (SUCCEEDED(hr))
                hr = sample->AddBuffer(buffer);
            return SUCCEEDED(hr) ? sample.CopyTo(out) : hr;
        },
        limit));
    Sample sample;
    ASSERT_EQ(pool->Pop(&sample), S_OK);
    CComPtr<IMFMediaBuffer> whole;
    EXPECT_EQ(sample->ConvertToContiguousBuffer(&whole), S_OK);
    EXPECT_EQ(whole.p, bufferOf(sample).p);
}

TEST_F(FixedSamplePool, RefusesToPopNowhere)
{
    EXPECT_EQ(m_pool->Pop(nullptr), E_POINTER);
}
