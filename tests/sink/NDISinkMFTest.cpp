#include "sink/NDISinkMF.h"

#include "hostfw/ComException.h"
#include "tests/sink/SinkFakes.h"
#include "tests/sink/SinkHarness.h"
#include "tests/source/SourceHarness.h"

#include <future>
#include <stdexcept>

namespace
{

using Types = std::vector<MediaEventType>;

class NDISinkMFTest : public SinkTest
{
protected:
    void make(bool video = true, bool audio = true) { sink = makeSink(parameters(video, audio)); }
    // Makes the stream's next event fail.
    void closeEventsOf(DWORD index) { static_cast<NDISinkStream *>(streamOf(sink, index).p)->Shutdown(); }
    static DWORD identifierOf(IMFStreamSink *stream)
    {
        DWORD identifier = 99;
        EXPECT_EQ(S_OK, stream->GetIdentifier(&identifier));
        return identifier;
    }
    static GUID majorTypeOf(IMFStreamSink *stream)
    {
        GUID type = GUID_NULL;
        EXPECT_EQ(S_OK, handlerOf(stream)->GetMajorType(&type));
        return type;
    }
};

} // namespace

TEST_F(NDISinkMFTest, HasVideoAsStream0AndAudioAsStream1)
{
    make();
    DWORD count = 0;
    EXPECT_EQ(S_OK, sink->GetStreamSinkCount(&count));
    EXPECT_EQ(2u, count);
    const GUID types[] = {MFMediaType_Video, MFMediaType_Audio};
    for (DWORD index = 0; index < 2; ++index) {
        const auto stream = streamOf(sink, index);
        EXPECT_EQ(index, identifierOf(stream));
        const GUID type = majorTypeOf(stream);
        EXPECT_TRUE(IsEqualGUID(types[index], type));
        CComPtr<IMFStreamSink> again;
        EXPECT_EQ(S_OK, sink->GetStreamSinkById(index, &again));
        EXPECT_EQ(stream.p, again.p);
    }
}

TEST_F(NDISinkMFTest, MadeWithAudioAloneHasOneStreamWhoseIdentifierIsZero)
{
    make(false, true);
    DWORD count = 0;
    EXPECT_EQ(S_OK, sink->GetStreamSinkCount(&count));
    EXPECT_EQ(1u, count);
    EXPECT_EQ(0u, identifierOf(streamOf(sink, 0)));
    const GUID type = majorTypeOf(streamOf(sink, 0));
    EXPECT_TRUE(IsEqualGUID(MFMediaType_Audio, type));
    CComPtr<IMFStreamSink> second;
    EXPECT_EQ(MF_E_INVALIDSTREAMNUMBER, sink->GetStreamSinkById(1, &second));
    EXPECT_FALSE(second);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkMFTest, MadeWithNeitherHasNoStreams)
{
    make(false, false);
    DWORD count = 99;
    EXPECT_EQ(S_OK, sink->GetStreamSinkCount(&count));
    EXPECT_EQ(0u, count);
    EXPECT_EQ(S_OK, sink->OnClockStart(0, 0));
    EXPECT_EQ(S_OK, sink->OnClockStop(0));
}

TEST_F(NDISinkMFTest, TheIndexRightBehindTheLastStreamThrowsAndOnesBeyondItAreInvalid)
{
    make();
    CComPtr<IMFStreamSink> stream;
    try {
        sink->GetStreamSinkByIndex(2, &stream);
        FAIL() << "did not throw";
    } catch (const std::out_of_range &exception) {
        EXPECT_STREQ("invalid vector<T> subscript", exception.what());
    }
    EXPECT_EQ(MF_E_INVALIDINDEX, sink->GetStreamSinkByIndex(3, &stream));
    EXPECT_FALSE(stream);
    EXPECT_EQ(MF_E_INVALIDINDEX, sink->GetStreamSinkByIndex(3, nullptr));
    EXPECT_TRUE(log.lines().empty());
    // The exception has left no lock behind.
    EXPECT_EQ(S_OK, std::async(std::launch::async, [this] { return sink->OnClockStart(0, 0); }).get());
}

TEST_F(NDISinkMFTest, NullOutPointersAreRefusedByName)
{
    make();
    EXPECT_EQ(E_INVALIDARG, sink->GetCharacteristics(nullptr));
    EXPECT_EQ(1, criticals(" [pdwCharacteristics is null]"));
    EXPECT_EQ(E_INVALIDARG, sink->GetStreamSinkCount(nullptr));
    EXPECT_EQ(1, criticals(" [pcStreamSinkCount is null]"));
    EXPECT_EQ(E_INVALIDARG, sink->GetStreamSinkByIndex(0, nullptr));
    EXPECT_EQ(E_INVALIDARG, sink->GetStreamSinkByIndex(2, nullptr));
    EXPECT_EQ(2, criticals(" [ppStreamSink is null]"));
    EXPECT_EQ(E_INVALIDARG, sink->GetPresentationClock(nullptr));
    EXPECT_EQ(1, criticals(" [ppPresentationClock is null]"));
    EXPECT_EQ(5u, log.lines().size());
}

