#include "sink/NDIMediaTypeHandler.h"

#include "hostfw/ComException.h"
#include "hostfw/MediaTypeText.h"
#include "sink/NDIMediaTypeHandlerAudio.h"
#include "sink/NDIMediaTypeHandlerVideo.h"
#include "tests/sink/SinkHarness.h"

namespace
{

// A stream that answers for the types it is told of as the test says.
class ResolvingStream : public RecordingStream
{
public:
    using RecordingStream::RecordingStream;

    HRESULT MediaTypeResolved(IMFMediaType *type) override
    {
        resolved.push_back(type);
        return resolveResult;
    }

    std::vector<IMFMediaType *> resolved;
    HRESULT resolveResult = S_OK;
};

class OpenVideoHandler : public NDIMediaTypeHandlerVideo
{
public:
    using NDIMediaTypeHandlerVideo::createMediaType;
    using NDIMediaTypeHandlerVideo::initialized;
    using NDIMediaTypeHandlerVideo::NDIMediaTypeHandlerVideo;
};

class OpenAudioHandler : public NDIMediaTypeHandlerAudio
{
public:
    using NDIMediaTypeHandlerAudio::createMediaType;
    using NDIMediaTypeHandlerAudio::NDIMediaTypeHandlerAudio;
};

// Cannot make its second type.
class FailingHandler : public OpenVideoHandler
{
public:
    FailingHandler(NDISinkStream *stream, int &tries) : OpenVideoHandler(stream), m_tries(tries) {}

protected:
    HRESULT createMediaType(const GUID &subtype, IMFMediaType **ppType) const override
    {
        return ++m_tries == 2 ? E_OUTOFMEMORY : OpenVideoHandler::createMediaType(subtype, ppType);
    }

private:
    int &m_tries;
};

class NDIMediaTypeHandlerTest : public MadeSinkTest
{
protected:
    static std::vector<GUID> keysOf(IMFMediaType *type)
    {
        UINT32 count = 0;
        type->GetCount(&count);
        std::vector<GUID> keys(count);
        for (UINT32 index = 0; index < count; ++index)
            type->GetItemByIndex(index, &keys[index], nullptr);
        return keys;
    }
    static CComPtr<IMFMediaType> offered(IMFMediaTypeHandler *handler, DWORD index)
    {
        CComPtr<IMFMediaType> type;
        EXPECT_EQ(S_OK, handler->GetMediaTypeByIndex(index, &type));
        return type;
    }
    static bool takes(IMFMediaTypeHandler *handler, IMFMediaType *type)
    {
        const HRESULT hr = handler->IsMediaTypeSupported(type, nullptr);
        EXPECT_TRUE(hr == S_OK || hr == MF_E_INVALIDTYPE);
        return hr == S_OK;
    }

    ResolvingStream stream{5, sink};
    const std::shared_ptr<NDIMediaTypeHandler> video = NDIMediaTypeHandlerVideo::create(&stream);
    const std::shared_ptr<NDIMediaTypeHandler> audio = NDIMediaTypeHandlerAudio::create(&stream);
};

} // namespace

TEST_F(NDIMediaTypeHandlerTest, VideoOffersThreeTypesInOrderAndNoFourth)
{
    DWORD count = 0;
    EXPECT_EQ(S_OK, video->GetMediaTypeCount(&count));
    EXPECT_EQ(3u, count);
    const GUID subtypes[] = {MFVideoFormat_UYVY, MFVideoFormat_ARGB32, MFVideoFormat_RGB32};
    for (DWORD index = 0; index < 3; ++index) {
        GUID subtype = GUID_NULL;
        EXPECT_EQ(S_OK, offered(video.get(), index)->GetGUID(MF_MT_SUBTYPE, &subtype));
        EXPECT_TRUE(IsEqualGUID(subtypes[index], subtype)) << index;
    }
    CComPtr<IMFMediaType> fourth;
    EXPECT_EQ(MF_E_NO_MORE_TYPES, video->GetMediaTypeByIndex(3, &fourth));
    EXPECT_FALSE(fourth);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDIMediaTypeHandlerTest, AudioOffersExactlyOneType)
{
    DWORD count = 0;
    EXPECT_EQ(S_OK, audio->GetMediaTypeCount(&count));
    EXPECT_EQ(1u, count);
    GUID subtype = GUID_NULL;
    EXPECT_EQ(S_OK, offered(audio.get(), 0)->GetGUID(MF_MT_SUBTYPE, &subtype));
    EXPECT_TRUE(IsEqualGUID(MFAudioFormat_Float, subtype));
    CComPtr<IMFMediaType> second;
    EXPECT_EQ(MF_E_NO_MORE_TYPES, audio->GetMediaTypeByIndex(1, &second));
}

