#include "host/pipeline/SampleLoans.h"

#include "host/pipeline/ComFactory.h"
#include "tests/host/EventLoop.h"

#include <mfapi.h>
#include <mferror.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace
{

constexpr GUID NumberKey = {0x5ca1ab1e, 0x0001, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 1}};
constexpr GUID RatioKey = {0x5ca1ab1e, 0x0002, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 2}};
constexpr GUID TextKey = {0x5ca1ab1e, 0x0003, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 3}};
constexpr GUID BlobKey = {0x5ca1ab1e, 0x0004, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 4}};
constexpr GUID ObjectKey = {0x5ca1ab1e, 0x0005, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 5}};
constexpr GUID DoubleKey = {0x5ca1ab1e, 0x0006, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 6}};
constexpr GUID GuidKey = {0x5ca1ab1e, 0x0007, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 7}};

constexpr std::array<WCHAR, 6> Text = {'<', 'a', 0xe4, '/', '>', 0};

CComPtr<IMFMediaBuffer> makeBuffer()
{
    CComPtr<IMFMediaBuffer> buffer;
    MFCreateMemoryBuffer(16, &buffer);
    return buffer;
}

CComPtr<IMFSample> makeSample(int buffers = 1)
{
    CComPtr<IMFSample> sample;
    MFCreateSample(&sample);
    for (; buffers > 0; --buffers)
        sample->AddBuffer(makeBuffer());
    return sample;
}

CComPtr<IMFSample> makeTimedSample(int buffers = 1)
{
    CComPtr<IMFSample> sample = makeSample(buffers);
    sample->SetSampleTime(400000);
    sample->SetSampleDuration(200000);
    return sample;
}

template <typename Object>
unsigned long references(const CComPtr<Object> &object)
{
    object.p->AddRef();
    return object.p->Release();
}

void expectSameBuffers(IMFSample *expected, IMFSample *actual)
{
    DWORD count = 0;
    DWORD actualCount = 0;
    ASSERT_EQ(S_OK, expected->GetBufferCount(&count));
    ASSERT_EQ(S_OK, actual->GetBufferCount(&actualCount));
    ASSERT_EQ(count, actualCount);
    for (DWORD index = 0; index < count; ++index) {
        CComPtr<IMFMediaBuffer> buffer;
        CComPtr<IMFMediaBuffer> actualBuffer;
        ASSERT_EQ(S_OK, expected->GetBufferByIndex(index, &buffer));
        ASSERT_EQ(S_OK, actual->GetBufferByIndex(index, &actualBuffer));
        EXPECT_EQ(buffer.p, actualBuffer.p) << index;
    }
}

// Item by item: not every system compares objects.
void expectSameItems(IMFSample *expected, IMFSample *actual)
{
    UINT32 count = 0;
    UINT32 actualCount = 0;
    ASSERT_EQ(S_OK, expected->GetCount(&count));
    ASSERT_EQ(S_OK, actual->GetCount(&actualCount));
    EXPECT_EQ(count, actualCount);
    for (UINT32 index = 0; index < count; ++index) {
        GUID key = GUID_NULL;
        PROPVARIANT value;
        PropVariantInit(&value);
        ASSERT_EQ(S_OK, expected->GetItemByIndex(index, &key, &value));
        CComPtr<IUnknown> object;
        BOOL same = FALSE;
        if (value.vt == VT_UNKNOWN)
            same = SUCCEEDED(actual->GetUnknown(key, __uuidof(IUnknown), reinterpret_cast<void **>(&object))) &&
                   object.IsEqualObject(value.punkVal);
        else
            actual->CompareItem(key, value, &same);
        EXPECT_TRUE(same) << index;
        PropVariantClear(&value);
    }
}

// Samples come back on another thread, if the system likes that better.
class SampleLoansTest : public testing::Test
{
protected:
    CComPtr<IMFSample> lend(IMFSample *sample) { return m_loans->lend(sample, {}); }
    // Lends a sample to nobody.
    void recycle(IMFSample *sample)
    {
        const int before = *m_returns;
        lend(sample);
        ASSERT_TRUE(waitUntil([&] { return *m_returns == before + 1; }));
    }

    const std::shared_ptr<std::atomic<int>> m_returns = std::make_shared<std::atomic<int>>(0);
    const CComPtr<host::SampleLoans> m_loans =
        host::createObject<host::SampleLoans>([returns = m_returns](const host::SampleLoans::Term &) { ++*returns; });
};

} // namespace

