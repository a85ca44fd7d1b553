#include "tests/platform/DataSupport.h"

#include <algorithm>

namespace
{

class MemoryBuffer : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFCreateMemoryBuffer(100, &buffer), S_OK);
    }
    void TearDown() override
    {
        buffer.Release();
        StartedPlatform::TearDown();
    }

    CComPtr<IMFMediaBuffer> buffer;
};

} // namespace

TEST_F(MemoryBuffer, IsEmptyFromTheStart)
{
    DWORD length = 99;
    EXPECT_EQ(buffer->GetCurrentLength(&length), S_OK);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(buffer->GetMaxLength(&length), S_OK);
    EXPECT_EQ(length, 100U);
}

TEST_F(MemoryBuffer, IsAsLongAsItIsSaidToBe)
{
    EXPECT_EQ(buffer->SetCurrentLength(100), S_OK);
    EXPECT_EQ(buffer->SetCurrentLength(40), S_OK);
    DWORD length = 0;
    EXPECT_EQ(buffer->GetCurrentLength(&length), S_OK);
    EXPECT_EQ(length, 40U);
}

TEST_F(MemoryBuffer, IsNeverLongerThanItsRoom)
{
    EXPECT_EQ(buffer->SetCurrentLength(101), E_INVALIDARG);
}

TEST_F(MemoryBuffer, ShowsTheSameMemoryToEveryLock)
{
    buffer->SetCurrentLength(40);
    BYTE *first = nullptr;
    BYTE *second = nullptr;
    DWORD room = 0;
    DWORD length = 0;
    ASSERT_EQ(buffer->Lock(&first, &room, &length), S_OK);
    EXPECT_EQ(room, 100U);
    EXPECT_EQ(length, 40U);
    ASSERT_EQ(buffer->Lock(&second, nullptr, nullptr), S_OK);
    EXPECT_EQ(first, second);
    std::fill_n(first, 100, BYTE{5});
    EXPECT_EQ(buffer->Unlock(), S_OK);
    EXPECT_EQ(buffer->Unlock(), S_OK);
    EXPECT_EQ(contentOf(buffer), Bytes(40, 5));
}

TEST_F(MemoryBuffer, BeginsWhereItsAlignmentWants)
{
    for (const DWORD alignment :
         {MF_1_BYTE_ALIGNMENT, MF_16_BYTE_ALIGNMENT, MF_64_BYTE_ALIGNMENT, MF_512_BYTE_ALIGNMENT}) {
        CComPtr<IMFMediaBuffer> aligned;
        ASSERT_EQ(MFCreateAlignedMemoryBuffer(1000, alignment, &aligned), S_OK);
        BYTE *data = nullptr;
        ASSERT_EQ(aligned->Lock(&data, nullptr, nullptr), S_OK);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(data) & alignment, 0U);
        std::fill_n(data, 1000, BYTE{1});
        EXPECT_EQ(aligned->Unlock(), S_OK);
    }
}

TEST_F(MemoryBuffer, IsNoPicture)
{
    EXPECT_FALSE(faceOf<IMF2DBuffer>(buffer));
    EXPECT_FALSE(faceOf<IMFDXGIBuffer>(buffer));
}