TEST_F(NDISinkMFTest, ItsStreamsAreFixed)
{
    make();
    DWORD characteristics = 0;
    EXPECT_EQ(S_OK, sink->GetCharacteristics(&characteristics));
    EXPECT_EQ(1u, characteristics);
    CComPtr<IMFStreamSink> stream;
    EXPECT_EQ(HRESULT(0xC00D4A3B), sink->AddStreamSink(7, pictureType(), &stream));
    EXPECT_EQ(HRESULT(0xC00D4A3B), sink->RemoveStreamSink(0));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkMFTest, AnswersForTheSinkAndForTheClocksListener)
{
    make();
    CComPtr<IMFMediaSink> asSink;
    EXPECT_EQ(S_OK, sink->QueryInterface(__uuidof(IMFMediaSink), reinterpret_cast<void **>(&asSink)));
    EXPECT_EQ(static_cast<IMFMediaSink *>(sink.p), asSink.p);
    CComPtr<IMFClockStateSink> asListener;
    EXPECT_EQ(S_OK, asSink->QueryInterface(__uuidof(IMFClockStateSink), reinterpret_cast<void **>(&asListener)));
    EXPECT_EQ(static_cast<IMFClockStateSink *>(sink.p), asListener.p);
    CComPtr<IUnknown> first;
    CComPtr<IUnknown> second;
    EXPECT_EQ(S_OK, asSink->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&first)));
    EXPECT_EQ(S_OK, asListener->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&second)));
    EXPECT_EQ(first.p, second.p);
    void *none = &sink;
    EXPECT_EQ(E_NOINTERFACE, asSink->QueryInterface(__uuidof(IMFStreamSink), &none));
}

TEST_F(NDISinkMFTest, TheSenderIsNamedAndPacesVideoAndAudio)
{
    sink = makeSink({QString::fromUtf8("Bühne 二"), true, true});
    const auto settings = ndi.calls().senderSettings;
    ASSERT_EQ(1u, settings.size());
    EXPECT_EQ(std::string("Bühne 二"), settings[0].name);
    EXPECT_FALSE(settings[0].groups);
    EXPECT_TRUE(settings[0].clockVideo);
    EXPECT_TRUE(settings[0].clockAudio);
}

TEST_F(NDISinkMFTest, AnEmptyNameReachesTheRuntimeAsAnEmptyString)
{
    sink = makeSink({QString(), true, false});
    EXPECT_EQ(std::string(), ndi.calls().senderSettings.at(0).name);
    sink = makeSink({QStringLiteral(""), true, false});
    EXPECT_EQ(std::string(), ndi.calls().senderSettings.at(1).name);
}

TEST_F(NDISinkMFTest, WithoutASenderItIsNotMade)
{
    ndi.refuseSenders(true);
    try {
        make();
        FAIL() << "made";
    } catch (const ComException &exception) {
        EXPECT_EQ(E_FAIL, exception.getErrorCode());
        EXPECT_EQ(QStringLiteral("Failed to create NDI sender"), exception.getMessage());
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkMFTest, ASenderCanBeDestroyedAndMadeAgain)
{
    make();
    EXPECT_EQ(S_OK, sink->flush());
    EXPECT_EQ(S_OK, sink->destroySender());
    EXPECT_EQ(S_FALSE, sink->destroySender());
    EXPECT_EQ(notValidState, sink->flush());
    EXPECT_EQ(S_OK, sink->createSender(QStringLiteral("Again")));
    EXPECT_EQ((std::vector<SendCall>{SendCall::Create, SendCall::Flush, SendCall::Flush, SendCall::Destroy,
                                     SendCall::Create}),
              ndi.calls().sendCalls);
    EXPECT_EQ(std::string("Again"), ndi.calls().senderSettings.at(1).name);
}

TEST_F(NDISinkMFTest, TheSecondShutdownIsRefusedAndTheSenderSurvivesBoth)
{
    make();
    const CComPtr<FakeClock> clock(new FakeClock);
    sink->SetPresentationClock(clock);
    EXPECT_EQ(S_OK, sink->Shutdown());
    EXPECT_EQ(HRESULT(0xC00D3E85), sink->Shutdown());
    EXPECT_EQ(0, ndi.calls().sendersDestroyed);
    EXPECT_EQ(1, clock->removed);
    EXPECT_EQ(1u, referencesOf(clock));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkMFTest, AfterTheShutdownOnlyTheEventsAreGone)
{
    makeStartedSink();
    const auto video = streamOf(sink, 0);
    ASSERT_EQ(S_OK, sink->Shutdown());
    DWORD count = 0;
    EXPECT_EQ(S_OK, sink->GetStreamSinkCount(&count));
    EXPECT_EQ(2u, count);
    EXPECT_EQ(S_OK, sink->GetStreamSinkById(1, &CComPtr<IMFStreamSink>()));
    EXPECT_EQ(S_OK, sink->flush());
    EXPECT_EQ(S_OK, sink->SetPresentationClock(CComPtr<FakeClock>(new FakeClock)));
    CComPtr<IMFMediaEvent> event;
    EXPECT_EQ(MF_E_SHUTDOWN, video->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event));
    // The request that was open is still answered.
    EXPECT_EQ(S_OK, video->ProcessSample(bytesSample(noise(64 * 2 * 36))));
    sink->sendMetadata("late");
    drain(sink);
    EXPECT_EQ(1u, ndi.calls().sentVideo.size());
    EXPECT_EQ(1u, ndi.calls().sentMetadata.size());
}