TEST_F(NDIMediaTypeHandlerTest, AnOfferedVideoTypeSaysWhatCannotBeOtherwiseAndNothingElse)
{
    const auto type = offered(video.get(), 0);
    const GUID keys[] = {
        MF_MT_MAJOR_TYPE,         MF_MT_SUBTYPE,        MF_MT_ALL_SAMPLES_INDEPENDENT, MF_MT_COMPRESSED,
        MF_MT_FIXED_SIZE_SAMPLES, MF_MT_INTERLACE_MODE, MF_MT_PIXEL_ASPECT_RATIO};
    EXPECT_EQ(std::size(keys), keysOf(type).size());
    for (const GUID &key : keys)
        EXPECT_EQ(S_OK, type->GetItem(key, nullptr)) << &key - keys;
    GUID major = GUID_NULL;
    type->GetGUID(MF_MT_MAJOR_TYPE, &major);
    EXPECT_TRUE(IsEqualGUID(MFMediaType_Video, major));
    EXPECT_EQ(1u, MFGetAttributeUINT32(type, MF_MT_ALL_SAMPLES_INDEPENDENT, 99));
    EXPECT_EQ(0u, MFGetAttributeUINT32(type, MF_MT_COMPRESSED, 99));
    EXPECT_EQ(1u, MFGetAttributeUINT32(type, MF_MT_FIXED_SIZE_SAMPLES, 99));
    EXPECT_EQ(2u, MFGetAttributeUINT32(type, MF_MT_INTERLACE_MODE, 99));
    UINT32 numerator = 0;
    UINT32 denominator = 0;
    EXPECT_EQ(S_OK, MFGetAttributeRatio(type, MF_MT_PIXEL_ASPECT_RATIO, &numerator, &denominator));
    EXPECT_EQ(1u, numerator);
    EXPECT_EQ(1u, denominator);
}

TEST_F(NDIMediaTypeHandlerTest, TheOfferedAudioTypeSaysWhatCannotBeOtherwiseAndNothingElse)
{
    const auto type = offered(audio.get(), 0);
    EXPECT_EQ(4u, keysOf(type).size());
    GUID major = GUID_NULL;
    type->GetGUID(MF_MT_MAJOR_TYPE, &major);
    EXPECT_TRUE(IsEqualGUID(MFMediaType_Audio, major));
    EXPECT_EQ(1u, MFGetAttributeUINT32(type, MF_MT_ALL_SAMPLES_INDEPENDENT, 99));
    EXPECT_EQ(0u, MFGetAttributeUINT32(type, MF_MT_COMPRESSED, 99));
}

TEST_F(NDIMediaTypeHandlerTest, ACompleteProgressivePictureTypeIsTaken)
{
    EXPECT_TRUE(takes(video.get(), pictureType(1920, 1080, MFVideoFormat_RGB32)));
    EXPECT_TRUE(takes(video.get(), pictureType(1920, 1080, MFVideoFormat_ARGB32)));
    EXPECT_TRUE(takes(video.get(), pictureType(1920, 1080, MFVideoFormat_UYVY)));
}

TEST_F(NDIMediaTypeHandlerTest, AnInterlacedPictureTypeIsRefused)
{
    const auto type = pictureType(1920, 1080, MFVideoFormat_RGB32);
    type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_FieldInterleavedUpperFirst);
    EXPECT_FALSE(takes(video.get(), type));
}

TEST_F(NDIMediaTypeHandlerTest, PictureTypesOfSubtypesThatAreNotOfferedAreRefused)
{
    EXPECT_FALSE(takes(video.get(), pictureType(1920, 1080, MFVideoFormat_NV12)));
    EXPECT_FALSE(takes(video.get(), pictureType(1920, 1080, MFVideoFormat_YUY2)));
}

TEST_F(NDIMediaTypeHandlerTest, ATypeThatContradictsAnOfferedAttributeIsRefusedAndOneThatLeavesItOutIsTaken)
{
    const auto refuses = [&](auto &&change) {
        const auto type = pictureType();
        change(type.p);
        return !takes(video.get(), type);
    };
    EXPECT_TRUE(refuses([](auto *t) { MFSetAttributeRatio(t, MF_MT_PIXEL_ASPECT_RATIO, 4, 3); }));
    EXPECT_TRUE(refuses([](auto *t) { t->SetUINT32(MF_MT_COMPRESSED, TRUE); }));
    EXPECT_TRUE(refuses([](auto *t) { t->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, FALSE); }));
    EXPECT_TRUE(refuses([](auto *t) { t->SetUINT32(MF_MT_FIXED_SIZE_SAMPLES, FALSE); }));
    EXPECT_TRUE(takes(video.get(), partialType(MFMediaType_Video, MFVideoFormat_UYVY)));
}

