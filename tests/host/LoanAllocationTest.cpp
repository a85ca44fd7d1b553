// What handing samples out costs of the heap. Only programs whose operator new is the C++ library's own can count.

#include "host/pipeline/ComFactory.h"
#include "host/pipeline/SampleLoans.h"

#include <gtest/gtest.h>

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

#include <mfapi.h>

#include <cstdlib>
#include <new>

namespace
{

thread_local unsigned long long allocations = 0;

} // namespace

// Every other kind of new ends here. Libraries find these too.
void *operator new(std::size_t size)
{
    ++allocations;
    if (void *const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

TEST(LoanAllocation, SamplesThatServeAgainTakeNoMemory)
{
    constexpr GUID key = {0x5ca1ab1e, 0x0008, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 8}};
    CComPtr<IMFSample> original;
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(S_OK, MFCreateSample(&original));
    ASSERT_EQ(S_OK, MFCreateMemoryBuffer(16, &buffer));
    original->AddBuffer(buffer);
    original->SetSampleTime(0);
    original->SetSampleDuration(1);
    original->SetUINT32(key, 1);
    int returns = 0;
    const auto loans =
        host::createObject<host::SampleLoans>([&returns](const host::SampleLoans::Term &) { ++returns; });
    const auto lendTwo = [&] {
        const CComPtr<IMFSample> first = loans->lend(original, {});
        const CComPtr<IMFSample> second = loans->lend(original, {});
    };
    const unsigned long long before = allocations;
    lendTwo();
    const unsigned long long steady = allocations;
    ASSERT_LT(before, steady); // what is counted at all
    for (int round = 0; round < 100; ++round)
        lendTwo();
    EXPECT_EQ(steady, allocations);
    EXPECT_EQ(202, returns);
}

#endif
