#include "tests/platform/DataSupport.h"

namespace
{

class Descriptor : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        nv12 = videoType(MFVideoFormat_NV12);
        uyvy = videoType(MFVideoFormat_UYVY);
        stream = streamDescriptor(5);
        ASSERT_EQ(stream->GetMediaTypeHandler(&handler), S_OK);
    }
    void TearDown() override
    {
        handler.Release();
        stream.Release();
        nv12.Release();
        uyvy.Release();
        StartedPlatform::TearDown();
    }
    CComPtr<IMFStreamDescriptor> streamDescriptor(DWORD identifier)
    {
        IMFMediaType *types[] = {nv12, uyvy};
        CComPtr<IMFStreamDescriptor> descriptor;
        EXPECT_EQ(MFCreateStreamDescriptor(identifier, 2, types, &descriptor), S_OK);
        return descriptor;
    }
    CComPtr<IMFPresentationDescriptor> presentation()
    {
        const auto other = streamDescriptor(6);
        IMFStreamDescriptor *streams[] = {stream, other};
        CComPtr<IMFPresentationDescriptor> descriptor;
        EXPECT_EQ(MFCreatePresentationDescriptor(2, streams, &descriptor), S_OK);
        return descriptor;
    }
    static bool isSelected(IMFPresentationDescriptor *descriptor, DWORD index)
    {
        BOOL selected = FALSE;
        CComPtr<IMFStreamDescriptor> streamAt;
        EXPECT_EQ(descriptor->GetStreamDescriptorByIndex(index, &selected, &streamAt), S_OK);
        return selected != FALSE;
    }

    CComPtr<IMFMediaType> nv12;
    CComPtr<IMFMediaType> uyvy;
    CComPtr<IMFStreamDescriptor> stream;
    CComPtr<IMFMediaTypeHandler> handler;
};

using StreamDescriptor = Descriptor;
using TypeHandler = Descriptor;
using PresentationDescriptor = Descriptor;
using SimpleTypeHandler = Descriptor;

} // namespace

TEST_F(StreamDescriptor, HasItsIdentifierAndAttributes)
{
    DWORD identifier = 0;
    EXPECT_EQ(stream->GetStreamIdentifier(&identifier), S_OK);
    EXPECT_EQ(identifier, 5U);
    EXPECT_EQ(stream->SetUINT32(MF_SD_PROTECTED, 1), S_OK);
    EXPECT_EQ(MFGetAttributeUINT32(stream, MF_SD_PROTECTED, 0), 1U);
}

TEST_F(StreamDescriptor, IsNotMadeWithoutTypes)
{
    CComPtr<IMFStreamDescriptor> descriptor;
    EXPECT_EQ(MFCreateStreamDescriptor(1, 0, nullptr, &descriptor), E_INVALIDARG);
}

TEST_F(TypeHandler, CountsItsTypes)
{
    DWORD count = 0;
    EXPECT_EQ(handler->GetMediaTypeCount(&count), S_OK);
    EXPECT_EQ(count, 2U);
    CComPtr<IMFMediaType> first;
    CComPtr<IMFMediaType> second;
    CComPtr<IMFMediaType> third;
    EXPECT_EQ(handler->GetMediaTypeByIndex(0, &first), S_OK);
    EXPECT_EQ(handler->GetMediaTypeByIndex(1, &second), S_OK);
    EXPECT_EQ(handler->GetMediaTypeByIndex(2, &third), MF_E_NO_MORE_TYPES);
    EXPECT_EQ(first.p, nv12.p);
    EXPECT_EQ(second.p, uyvy.p);
}

TEST_F(TypeHandler, HasNoCurrentTypeUntilOneIsSet)
{
    CComPtr<IMFMediaType> current;
    EXPECT_EQ(handler->GetCurrentMediaType(&current), MF_E_NOT_INITIALIZED);
    EXPECT_EQ(handler->SetCurrentMediaType(uyvy), S_OK);
    EXPECT_EQ(handler->GetCurrentMediaType(&current), S_OK);
    EXPECT_EQ(current.p, uyvy.p);
}

TEST_F(TypeHandler, TellsTheMajorTypeOfItsTypes)
{
    GUID majorType = {};
    EXPECT_EQ(handler->GetMajorType(&majorType), S_OK);
    EXPECT_TRUE(IsEqualGUID(majorType, MFMediaType_Video));
}

TEST_F(TypeHandler, SupportsItsTypesOnly)
{
    EXPECT_EQ(handler->IsMediaTypeSupported(nv12, nullptr), S_OK);
    EXPECT_EQ(handler->IsMediaTypeSupported(videoType(MFVideoFormat_UYVY), nullptr), S_OK);
    EXPECT_EQ(handler->IsMediaTypeSupported(videoType(MFVideoFormat_YUY2), nullptr), MF_E_INVALIDMEDIATYPE);
}

TEST_F(TypeHandler, SuggestsNoOtherType)
{
    CComPtr<IMFMediaType> closest;
    EXPECT_EQ(handler->IsMediaTypeSupported(videoType(MFVideoFormat_YUY2), &closest), MF_E_INVALIDMEDIATYPE);
    EXPECT_FALSE(closest);
}

TEST_F(TypeHandler, KeepsItsCurrentType_WhenGivenNone)
{
    ASSERT_EQ(handler->SetCurrentMediaType(uyvy), S_OK);
    EXPECT_EQ(handler->SetCurrentMediaType(nullptr), E_POINTER);
    CComPtr<IMFMediaType> current;
    EXPECT_EQ(handler->GetCurrentMediaType(&current), S_OK);
    EXPECT_EQ(current.p, uyvy.p);
    GUID majorType = {};
    EXPECT_EQ(handler->GetMajorType(&majorType), S_OK);
    EXPECT_TRUE(IsEqualGUID(majorType, MFMediaType_Video));
}

