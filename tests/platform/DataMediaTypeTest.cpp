#include "tests/platform/DataSupport.h"

namespace
{

constexpr DWORD sameMajorType = MF_MEDIATYPE_EQUAL_MAJOR_TYPES;
constexpr DWORD sameFormat = MF_MEDIATYPE_EQUAL_FORMAT_TYPES;
constexpr DWORD sameData = MF_MEDIATYPE_EQUAL_FORMAT_DATA;
constexpr DWORD sameUserData = MF_MEDIATYPE_EQUAL_FORMAT_USER_DATA;

class MediaType : public StartedPlatform
{
};

} // namespace

TEST_F(MediaType, IsAnAttributeStore)
{
    const auto type = videoType(MFVideoFormat_NV12);
    const auto attributes = faceOf<IMFAttributes>(type);
    ASSERT_TRUE(attributes);
    EXPECT_EQ(attributes->SetUINT32(MF_MT_INTERLACE_MODE, 2), S_OK);
    EXPECT_EQ(MFGetAttributeUINT32(type, MF_MT_INTERLACE_MODE, 0), 2U);
}

TEST_F(MediaType, TellsItsMajorType)
{
    GUID majorType = {};
    EXPECT_EQ(videoType(MFVideoFormat_NV12)->GetMajorType(&majorType), S_OK);
    EXPECT_TRUE(IsEqualGUID(majorType, MFMediaType_Video));

    CComPtr<IMFMediaType> empty;
    ASSERT_EQ(MFCreateMediaType(&empty), S_OK);
    EXPECT_EQ(empty->GetMajorType(&majorType), MF_E_ATTRIBUTENOTFOUND);
}

TEST_F(MediaType, IsCompressedUnlessItsSamplesStandAlone)
{
    const auto type = videoType(MFVideoFormat_NV12);
    BOOL compressed = FALSE;
    EXPECT_EQ(type->IsCompressedFormat(&compressed), S_OK);
    EXPECT_TRUE(compressed);
    type->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, TRUE);
    EXPECT_EQ(type->IsCompressedFormat(&compressed), S_OK);
    EXPECT_FALSE(compressed);
    type->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, FALSE);
    EXPECT_EQ(type->IsCompressedFormat(&compressed), S_OK);
    EXPECT_TRUE(compressed);
}

TEST_F(MediaType, EqualsItsLike)
{
    DWORD flags = 0;
    EXPECT_EQ(videoType(MFVideoFormat_NV12)->IsEqual(videoType(MFVideoFormat_NV12), &flags), S_OK);
    EXPECT_EQ(flags, sameMajorType | sameFormat | sameData | sameUserData);
}

TEST_F(MediaType, DiffersInMajorType)
{
    DWORD flags = 0;
    EXPECT_EQ(videoType(MFVideoFormat_NV12)->IsEqual(mediaType(MFMediaType_Audio, MFVideoFormat_NV12), &flags),
              S_FALSE);
    EXPECT_EQ(flags & (sameMajorType | sameFormat), sameFormat);
}

TEST_F(MediaType, DiffersInSubtype)
{
    DWORD flags = 0;
    EXPECT_EQ(videoType(MFVideoFormat_NV12)->IsEqual(videoType(MFVideoFormat_UYVY), &flags), S_FALSE);
    EXPECT_EQ(flags & (sameMajorType | sameFormat), sameMajorType);
}

TEST_F(MediaType, DiffersInFormatData)
{
    const auto type = videoType(MFVideoFormat_NV12);
    const auto other = videoType(MFVideoFormat_NV12);
    MFSetAttributeSize(type, MF_MT_FRAME_SIZE, 640, 480);
    MFSetAttributeSize(other, MF_MT_FRAME_SIZE, 640, 482);
    DWORD flags = 0;
    EXPECT_EQ(type->IsEqual(other, &flags), S_FALSE);
    EXPECT_EQ(flags, sameMajorType | sameFormat | sameUserData);
}

TEST_F(MediaType, MayHaveMoreFormatDataThanItsEqual)
{
    const auto type = videoType(MFVideoFormat_NV12);
    const auto other = videoType(MFVideoFormat_NV12);
    MFSetAttributeSize(type, MF_MT_FRAME_SIZE, 640, 480);
    DWORD flags = 0;
    EXPECT_EQ(type->IsEqual(other, &flags), S_OK);
    EXPECT_EQ(other->IsEqual(type, &flags), S_OK);
}

TEST_F(MediaType, CannotBeComparedToWhatIsNone)
{
    CComPtr<IMFMediaType> empty;
    ASSERT_EQ(MFCreateMediaType(&empty), S_OK);
    DWORD flags = 0;
    EXPECT_EQ(videoType(MFVideoFormat_NV12)->IsEqual(empty, &flags), E_INVALIDARG);
}

TEST_F(MediaType, MatchesAPartialTypeThatItFills)
{
    const auto full = videoType(MFVideoFormat_NV12);
    MFSetAttributeSize(full, MF_MT_FRAME_SIZE, 640, 480);
    const auto partial = videoType(MFVideoFormat_NV12);
    EXPECT_TRUE(MFCompareFullToPartialMediaType(full, partial));
    EXPECT_FALSE(MFCompareFullToPartialMediaType(partial, full));
    MFSetAttributeSize(partial, MF_MT_FRAME_SIZE, 640, 482);
    EXPECT_FALSE(MFCompareFullToPartialMediaType(full, partial));
    EXPECT_FALSE(MFCompareFullToPartialMediaType(full, mediaType(MFMediaType_Audio, MFVideoFormat_NV12)));
}

TEST_F(MediaType, HasNoRepresentationThatNobodyKnows)
{
    const auto type = videoType(MFVideoFormat_NV12);
    void *representation = nullptr;
    EXPECT_TRUE(FAILED(type->GetRepresentation(GUID_NULL, &representation)));
    EXPECT_EQ(representation, nullptr);
    EXPECT_TRUE(FAILED(type->FreeRepresentation(GUID_NULL, nullptr)));
}