TEST_F(SampleLoansTest, HasTheBuffersOfTheOriginalInTheirOrder)
{
    const CComPtr<IMFSample> original = makeTimedSample(3);
    expectSameBuffers(original, lend(original));
    ASSERT_TRUE(waitUntil([this] { return *m_returns == 1; }));
    // One that comes again has the buffers of the next original alone.
    const CComPtr<IMFSample> next = makeTimedSample(2);
    expectSameBuffers(next, lend(next));
}

TEST_F(SampleLoansTest, HasTheTimeTheDurationAndTheFlags)
{
    const CComPtr<IMFSample> original = makeTimedSample();
    original->SetSampleFlags(5);
    const CComPtr<IMFSample> lent = lend(original);
    LONGLONG time = 0;
    LONGLONG duration = 0;
    DWORD flags = 0;
    EXPECT_EQ(S_OK, lent->GetSampleTime(&time));
    EXPECT_EQ(S_OK, lent->GetSampleDuration(&duration));
    EXPECT_EQ(S_OK, lent->GetSampleFlags(&flags));
    EXPECT_EQ(400000, time);
    EXPECT_EQ(200000, duration);
    EXPECT_EQ(5U, flags);
}

TEST_F(SampleLoansTest, HasEveryAttribute)
{
    const CComPtr<IMFSample> original = makeSample();
    const std::array<UINT8, 5> blob = {1, 0, 2, 0, 255};
    const CComPtr<IMFMediaBuffer> object = makeBuffer();
    original->SetUINT32(NumberKey, 7);
    original->SetUINT64(RatioKey, 1ULL << 40 | 3);
    original->SetDouble(DoubleKey, 0.25);
    original->SetGUID(GuidKey, TextKey);
    original->SetString(TextKey, Text.data());
    original->SetBlob(BlobKey, blob.data(), static_cast<UINT32>(blob.size()));
    original->SetUnknown(ObjectKey, object);
    expectSameItems(original, lend(original));
}

TEST_F(SampleLoansTest, HasNoAttributeOfTheOneBefore)
{
    const CComPtr<IMFSample> first = makeTimedSample();
    first->SetString(TextKey, Text.data());
    recycle(first);
    const CComPtr<IMFSample> second = makeTimedSample();
    second->SetUINT32(NumberKey, 1);
    expectSameItems(second, lend(second));
}

TEST_F(SampleLoansTest, HasNoTimeWhereTheOriginalHasNone)
{
    recycle(makeTimedSample());
    const CComPtr<IMFSample> lent = lend(makeSample());
    LONGLONG ignored = 0;
    EXPECT_EQ(MF_E_NO_SAMPLE_TIMESTAMP, lent->GetSampleTime(&ignored));
    EXPECT_EQ(MF_E_NO_SAMPLE_DURATION, lent->GetSampleDuration(&ignored));
}

TEST_F(SampleLoansTest, HasATimeOnlyWhereTheOriginalHasNoDuration)
{
    recycle(makeTimedSample());
    const CComPtr<IMFSample> original = makeSample();
    original->SetSampleTime(7);
    const CComPtr<IMFSample> lent = lend(original);
    LONGLONG time = 0;
    EXPECT_EQ(S_OK, lent->GetSampleTime(&time));
    EXPECT_EQ(7, time);
    EXPECT_EQ(MF_E_NO_SAMPLE_DURATION, lent->GetSampleDuration(&time));
}

TEST_F(SampleLoansTest, HoldsTheOriginalUntilTheLastReferenceIsGone)
{
    const CComPtr<IMFSample> original = makeTimedSample();
    original->SetUnknown(ObjectKey, makeBuffer());
    CComPtr<IMFMediaBuffer> buffer;
    original->GetBufferByIndex(0, &buffer);
    const unsigned long before = references(original);
    const unsigned long bufferBefore = references(buffer);
    CComPtr<IMFSample> lent = lend(original);
    CComPtr<IMFSample> copy = lent;
    EXPECT_EQ(before + 1, references(original));
    lent.Release();
    EXPECT_EQ(before + 1, references(original));
    EXPECT_EQ(0, *m_returns);
    copy.Release();
    EXPECT_TRUE(waitUntil([this] { return *m_returns == 1; }));
    EXPECT_EQ(before, references(original));
    EXPECT_EQ(bufferBefore, references(buffer)); // the one that waits to serve again holds nothing of it
}

