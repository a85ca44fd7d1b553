#include "tests/multimedia/SamplePoolSupport.h"

#include <memory>
#include <vector>

namespace
{

class FlexibleSamplePool : public testing::Test
{
protected:
    static constexpr DWORD limit = 3;

    Sample pop(DWORD size)
    {
        Sample sample;
        EXPECT_EQ(m_pool->Pop(&sample, size), S_OK);
        return sample;
    }
    void use(DWORD size)
    {
        pop(size);
        expectSamplesToComeBack();
    }

    int m_allocatorCalls = 0;
    std::unique_ptr<tvx::ISamplePoolFlexible> m_pool{tvx::createFlexibleSamplePool(
        nullptr,
        [this] {
            ++m_allocatorCalls;
            return S_OK;
        },
        limit)};
};

} // namespace

TEST_F(FlexibleSamplePool, GivesOneEmptyBufferOfTheSize)
{
    const Sample sample = pop(1000);
    DWORD buffers = 0;
    DWORD length = 1;
    DWORD room = 0;
    sample->GetBufferCount(&buffers);
    bufferOf(sample)->GetCurrentLength(&length);
    bufferOf(sample)->GetMaxLength(&room);
    EXPECT_EQ(buffers, 1U);
    EXPECT_EQ(length, 0U);
    EXPECT_GE(room, 1000U);
}

TEST_F(FlexibleSamplePool, KeepsABufferThatIsLargeEnough)
{
    const IMFMediaBuffer *buffer = nullptr;
    {
        const Sample sample = pop(1000);
        buffer = bufferOf(sample);
        bufferOf(sample)->SetCurrentLength(1000);
        fill(sample);
    }
    expectSamplesToComeBack();
    const Sample smaller = pop(500);
    DWORD length = 1;
    bufferOf(smaller)->GetCurrentLength(&length);
    EXPECT_EQ(bufferOf(smaller).p, buffer);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(m_allocatorCalls, 1);
    expectCleared(smaller);
}

TEST_F(FlexibleSamplePool, LeavesABufferAloneThatItsConsumerStillHolds)
{
    const CComPtr<IMFMediaBuffer> held = bufferOf(pop(10));
    expectSamplesToComeBack();
    EXPECT_NE(bufferOf(pop(10)).p, held.p);
    EXPECT_EQ(m_allocatorCalls, 2);
}

TEST_F(FlexibleSamplePool, ReplacesABufferThatIsTooSmall)
{
    use(500);
    const Sample larger = pop(1000);
    DWORD buffers = 0;
    DWORD room = 0;
    larger->GetBufferCount(&buffers);
    bufferOf(larger)->GetMaxLength(&room);
    EXPECT_EQ(buffers, 1U);
    EXPECT_GE(room, 1000U);
    EXPECT_EQ(m_allocatorCalls, 1);
}

TEST_F(FlexibleSamplePool, MakesAnotherWhenAllAreInUse)
{
    std::vector<Sample> samples;
    for (DWORD index = 0; index < limit + 2; ++index)
        samples.push_back(pop(10));
    EXPECT_EQ(m_allocatorCalls, static_cast<int>(limit) + 2);
    samples.clear();
    expectSamplesToComeBack();
    for (DWORD index = 0; index < limit; ++index)
        samples.push_back(pop(10));
    EXPECT_EQ(m_allocatorCalls, static_cast<int>(limit) + 2);
}

TEST_F(FlexibleSamplePool, ResetMakesSamplesAnew)
{
    const Sample inUse = pop(10);
    use(10);
    m_pool->Reset();
    pop(10);
    EXPECT_EQ(m_allocatorCalls, 3);
}

TEST_F(FlexibleSamplePool, SamplesOutliveThePool)
{
    const Sample sample = pop(10);
    m_pool.reset();
    EXPECT_EQ(bufferOf(sample)->SetCurrentLength(10), S_OK);
}

TEST_F(FlexibleSamplePool, PassesTheAllocatorsFailureOn)
{
    const std::unique_ptr<tvx::ISamplePoolFlexible> pool(tvx::createFlexibleSamplePool(
        nullptr, [] { return E_OUTOFMEMORY; }, limit));
    Sample sample;
    EXPECT_EQ(pool->Pop(&sample, 10), E_OUTOFMEMORY);
    EXPECT_EQ(pool->Pop(nullptr, 10), E_POINTER);
}