TEST_F(PresentationDescriptor, IsNotMadeWithoutStreams)
{
    IMFStreamDescriptor *none[] = {nullptr};
    CComPtr<IMFPresentationDescriptor> descriptor;
    EXPECT_EQ(MFCreatePresentationDescriptor(0, nullptr, &descriptor), E_INVALIDARG);
    EXPECT_EQ(MFCreatePresentationDescriptor(1, none, &descriptor), E_INVALIDARG);
    EXPECT_FALSE(descriptor);
}

TEST_F(PresentationDescriptor, HoldsItsStreams)
{
    const auto descriptor = presentation();
    DWORD count = 0;
    EXPECT_EQ(descriptor->GetStreamDescriptorCount(&count), S_OK);
    EXPECT_EQ(count, 2U);
    BOOL selected = TRUE;
    CComPtr<IMFStreamDescriptor> first;
    EXPECT_EQ(descriptor->GetStreamDescriptorByIndex(0, &selected, &first), S_OK);
    EXPECT_EQ(first.p, stream.p);
    EXPECT_FALSE(selected);
    CComPtr<IMFStreamDescriptor> third;
    EXPECT_EQ(descriptor->GetStreamDescriptorByIndex(2, &selected, &third), E_INVALIDARG);
}

TEST_F(PresentationDescriptor, SelectsStreamByStream)
{
    const auto descriptor = presentation();
    EXPECT_EQ(descriptor->SelectStream(1), S_OK);
    EXPECT_FALSE(isSelected(descriptor, 0));
    EXPECT_TRUE(isSelected(descriptor, 1));
    EXPECT_EQ(descriptor->DeselectStream(1), S_OK);
    EXPECT_FALSE(isSelected(descriptor, 1));
    EXPECT_EQ(descriptor->SelectStream(2), E_INVALIDARG);
    EXPECT_EQ(descriptor->DeselectStream(2), E_INVALIDARG);
}

TEST_F(PresentationDescriptor, IsClonedWithSelectionAndAttributes)
{
    const auto descriptor = presentation();
    descriptor->SelectStream(0);
    descriptor->SetUINT64(MF_PD_DURATION, 77);
    CComPtr<IMFPresentationDescriptor> clone;
    ASSERT_EQ(descriptor->Clone(&clone), S_OK);
    EXPECT_TRUE(isSelected(clone, 0));
    EXPECT_FALSE(isSelected(clone, 1));
    EXPECT_EQ(MFGetAttributeUINT64(clone, MF_PD_DURATION, 0), 77U);

    clone->DeselectStream(0);
    clone->SetUINT64(MF_PD_DURATION, 78);
    EXPECT_TRUE(isSelected(descriptor, 0));
    EXPECT_EQ(MFGetAttributeUINT64(descriptor, MF_PD_DURATION, 0), 77U);
}

TEST_F(SimpleTypeHandler, KnowsTheTypeThatIsSet)
{
    CComPtr<IMFMediaTypeHandler> simple;
    ASSERT_EQ(MFCreateSimpleTypeHandler(&simple), S_OK);
    GUID majorType = {};
    EXPECT_EQ(simple->GetMajorType(&majorType), MF_E_NOT_INITIALIZED);
    EXPECT_EQ(simple->SetCurrentMediaType(nv12), S_OK);
    EXPECT_EQ(simple->GetMajorType(&majorType), S_OK);
    EXPECT_TRUE(IsEqualGUID(majorType, MFMediaType_Video));
    CComPtr<IMFMediaType> current;
    EXPECT_EQ(simple->GetCurrentMediaType(&current), S_OK);
    EXPECT_EQ(current.p, nv12.p);
    CComPtr<IMFMediaType> offered;
    EXPECT_EQ(simple->GetMediaTypeByIndex(0, &offered), S_OK);
    EXPECT_EQ(offered.p, nv12.p);
    EXPECT_EQ(simple->GetMediaTypeByIndex(1, &offered), MF_E_NO_MORE_TYPES);
    EXPECT_EQ(simple->IsMediaTypeSupported(nv12, nullptr), S_OK);
}

TEST_F(SimpleTypeHandler, OffersOneTypeEvenIfItIsNone)
{
    CComPtr<IMFMediaTypeHandler> simple;
    ASSERT_EQ(MFCreateSimpleTypeHandler(&simple), S_OK);
    DWORD count = 0;
    EXPECT_EQ(simple->GetMediaTypeCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    CComPtr<IMFMediaType> none;
    EXPECT_EQ(simple->GetMediaTypeByIndex(0, &none), S_OK);
    EXPECT_FALSE(none);
    EXPECT_EQ(simple->GetCurrentMediaType(&none), S_OK);
    EXPECT_FALSE(none);
    EXPECT_EQ(simple->IsMediaTypeSupported(nv12, nullptr), MF_E_UNEXPECTED);
}

TEST_F(SimpleTypeHandler, ForgetsItsType)
{
    CComPtr<IMFMediaTypeHandler> simple;
    ASSERT_EQ(MFCreateSimpleTypeHandler(&simple), S_OK);
    ASSERT_EQ(simple->SetCurrentMediaType(nv12), S_OK);
    EXPECT_EQ(simple->SetCurrentMediaType(nullptr), S_OK);
    GUID majorType = {};
    EXPECT_EQ(simple->GetMajorType(&majorType), MF_E_NOT_INITIALIZED);
}