TEST_F(NDIMediaTypeHandlerTest, AudioTakesFloatOfAnyRateAndChannelCountAndNoPcm)
{
    for (const UINT32 rate : {8000u, 44100u, 48000u, 192000u})
        for (const UINT32 channels : {1u, 2u, 6u, 16u})
            EXPECT_TRUE(takes(audio.get(), soundType(rate, channels)));
    EXPECT_FALSE(takes(audio.get(), partialType(MFMediaType_Audio, MFAudioFormat_PCM)));
}

TEST_F(NDIMediaTypeHandlerTest, AnAudioTypeProposedToVideoIsRefusedWithoutALookAtItsSubtype)
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio); // and no subtype
    EXPECT_EQ(MF_E_INVALIDTYPE, video->IsMediaTypeSupported(type, nullptr));
    EXPECT_EQ(0, log.countContaining("HR="));
}

TEST_F(NDIMediaTypeHandlerTest, TheAnswerToAProposalIsLoggedWithTheType)
{
    const auto good = pictureType();
    const auto bad = pictureType(64, 36, MFVideoFormat_NV12);
    video->IsMediaTypeSupported(good, nullptr);
    video->IsMediaTypeSupported(bad, nullptr);
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Media type is supported: \"" + to_qstring(good) + "\""));
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Media type is not supported: \"" + to_qstring(bad) + "\""));
    EXPECT_EQ(2u, log.lines().size());
}

TEST_F(NDIMediaTypeHandlerTest, TheClosestTypeIsNeverWritten)
{
    auto *const untouched = reinterpret_cast<IMFMediaType *>(&stream);
    IMFMediaType *closest = untouched;
    EXPECT_EQ(S_OK, video->IsMediaTypeSupported(pictureType(), &closest));
    EXPECT_EQ(MF_E_INVALIDTYPE, video->IsMediaTypeSupported(soundType(), &closest));
    EXPECT_EQ(E_INVALIDARG, video->IsMediaTypeSupported(nullptr, &closest));
    EXPECT_EQ(untouched, closest);
}

TEST_F(NDIMediaTypeHandlerTest, AProposalThatLacksItsMajorTypeOrSubtypeReportsTheFailure)
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, video->IsMediaTypeSupported(type, nullptr));
    EXPECT_EQ(1, criticals(" [pMediaType->GetGUID(MF_MT_MAJOR_TYPE, &majorType)] (HR=0xC00D36E6)"));
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, video->IsMediaTypeSupported(type, nullptr));
    EXPECT_EQ(1, criticals(" [pMediaType->GetGUID(MF_MT_SUBTYPE, &subType)] (HR=0xC00D36E6)"));
    EXPECT_EQ(2u, log.lines().size());
}

TEST_F(NDIMediaTypeHandlerTest, NullArgumentsAreRefusedByName)
{
    EXPECT_EQ(E_INVALIDARG, video->IsMediaTypeSupported(nullptr, nullptr));
    EXPECT_EQ(1, criticals(" [pMediaType is null]"));
    EXPECT_EQ(E_INVALIDARG, video->GetMediaTypeCount(nullptr));
    EXPECT_EQ(1, criticals(" [pdwTypeCount is null]"));
    EXPECT_EQ(E_INVALIDARG, video->GetMediaTypeByIndex(99, nullptr));
    EXPECT_EQ(1, criticals(" [ppType is null]"));
    EXPECT_EQ(E_INVALIDARG, video->SetCurrentMediaType(nullptr));
    EXPECT_EQ(2, criticals(" [pMediaType is null]"));
    EXPECT_EQ(E_INVALIDARG, video->GetCurrentMediaType(nullptr));
    EXPECT_EQ(1, criticals(" [ppMediaType is null]"));
    EXPECT_EQ(E_INVALIDARG, video->GetMajorType(nullptr));
    EXPECT_EQ(1, criticals(" [pguidMajorType is null]"));
    EXPECT_EQ(6u, log.lines().size());
    EXPECT_TRUE(stream.resolved.empty());
}

TEST_F(NDIMediaTypeHandlerTest, TellsItsMajorType)
{
    GUID major = GUID_NULL;
    EXPECT_EQ(S_OK, video->GetMajorType(&major));
    EXPECT_TRUE(IsEqualGUID(MFMediaType_Video, major));
    EXPECT_EQ(S_OK, audio->GetMajorType(&major));
    EXPECT_TRUE(IsEqualGUID(MFMediaType_Audio, major));
}

