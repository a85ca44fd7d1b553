#include "tests/platform/DataSupport.h"

#include <evr.h>
#include <mfidl.h>

namespace
{

class Sample : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFCreateSample(&sample), S_OK);
    }
    void TearDown() override
    {
        sample.Release();
        StartedPlatform::TearDown();
    }
    DWORD bufferCount()
    {
        DWORD count = 99;
        EXPECT_EQ(sample->GetBufferCount(&count), S_OK);
        return count;
    }

    CComPtr<IMFSample> sample;
};

} // namespace

TEST_F(Sample, IsAnAttributeStore)
{
    EXPECT_TRUE(faceOf<IMFAttributes>(sample));
    EXPECT_EQ(sample->SetUINT32(MFSampleExtension_Discontinuity, 1), S_OK);
    EXPECT_EQ(MFGetAttributeUINT32(sample, MFSampleExtension_Discontinuity, 0), 1U);
}

TEST_F(Sample, IsNotTracked)
{
    EXPECT_FALSE(faceOf<IMFTrackedSample>(sample));
}

TEST_F(Sample, HasNoTimeUntilOneIsSet)
{
    LONGLONG time = 0;
    EXPECT_EQ(sample->GetSampleTime(&time), MF_E_NO_SAMPLE_TIMESTAMP);
    EXPECT_EQ(sample->SetSampleTime(-400), S_OK);
    EXPECT_EQ(sample->GetSampleTime(&time), S_OK);
    EXPECT_EQ(time, -400);
}

TEST_F(Sample, KeepsAnyTime)
{
    const LONGLONG times[] = {-1, INT64_MIN, INT64_MAX};
    for (const LONGLONG any : times) {
        LONGLONG time = 0;
        EXPECT_EQ(sample->SetSampleTime(any), S_OK);
        EXPECT_EQ(sample->GetSampleTime(&time), S_OK);
        EXPECT_EQ(time, any);
    }
}

TEST_F(Sample, HasNoDurationUntilOneIsSet)
{
    LONGLONG duration = 0;
    EXPECT_EQ(sample->GetSampleDuration(&duration), MF_E_NO_SAMPLE_DURATION);
    EXPECT_EQ(sample->SetSampleDuration(333667), S_OK);
    EXPECT_EQ(sample->GetSampleDuration(&duration), S_OK);
    EXPECT_EQ(duration, 333667);
}

TEST_F(Sample, KeepsItsFlags)
{
    DWORD flags = 99;
    EXPECT_EQ(sample->GetSampleFlags(&flags), S_OK);
    EXPECT_EQ(flags, 0U);
    EXPECT_EQ(sample->SetSampleFlags(0x123), S_OK);
    EXPECT_EQ(sample->GetSampleFlags(&flags), S_OK);
    EXPECT_EQ(flags, 0x123U);
}

TEST_F(Sample, HoldsBuffersInOrder)
{
    const auto first = memoryBuffer({1});
    const auto second = memoryBuffer({2});
    EXPECT_EQ(bufferCount(), 0U);
    EXPECT_EQ(sample->AddBuffer(first), S_OK);
    EXPECT_EQ(sample->AddBuffer(second), S_OK);
    EXPECT_EQ(bufferCount(), 2U);
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample->GetBufferByIndex(1, &buffer), S_OK);
    EXPECT_EQ(buffer.p, second.p);
    CComPtr<IMFMediaBuffer> none;
    EXPECT_EQ(sample->GetBufferByIndex(2, &none), E_INVALIDARG);
}

TEST_F(Sample, LetsBuffersGo)
{
    const auto first = memoryBuffer({1});
    const auto second = memoryBuffer({2});
    sample->AddBuffer(first);
    sample->AddBuffer(second);
    EXPECT_EQ(sample->RemoveBufferByIndex(2), E_INVALIDARG);
    EXPECT_EQ(sample->RemoveBufferByIndex(0), S_OK);
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample->GetBufferByIndex(0, &buffer), S_OK);
    EXPECT_EQ(buffer.p, second.p);
    EXPECT_EQ(sample->RemoveAllBuffers(), S_OK);
    EXPECT_EQ(bufferCount(), 0U);
}

TEST_F(Sample, SumsTheLengthsOfItsBuffers)
{
    DWORD length = 99;
    EXPECT_EQ(sample->GetTotalLength(&length), S_OK);
    EXPECT_EQ(length, 0U);
    sample->AddBuffer(memoryBuffer({1, 2, 3}, 100));
    sample->AddBuffer(memoryBuffer({4, 5}));
    EXPECT_EQ(sample->GetTotalLength(&length), S_OK);
    EXPECT_EQ(length, 5U);
}

TEST_F(Sample, HandsOutItsOnlyBufferAsContiguous)
{
    const auto only = memoryBuffer({1, 2});
    sample->AddBuffer(only);
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample->ConvertToContiguousBuffer(&buffer), S_OK);
    EXPECT_EQ(buffer.p, only.p);
}

TEST_F(Sample, JoinsSeveralBuffersIntoOneInTheirPlace)
{
    sample->AddBuffer(memoryBuffer({1, 2, 3}, 100));
    sample->AddBuffer(memoryBuffer({4, 5}));
    CComPtr<IMFMediaBuffer> joined;
    ASSERT_EQ(sample->ConvertToContiguousBuffer(&joined), S_OK);
    EXPECT_EQ(contentOf(joined), (Bytes{1, 2, 3, 4, 5}));
    EXPECT_EQ(bufferCount(), 1U);
    CComPtr<IMFMediaBuffer> kept;
    EXPECT_EQ(sample->GetBufferByIndex(0, &kept), S_OK);
    EXPECT_EQ(kept.p, joined.p);
}

TEST_F(Sample, HasNothingContiguousWithoutBuffers)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample->ConvertToContiguousBuffer(&buffer), E_UNEXPECTED);
}

TEST_F(Sample, CopiesItsBuffersOneBehindTheOther)
{
    sample->AddBuffer(memoryBuffer({1, 2, 3}));
    sample->AddBuffer(memoryBuffer({4, 5}));
    CComPtr<IMFMediaBuffer> destination;
    ASSERT_EQ(MFCreateMemoryBuffer(16, &destination), S_OK);
    EXPECT_EQ(sample->CopyToBuffer(destination), S_OK);
    EXPECT_EQ(contentOf(destination), (Bytes{1, 2, 3, 4, 5}));
    EXPECT_EQ(bufferCount(), 2U);
}

TEST_F(Sample, IsNotCopiedToABufferThatIsTooSmall)
{
    sample->AddBuffer(memoryBuffer({1, 2, 3}));
    CComPtr<IMFMediaBuffer> destination;
    ASSERT_EQ(MFCreateMemoryBuffer(2, &destination), S_OK);
    EXPECT_EQ(sample->CopyToBuffer(destination), MF_E_BUFFERTOOSMALL);
}