TEST_F(SampleLoansTest, SaysWhichSampleHasComeBack)
{
    const auto arrival = std::make_shared<std::atomic<long long>>(0);
    const auto handOver = std::make_shared<std::atomic<long long>>(0);
    const auto loans = host::createObject<host::SampleLoans>([=](const host::SampleLoans::Term &term) {
        *arrival = term.arrival;
        *handOver = term.handOver;
    });
    CComPtr<IMFSample> first = loans->lend(makeSample(), {1, 2});
    CComPtr<IMFSample> second = loans->lend(makeSample(), {3, 4});
    second.Release();
    EXPECT_TRUE(waitUntil([&] { return *arrival == 3 && *handOver == 4; }));
    first.Release();
    EXPECT_TRUE(waitUntil([&] { return *arrival == 1 && *handOver == 2; }));
}

TEST_F(SampleLoansTest, SampleOfTwoBorrowersIsFreeWhenBothGaveItBack)
{
    const auto others = host::createObject<host::SampleLoans>([](const host::SampleLoans::Term &) {});
    const CComPtr<IMFSample> original = makeTimedSample();
    const unsigned long before = references(original);
    CComPtr<IMFSample> here = lend(original);
    CComPtr<IMFSample> there = others->lend(original, {});
    EXPECT_NE(here.p, there.p);
    here.Release();
    ASSERT_TRUE(waitUntil([this] { return *m_returns == 1; }));
    EXPECT_EQ(before + 1, references(original));
    there.Release();
    EXPECT_TRUE(waitUntil([&] { return references(original) == before; }));
}

TEST_F(SampleLoansTest, GivesOriginalsBackAfterItIsClosedAndIsSilentThen)
{
    const CComPtr<IMFSample> original = makeTimedSample();
    const unsigned long before = references(original);
    CComPtr<IMFSample> lent = lend(original);
    m_loans->close();
    EXPECT_EQ(before + 1, references(original));
    lent.Release();
    EXPECT_TRUE(waitUntil([&] { return references(original) == before; }));
    EXPECT_TRUE(lend(original)); // a delivery that was under way
    EXPECT_TRUE(waitUntil([&] { return references(original) == before; }));
    EXPECT_EQ(0, *m_returns);
}

TEST_F(SampleLoansTest, LivesUntilEverySampleIsBack)
{
    const CComPtr<IMFSample> original = makeTimedSample();
    const unsigned long before = references(original);
    auto loans =
        host::createObject<host::SampleLoans>([returns = m_returns](const host::SampleLoans::Term &) { ++*returns; });
    CComPtr<IMFSample> lent = loans->lend(original, {});
    loans.Release();
    lent.Release();
    EXPECT_TRUE(waitUntil([this] { return *m_returns == 1; }));
    EXPECT_EQ(before, references(original));
}

TEST_F(SampleLoansTest, LendsAndTakesBackOnManyThreads)
{
    constexpr int Threads = 4;
    constexpr int Samples = 500;
    const CComPtr<IMFSample> shared = makeTimedSample();
    const unsigned long before = references(shared);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    threads.reserve(Threads);
    for (int thread = 0; thread < Threads; ++thread) {
        threads.emplace_back([&, thread] {
            const CComPtr<IMFSample> own = makeTimedSample();
            std::vector<CComPtr<IMFSample>> held;
            for (int sample = 0; sample < Samples; ++sample) {
                own->SetUINT32(NumberKey, static_cast<UINT32>(thread * Samples + sample));
                held = {lend(own), lend(shared)};
                BOOL same = FALSE;
                held[0]->Compare(own, MF_ATTRIBUTES_MATCH_ALL_ITEMS, &same);
                wrong += same ? 0 : 1;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_TRUE(waitUntil([this] { return *m_returns == Threads * Samples * 2; }));
    EXPECT_EQ(before, references(shared));
}

TEST_F(SampleLoansTest, ClosesWhileOthersGiveBack)
{
    const CComPtr<IMFSample> original = makeTimedSample();
    const unsigned long before = references(original);
    std::atomic<bool> lending{false};
    std::thread borrower([&] {
        for (int sample = 0; sample < 500; ++sample) {
            lend(original);
            lending = true;
        }
    });
    while (!lending)
        std::this_thread::yield();
    m_loans->close();
    borrower.join();
    EXPECT_TRUE(waitUntil([&] { return references(original) == before; }));
}
