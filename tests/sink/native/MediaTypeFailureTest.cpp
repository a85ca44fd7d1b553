#include "hostfw/CUnknown.h"
#include "sink/NDIMediaTypeHandlerAudio.h"
#include "sink/NDIMediaTypeHandlerVideo.h"
#include "sink/SinkCreation.h"
#include "tests/sink/SinkHarness.h"
#include "tests/support/RefusingAttributes.h"
#include "tests/support/native/MadeUpMediaTypes.h"

#include <string>
#include <vector>

namespace
{

// Takes as many attributes as it is told to and refuses those after them.
class FullMediaType : public RefusingAttributes<IMFMediaType>, public CUnknown
{
public:
    explicit FullMediaType(size_t room) : CUnknown(L"FullMediaType", nullptr), m_room(room) {}

    size_t tries = 0;

    DECLARE_IUNKNOWN
    // IMFAttributes
    STDMETHODIMP SetGUID(REFGUID, REFGUID) override { return take(); }
    STDMETHODIMP SetUINT32(REFGUID, UINT32) override { return take(); }
    STDMETHODIMP SetUINT64(REFGUID, UINT64) override { return take(); }
    // IMFMediaType
    STDMETHODIMP GetMajorType(GUID *) override { return E_NOTIMPL; }
    STDMETHODIMP IsCompressedFormat(BOOL *) override { return E_NOTIMPL; }
    STDMETHODIMP IsEqual(IMFMediaType *, DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetRepresentation(GUID, LPVOID *) override { return E_NOTIMPL; }
    STDMETHODIMP FreeRepresentation(GUID, LPVOID) override { return E_NOTIMPL; }

private:
    HRESULT take() { return tries++ < m_room ? S_OK : E_ACCESSDENIED; }

    const size_t m_room;
};

class OpenVideoHandler : public NDIMediaTypeHandlerVideo
{
public:
    using NDIMediaTypeHandlerVideo::createMediaType;
    using NDIMediaTypeHandlerVideo::NDIMediaTypeHandlerVideo;
};

class OpenAudioHandler : public NDIMediaTypeHandlerAudio
{
public:
    using NDIMediaTypeHandlerAudio::createMediaType;
    using NDIMediaTypeHandlerAudio::NDIMediaTypeHandlerAudio;
};

class MediaTypeFailureTest : public MadeSinkTest
{
protected:
    // The one line that was logged since the last call, and that has to be one of this area's failures.
    std::string failure()
    {
        const auto lines = log.lines();
        log.clear();
        if (lines.size() != 1 || lines[0].type != QtCriticalMsg || lines[0].category != sinkLog)
            return std::to_string(lines.size()) + " lines";
        return lines[0].text.toStdString();
    }
    // The type is made of `calls`, one after the other; the first that fails is the one that is reported.
    template <typename Handler>
    void expectEachReported(const Handler &handler, const GUID &subtype, const std::vector<std::string> &calls)
    {
        for (size_t room = 0; room < calls.size(); ++room) {
            const CComPtr<FullMediaType> full(new FullMediaType(room));
            const MadeUpMediaTypes given(S_OK, full);
            CComPtr<IMFMediaType> type;
            EXPECT_EQ(E_ACCESSDENIED, handler.createMediaType(subtype, &type));
            EXPECT_EQ(" [" + calls[room] + "] (HR=0x80070005)", failure());
            EXPECT_EQ(room + 1, full->tries);
            EXPECT_FALSE(type);
            EXPECT_EQ(1u, referencesOf(full));
        }
        const CComPtr<FullMediaType> roomy(new FullMediaType(calls.size()));
        const MadeUpMediaTypes given(S_OK, roomy);
        CComPtr<IMFMediaType> type;
        EXPECT_EQ(S_OK, handler.createMediaType(subtype, &type));
        EXPECT_EQ(roomy.p, type.p);
        EXPECT_EQ(2u, referencesOf(roomy));
    }

    // Neither handler makes a type; each says so in that line.
    void expectBothToFail(HRESULT result, const std::string &line)
    {
        CComPtr<IMFMediaType> type;
        EXPECT_EQ(result, video.createMediaType(MFVideoFormat_UYVY, &type));
        EXPECT_EQ(line, failure());
        EXPECT_EQ(result, audio.createMediaType(MFAudioFormat_Float, &type));
        EXPECT_EQ(line, failure());
        EXPECT_FALSE(type);
    }

    RecordingStream stream{5, sink};
    const OpenVideoHandler video{&stream};
    const OpenAudioHandler audio{&stream};
};

} // namespace

TEST_F(MediaTypeFailureTest, EachAttributeThatCannotBeSetIsReportedAndReturned)
{
    expectEachReported(
        video, MFVideoFormat_UYVY,
        {"pMediaType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video)", "pMediaType->SetGUID(MF_MT_SUBTYPE, subtype)",
         "pMediaType->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, 1)", "pMediaType->SetUINT32(MF_MT_COMPRESSED, 0)",
         "pMediaType->SetUINT32(MF_MT_FIXED_SIZE_SAMPLES, 1)",
         "pMediaType->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive)",
         "MFSetAttributeRatio(pMediaType, MF_MT_PIXEL_ASPECT_RATIO, 1, 1)"});
    expectEachReported(
        audio, MFAudioFormat_Float,
        {"pMediaType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio)", "pMediaType->SetGUID(MF_MT_SUBTYPE, subtype)",
         "pMediaType->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, 1)", "pMediaType->SetUINT32(MF_MT_COMPRESSED, 0)"});
}

TEST_F(MediaTypeFailureTest, ATypeThatCannotBeMadeIsReported)
{
    const MadeUpMediaTypes none(E_OUTOFMEMORY, nullptr);
    expectBothToFail(E_OUTOFMEMORY, " [MFCreateMediaType(&pMediaType)] (HR=0x8007000E)");
}

TEST_F(MediaTypeFailureTest, ATypeThatIsNotThereIsReported)
{
    const MadeUpMediaTypes none(S_OK, nullptr);
    expectBothToFail(E_POINTER, " [pMediaType is null]");
}

TEST_F(MediaTypeFailureTest, ASinkWhoseTypesCannotBeMadeFailsTheCreation)
{
    const MadeUpMediaTypes none(E_OUTOFMEMORY, nullptr);
    for (const bool hasVideo : {true, false}) {
        log.clear();
        const auto result = createSinkJob(parameters(hasVideo, !hasVideo));
        EXPECT_EQ(E_POINTER, result.hr);
        EXPECT_EQ(QStringLiteral("Error"), result.error);
        EXPECT_FALSE(result.sink);
        EXPECT_FALSE(result.videoNode);
        EXPECT_FALSE(result.audioNode);
        EXPECT_EQ(1, criticals(" [MFCreateMediaType(&pMediaType)] (HR=0x8007000E)"));
        EXPECT_EQ(1, criticals("Failed to create media type"));
        EXPECT_EQ(1, criticals(" [m_mediaTypeHandler is null]"));
    }
}