TEST_F(NDISinkMFTest, StartAndStopReachEveryStream)
{
    makeStartedSink();
    for (DWORD index = 0; index < 2; ++index)
        EXPECT_EQ((Types{MEStreamSinkStarted, MEStreamSinkRequestSample}), takeEventTypes(streamOf(sink, index)));
    EXPECT_EQ(S_OK, sink->OnClockStop(0));
    for (DWORD index = 0; index < 2; ++index)
        EXPECT_EQ((Types{MEStreamSinkStopped}), takeEventTypes(streamOf(sink, index)));
}

TEST_F(NDISinkMFTest, AStreamThatHasNoTypeYetDoesNotKeepTheOthersFromStarting)
{
    make();
    setType(sink, streamOf(sink, 1), soundType());
    EXPECT_EQ(S_OK, sink->OnClockStart(0, 0));
    EXPECT_EQ((Types{MEStreamSinkFormatChanged}), takeEventTypes(streamOf(sink, 0)));
    EXPECT_EQ((Types{MEStreamSinkStarted, MEStreamSinkRequestSample}), takeEventTypes(streamOf(sink, 1)));
}

TEST_F(NDISinkMFTest, AStreamThatRefusesToStartIsReportedAndTheNextIsNotStarted)
{
    make();
    setType(sink, streamOf(sink, 1), soundType());
    closeEventsOf(0);
    EXPECT_EQ(MF_E_SHUTDOWN, sink->OnClockStart(0, 0));
    EXPECT_EQ(1, criticals(" [stream->Start(hnsSystemTime, llClockStartOffset)] (HR=0xC00D3E85)"));
    EXPECT_TRUE(takeEvents(streamOf(sink, 1)).empty());
}

TEST_F(NDISinkMFTest, AStreamThatRefusesToStopIsReportedAndTheNextIsNotStopped)
{
    make();
    setType(sink, streamOf(sink, 1), soundType());
    EXPECT_EQ(notValidState, sink->OnClockStop(0)); // video has no type
    EXPECT_EQ(1, criticals(" [stream->Stop()] (HR=0x8007139F)"));
    EXPECT_TRUE(takeEvents(streamOf(sink, 1)).empty());
}

TEST_F(NDISinkMFTest, NeitherPausesNorRestartsNorChangesItsRate)
{
    makeStartedSink();
    log.clear();
    EXPECT_EQ(E_NOTIMPL, sink->OnClockPause(0));
    EXPECT_EQ(E_NOTIMPL, sink->OnClockRestart(0));
    EXPECT_EQ(E_NOTIMPL, sink->OnClockSetRate(0, 2.0F));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkMFTest, LetGoItDestroysItsSenderAndGivesBackItsClock)
{
    make();
    const CComPtr<FakeClock> clock(new FakeClock);
    sink->SetPresentationClock(clock);
    sink.Release();
    EXPECT_EQ((std::vector<SendCall>{SendCall::Create, SendCall::Flush, SendCall::Destroy}), ndi.calls().sendCalls);
    EXPECT_EQ(1, clock->removed);
    EXPECT_EQ(1u, referencesOf(clock));
}

TEST_F(NDISinkMFTest, AStreamOrATypeHandlerKeepsItAlive)
{
    make();
    const auto handler = handlerOf(streamOf(sink, 0));
    sink.Release();
    DWORD count = 0;
    EXPECT_EQ(S_OK, handler->GetMediaTypeCount(&count));
    EXPECT_EQ(3u, count);
    EXPECT_EQ(0, ndi.calls().sendersDestroyed);
}