TEST_F(NDIMediaTypeHandlerTest, ThereIsNoCurrentTypeBeforeOneIsSet)
{
    CComPtr<IMFMediaType> current;
    EXPECT_EQ(MF_E_NOT_INITIALIZED, video->GetCurrentMediaType(&current));
    EXPECT_FALSE(current);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDIMediaTypeHandlerTest, SettingTheSameTypeTwiceResolvesTwiceAndKeepsOneReference)
{
    const auto type = pictureType();
    EXPECT_EQ(S_OK, video->SetCurrentMediaType(type));
    EXPECT_EQ(S_OK, video->SetCurrentMediaType(type));
    EXPECT_EQ((std::vector<IMFMediaType *>{type, type}), stream.resolved);
    EXPECT_EQ(2u, referencesOf(type)); // the test's and the handler's
    CComPtr<IMFMediaType> current;
    EXPECT_EQ(S_OK, video->GetCurrentMediaType(&current));
    EXPECT_EQ(type.p, current.p);
    EXPECT_EQ(3u, referencesOf(type));
}

TEST_F(NDIMediaTypeHandlerTest, AnotherTypeReplacesTheCurrentOneWhoseReferenceGoes)
{
    const auto first = pictureType();
    const auto second = pictureType(128, 72);
    video->SetCurrentMediaType(first);
    video->SetCurrentMediaType(second);
    EXPECT_EQ(1u, referencesOf(first));
    CComPtr<IMFMediaType> current;
    EXPECT_EQ(S_OK, video->GetCurrentMediaType(&current));
    EXPECT_EQ(second.p, current.p);
}

TEST_F(NDIMediaTypeHandlerTest, ATypeThatWasNeverOfferedCanBeSet)
{
    EXPECT_EQ(S_OK, video->SetCurrentMediaType(soundType()));
    EXPECT_EQ(1u, stream.resolved.size());
}

TEST_F(NDIMediaTypeHandlerTest, WhenTheStreamCannotResolveATypeItIsReportedAndStaysCurrent)
{
    stream.resolveResult = E_ACCESSDENIED;
    const auto type = pictureType();
    EXPECT_EQ(E_ACCESSDENIED, video->SetCurrentMediaType(type));
    EXPECT_EQ(1, criticals(" [m_stream->MediaTypeResolved(pMediaType)] (HR=0x80070005)"));
    CComPtr<IMFMediaType> current;
    EXPECT_EQ(S_OK, video->GetCurrentMediaType(&current));
    EXPECT_EQ(type.p, current.p);
}

TEST_F(NDIMediaTypeHandlerTest, CannotBeMadeWithoutAStream)
{
    try {
        NDIMediaTypeHandlerVideo::create(nullptr);
        FAIL() << "made";
    } catch (const ComException &exception) {
        EXPECT_EQ(E_POINTER, exception.getErrorCode());
        EXPECT_EQ(QStringLiteral("Null pointer"), exception.getMessage());
    }
    EXPECT_EQ(1, criticals(" [stream is null]"));
}

TEST_F(NDIMediaTypeHandlerTest, AHandlerThatCannotMakeATypeIsNotHandedOutAndTriesNoOther)
{
    int tries = 0;
    EXPECT_FALSE(OpenVideoHandler::initialized(std::make_shared<FailingHandler>(&stream, tries)));
    EXPECT_EQ(2, tries);
    EXPECT_EQ(1, criticals("Failed to create media type"));
    EXPECT_EQ(1u, log.lines().size());
}

TEST_F(NDIMediaTypeHandlerTest, AnOfferedTypeIsNotMadeWithoutAPlaceForIt)
{
    EXPECT_EQ(E_INVALIDARG, OpenVideoHandler(&stream).createMediaType(MFVideoFormat_UYVY, nullptr));
    EXPECT_EQ(E_INVALIDARG, OpenAudioHandler(&stream).createMediaType(MFAudioFormat_Float, nullptr));
    EXPECT_EQ(2, criticals(" [ppType is null]"));
}

TEST_F(NDIMediaTypeHandlerTest, SharesTheIdentityAndTheReferencesOfItsStream)
{
    const ULONG before = referencesOf(sink);
    video->AddRef();
    EXPECT_EQ(before + 1, referencesOf(sink));
    video->Release();
    EXPECT_EQ(before, referencesOf(sink));
    CComPtr<IMFStreamSink> asStream;
    EXPECT_EQ(S_OK, video->QueryInterface(__uuidof(IMFStreamSink), reinterpret_cast<void **>(&asStream)));
    EXPECT_EQ(static_cast<IMFStreamSink *>(&stream), asStream.p);
    CComPtr<IMFMediaTypeHandler> through;
    EXPECT_EQ(E_NOINTERFACE, video->QueryInterface(__uuidof(IMFMediaTypeHandler), reinterpret_cast<void **>(&through)));
    EXPECT_EQ(S_OK,
              video->NonDelegatingQueryInterface(__uuidof(IMFMediaTypeHandler), reinterpret_cast<void **>(&through)));
    EXPECT_EQ(static_cast<IMFMediaTypeHandler *>(video.get()), through.p);
}
