// Samples with pictures, which not every system copies as contiguous bytes.

#include "tests/platform/DataSupport.h"

#include <d3d9types.h>

namespace
{

// Its current length is not set.
CComPtr<IMFMediaBuffer> pictureWith(const Bytes &content)
{
    CComPtr<IMFMediaBuffer> picture;
    EXPECT_EQ(MFCreate2DMediaBuffer(4, 2, D3DFMT_X8R8G8B8, FALSE, &picture), S_OK);
    EXPECT_EQ(faceOf<IMF2DBuffer>(picture)->ContiguousCopyFrom(content.data(), static_cast<DWORD>(content.size())),
              S_OK);
    return picture;
}

class SampleNative : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFCreateSample(&sample), S_OK);
        sample->AddBuffer(pictureWith(countingBytes(32)));
    }
    void TearDown() override
    {
        sample.Release();
        StartedPlatform::TearDown();
    }

    CComPtr<IMFSample> sample;
};

} // namespace

TEST_F(SampleNative, CopiesAPictureAsAWhole)
{
    CComPtr<IMFMediaBuffer> destination;
    ASSERT_EQ(MFCreateMemoryBuffer(40, &destination), S_OK);
    EXPECT_EQ(sample->CopyToBuffer(destination), S_OK);
    EXPECT_EQ(contentOf(destination), countingBytes(32));
}

TEST_F(SampleNative, CopiesAPictureWhoseLengthIsSet)
{
    CComPtr<IMFMediaBuffer> picture;
    ASSERT_EQ(sample->GetBufferByIndex(0, &picture), S_OK);
    ASSERT_EQ(picture->SetCurrentLength(32), S_OK);
    CComPtr<IMFMediaBuffer> destination;
    ASSERT_EQ(MFCreateMemoryBuffer(32, &destination), S_OK);
    EXPECT_EQ(sample->CopyToBuffer(destination), S_OK);
    EXPECT_EQ(contentOf(destination), countingBytes(32));
}

TEST_F(SampleNative, CopiesNoPictureThatDoesNotFit)
{
    CComPtr<IMFMediaBuffer> destination;
    ASSERT_EQ(MFCreateMemoryBuffer(31, &destination), S_OK);
    EXPECT_EQ(sample->CopyToBuffer(destination), MF_E_BUFFERTOOSMALL);
}

TEST_F(SampleNative, JoinsPicturesWithOtherBytes)
{
    sample->AddBuffer(memoryBuffer({1, 2, 3}));
    CComPtr<IMFMediaBuffer> joined;
    ASSERT_EQ(sample->ConvertToContiguousBuffer(&joined), S_OK);
    Bytes expected = countingBytes(32);
    expected.insert(expected.end(), {1, 2, 3});
    EXPECT_EQ(contentOf(joined), expected);
}

TEST_F(SampleNative, TakesNoNullForABuffer)
{
    EXPECT_EQ(sample->AddBuffer(nullptr), E_INVALIDARG);
}
