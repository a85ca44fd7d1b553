// What is documented of comparing media types and not kept by every system.

#include "tests/platform/DataSupport.h"

namespace
{

class MediaTypeNative : public StartedPlatform
{
};

} // namespace

TEST_F(MediaTypeNative, DiffersInUserDataAlone)
{
    const UINT8 bytes[] = {1, 2, 3};
    const auto type = videoType(MFVideoFormat_NV12);
    const auto other = videoType(MFVideoFormat_NV12);
    type->SetBlob(MF_MT_USER_DATA, bytes, 3);
    other->SetBlob(MF_MT_USER_DATA, bytes, 2);
    DWORD flags = 0;
    EXPECT_EQ(type->IsEqual(other, &flags), S_FALSE);
    EXPECT_EQ(flags, static_cast<DWORD>(MF_MEDIATYPE_EQUAL_MAJOR_TYPES | MF_MEDIATYPE_EQUAL_FORMAT_TYPES |
                                        MF_MEDIATYPE_EQUAL_FORMAT_DATA));
    other->SetBlob(MF_MT_USER_DATA, bytes, 3);
    EXPECT_EQ(type->IsEqual(other, &flags), S_OK);
}

TEST_F(MediaTypeNative, CannotBeComparedToNothing)
{
    DWORD flags = 0;
    EXPECT_EQ(videoType(MFVideoFormat_NV12)->IsEqual(nullptr, &flags), E_INVALIDARG);
}

TEST_F(MediaTypeNative, SaysThatItDoesNotKnowARepresentation)
{
    const auto type = videoType(MFVideoFormat_NV12);
    void *representation = nullptr;
    EXPECT_EQ(type->GetRepresentation(GUID_NULL, &representation), MF_E_UNSUPPORTED_REPRESENTATION);
    EXPECT_EQ(type->FreeRepresentation(GUID_NULL, nullptr), MF_E_UNSUPPORTED_REPRESENTATION);
}
