#pragma once

// What the tests of sample pools share.

#include "hostfw/ComPtr.h"
#include "hostfw/SamplePool.h"
#include "tests/multimedia/StandardQueue.h"

#include <gtest/gtest.h>

#include <mfapi.h>
#include <mfidl.h>

#include <cstdint>
#include <tuple>

using Sample = CComPtr<IMFSample>;

constexpr GUID someAttribute = {0x3c0a36c3, 0x9b6b, 0x4e62, {0x8a, 0x53, 0x10, 0x2a, 0x0a, 0x7d, 0x41, 0xd5}};

// Time, duration and flags.
using Marks = std::tuple<std::int64_t, std::int64_t, DWORD>;

inline Marks marksOf(IMFSample *sample)
{
    LONGLONG time = -1;
    LONGLONG duration = -1;
    DWORD flags = 99;
    sample->GetSampleTime(&time);
    sample->GetSampleDuration(&duration);
    sample->GetSampleFlags(&flags);
    return {time, duration, flags};
}

inline void fill(IMFSample *sample)
{
    sample->SetUINT32(someAttribute, 1);
    sample->SetSampleTime(10);
    sample->SetSampleDuration(20);
    sample->SetSampleFlags(30);
}

inline void expectCleared(IMFSample *sample)
{
    UINT32 attributes = 1;
    sample->GetCount(&attributes);
    EXPECT_EQ(attributes, 0U);
    EXPECT_EQ(marksOf(sample), Marks(0, 0, 0));
}

inline CComPtr<IMFMediaBuffer> bufferOf(IMFSample *sample)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample->GetBufferByIndex(0, &buffer), S_OK);
    return buffer;
}

// The system may take released samples back to their pool at once or as items of the standard work queue.
inline void expectSamplesToComeBack()
{
    EXPECT_TRUE(drainStandardQueue());
}
