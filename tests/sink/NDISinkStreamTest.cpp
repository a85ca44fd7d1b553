#include "sink/NDISinkStream.h"

#include "hostfw/ComException.h"
#include "sink/NDIMediaTypeHandlerVideo.h"
#include "tests/sink/SinkFakes.h"
#include "tests/sink/SinkHarness.h"
#include "tests/source/EventReader.h"

#include <future>

namespace
{

using Types = std::vector<MediaEventType>;

class NDISinkStreamTest : public RecordingStreamTest
{
protected:
    static constexpr LONGLONG currentPosition = 0x7FFFFFFFFFFFFFFF;
};

} // namespace

TEST_F(NDISinkStreamTest, StartBeforeATypeIsResolvedAsksForOneAndDoesNotStart)
{
    EXPECT_EQ(S_FALSE, stream.Start(0, 0));
    EXPECT_EQ((Types{MEStreamSinkFormatChanged}), takeEventTypes(&stream));
    EXPECT_EQ(MF_E_INVALIDREQUEST, stream.ProcessSample(emptySample()));
    EXPECT_EQ(1, log.count(QtWarningMsg, sinkLog, "Invalid ProcessSample request (state: 0, requests: 0)"));
}

TEST_F(NDISinkStreamTest, StartFromTheCurrentPositionQueuesNothingOnAStoppedOrStartedStream)
{
    makeStarted();
    EXPECT_EQ(S_OK, stream.Start(0, currentPosition));
    EXPECT_TRUE(takeEvents(&stream).empty());
    ASSERT_EQ(S_OK, stream.ProcessSample(emptySample())); // its request is still open
    ASSERT_EQ(S_OK, stream.Stop());
    takeEvents(&stream);
    EXPECT_EQ(S_OK, stream.Start(0, currentPosition));
    EXPECT_TRUE(takeEvents(&stream).empty());
    EXPECT_EQ(MF_E_INVALIDREQUEST, stream.ProcessSample(emptySample())); // and it is still stopped
}

TEST_F(NDISinkStreamTest, StartFromTheCurrentPositionStillAsksForATypeFirst)
{
    EXPECT_EQ(S_FALSE, stream.Start(0, currentPosition));
    EXPECT_EQ((Types{MEStreamSinkFormatChanged}), takeEventTypes(&stream));
}

TEST_F(NDISinkStreamTest, AStartRaisesOneRequestAndEachAcceptedSampleExactlyOneMore)
{
    makeStarted();
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(S_OK, stream.ProcessSample(emptySample()));
        EXPECT_EQ((Types{MEStreamSinkRequestSample}), takeEventTypes(&stream));
    }
    EXPECT_EQ(6, log.count(QtDebugMsg, sinkLog, "Sample requested... (total requests: 1)"));
    drain(sink);
    EXPECT_EQ(5u, stream.samples().size());
}

TEST_F(NDISinkStreamTest, OfThreeFurtherRequestsTwoAreQueuedAndTheThirdIsNot)
{
    makeStarted();
    EXPECT_EQ(S_OK, stream.RequestSample());
    EXPECT_EQ(S_OK, stream.RequestSample());
    EXPECT_EQ(S_FALSE, stream.RequestSample());
    EXPECT_EQ((Types{MEStreamSinkRequestSample, MEStreamSinkRequestSample}), takeEventTypes(&stream));
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Sample requested... (total requests: 2)"));
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Sample requested... (total requests: 3)"));
}

TEST_F(NDISinkStreamTest, ASampleWithoutAnOpenRequestIsRefused)
{
    makeStarted();
    // The next request of an accepted sample cannot be told: none is open then.
    ASSERT_EQ(S_OK, stream.Shutdown());
    ASSERT_EQ(S_OK, stream.ProcessSample(emptySample()));
    EXPECT_EQ(1, criticals(" [m_eventGenerator->QueueEvent( MEStreamSinkRequestSample, GUID_NULL, ((HRESULT)0L), 0)] "
                           "(HR=0xC00D3E85)"));
    EXPECT_EQ(MF_E_INVALIDREQUEST, stream.ProcessSample(emptySample()));
    EXPECT_EQ(1, log.count(QtWarningMsg, sinkLog, "Invalid ProcessSample request (state: 2, requests: 0)"));
    drain(sink);
    EXPECT_EQ(1u, stream.samples().size());
}

TEST_F(NDISinkStreamTest, StopWithoutATypeFailsAndWithOneMovesToStopped)
{
    EXPECT_EQ(notValidState, stream.Stop());
    EXPECT_TRUE(takeEvents(&stream).empty());
    makeTyped();
    EXPECT_EQ(S_OK, stream.Stop());
    EXPECT_EQ((Types{MEStreamSinkStopped}), takeEventTypes(&stream));
    EXPECT_EQ(MF_E_INVALIDREQUEST, stream.ProcessSample(emptySample()));
    EXPECT_EQ(1, log.count(QtWarningMsg, sinkLog, "Invalid ProcessSample request (state: 3, requests: 0)"));
}

TEST_F(NDISinkStreamTest, AStopKeepsTheOpenRequestsAndTheNextStartForgetsThem)
{
    makeStarted();
    ASSERT_EQ(S_OK, stream.RequestSample());
    ASSERT_EQ(S_OK, stream.Stop());
    EXPECT_EQ(MF_E_INVALIDREQUEST, stream.ProcessSample(emptySample()));
    EXPECT_EQ(1, log.count(QtWarningMsg, sinkLog, "Invalid ProcessSample request (state: 3, requests: 2)"));
    log.clear();
    ASSERT_EQ(S_OK, stream.Start(0, 0));
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Sample requested... (total requests: 1)"));
}

TEST_F(NDISinkStreamTest, AStartedStreamThatStartsAgainTellsSoAgain)
{
    makeStarted();
    EXPECT_EQ(S_OK, stream.Start(0, 10'000'000));
    EXPECT_EQ((Types{MEStreamSinkStarted, MEStreamSinkRequestSample}), takeEventTypes(&stream));
}

TEST_F(NDISinkStreamTest, RequestsAreForStartedStreamsOnly)
{
    EXPECT_EQ(notValidState, stream.RequestSample());
    makeTyped();
    EXPECT_EQ(notValidState, stream.RequestSample());
    ASSERT_EQ(S_OK, stream.Start(0, 0));
    ASSERT_EQ(S_OK, stream.Stop());
    takeEvents(&stream);
    log.clear();
    EXPECT_EQ(notValidState, stream.RequestSample());
    EXPECT_TRUE(takeEvents(&stream).empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkStreamTest, ATypedStreamThatWasNeverStartedTakesNoSample)
{
    makeTyped();
    EXPECT_EQ(MF_E_INVALIDREQUEST, stream.ProcessSample(emptySample()));
    EXPECT_EQ(1, log.count(QtWarningMsg, sinkLog, "Invalid ProcessSample request (state: 1, requests: 0)"));
}

TEST_F(NDISinkStreamTest, MarkersArePlacedInSilence)
{
    EXPECT_EQ(S_OK, stream.PlaceMarker(MFSTREAMSINK_MARKER_DEFAULT, nullptr, nullptr));
    makeStarted();
    EXPECT_EQ(S_OK, stream.PlaceMarker(MFSTREAMSINK_MARKER_ENDOFSEGMENT, nullptr, nullptr));
    EXPECT_TRUE(takeEvents(&stream).empty());
}

TEST_F(NDISinkStreamTest, FlushMakesTheSenderLetGoAndSucceedsAlsoWithoutOne)
{
    EXPECT_EQ(S_OK, stream.Flush());
    EXPECT_EQ((std::vector<SendCall>{SendCall::Create, SendCall::Flush}), ndi.calls().sendCalls);
    ASSERT_EQ(S_OK, sink->destroySender());
    EXPECT_EQ(S_OK, stream.Flush());
    EXPECT_EQ(0, ndi.calls().straySendCalls);
}

TEST_F(NDISinkStreamTest, AStreamWithoutATypeHandlerSaysSo)
{
    CComPtr<IMFMediaTypeHandler> handler;
    EXPECT_EQ(E_POINTER, stream.GetMediaTypeHandler(&handler));
    EXPECT_EQ(1, criticals(" [m_mediaTypeHandler is null]"));
    EXPECT_FALSE(handler);
    EXPECT_EQ(E_POINTER, stream.GetMediaTypeHandler(nullptr));
    EXPECT_EQ(2, criticals(" [m_mediaTypeHandler is null]"));
}

TEST_F(NDISinkStreamTest, TheTypeHandlerIsHandedOutWithAReferenceAndNotWithoutAPlaceForIt)
{
    stream.m_mediaTypeHandler = NDIMediaTypeHandlerVideo::create(&stream);
    EXPECT_EQ(E_POINTER, stream.GetMediaTypeHandler(nullptr));
    EXPECT_TRUE(log.lines().empty());
    const ULONG before = referencesOf(sink);
    CComPtr<IMFMediaTypeHandler> handler;
    EXPECT_EQ(S_OK, stream.GetMediaTypeHandler(&handler));
    EXPECT_EQ(stream.m_mediaTypeHandler.get(), handler.p);
    EXPECT_EQ(before + 1, referencesOf(sink));
}

TEST_F(NDISinkStreamTest, ATypeThatCannotBeAdoptedIsResolvedAllTheSameAndLeavesTheStreamWithoutOne)
{
    stream.typeResult = E_FAIL;
    EXPECT_EQ(S_OK, stream.MediaTypeResolved(pictureType()));
    drain(sink);
    EXPECT_EQ(1, criticals(" [onMediaTypeChanged(type)] (HR=0x80004005)"));
    EXPECT_EQ(S_FALSE, stream.Start(0, 0));
    EXPECT_EQ((Types{MEStreamSinkFormatChanged}), takeEventTypes(&stream));
}

TEST_F(NDISinkStreamTest, ATypeResolvedLaterLeavesTheStateAsItIs)
{
    makeStarted();
    makeTyped();
    EXPECT_EQ(2u, stream.types().size());
    EXPECT_EQ(S_OK, stream.ProcessSample(emptySample()));
    ASSERT_EQ(S_OK, stream.Stop());
    makeTyped();
    EXPECT_EQ(MF_E_INVALIDREQUEST, stream.ProcessSample(emptySample()));
    EXPECT_EQ(1, log.count(QtWarningMsg, sinkLog, "Invalid ProcessSample request (state: 3, requests: 1)"));
}

TEST_F(NDISinkStreamTest, EventsThatCannotBeQueuedAreReportedAndOnlyAStartIsKept)
{
    ASSERT_EQ(S_OK, stream.Shutdown());
    EXPECT_EQ(MF_E_SHUTDOWN, stream.Start(0, 0));
    EXPECT_EQ(1, criticals(" [m_eventGenerator->QueueEvent( MEStreamSinkFormatChanged, GUID_NULL, ((HRESULT)0L), 0)] "
                           "(HR=0xC00D3E85)"));
    makeTyped();
    EXPECT_EQ(MF_E_SHUTDOWN, stream.Stop());
    EXPECT_EQ(1, criticals(" [m_eventGenerator->QueueEvent( MEStreamSinkStopped, GUID_NULL, ((HRESULT)0L), 0)] "
                           "(HR=0xC00D3E85)"));
    EXPECT_EQ(notValidState, stream.RequestSample()); // still ready
    EXPECT_EQ(MF_E_SHUTDOWN, stream.Start(0, 0));
    EXPECT_EQ(1, criticals(" [m_eventGenerator->QueueEvent( MEStreamSinkStarted, GUID_NULL, ((HRESULT)0L), 0)] "
                           "(HR=0xC00D3E85)"));
    EXPECT_EQ(MF_E_SHUTDOWN, stream.RequestSample()); // started
    EXPECT_EQ(1, criticals(" [m_eventGenerator->QueueEvent( MEStreamSinkRequestSample, GUID_NULL, ((HRESULT)0L), 0)] "
                           "(HR=0xC00D3E85)"));
    EXPECT_EQ(MF_E_SHUTDOWN, stream.Stop());
    EXPECT_EQ(MF_E_SHUTDOWN, stream.RequestSample()); // started still
}

TEST_F(NDISinkStreamTest, NullArgumentsAreRefusedByName)
{
    EXPECT_EQ(E_INVALIDARG, stream.ProcessSample(nullptr));
    EXPECT_EQ(1, criticals(" [pSample is null]"));
    EXPECT_EQ(E_POINTER, stream.GetMediaSink(nullptr));
    EXPECT_EQ(1, criticals(" [ppMediaSink is null]"));
    EXPECT_EQ(E_INVALIDARG, stream.GetIdentifier(nullptr));
    EXPECT_EQ(1, criticals(" [pdwIdentifier is null]"));
    EXPECT_EQ(3u, log.lines().size());
}

TEST_F(NDISinkStreamTest, CannotBeMadeWithoutASink)
{
    try {
        RecordingStream orphan(0, nullptr);
        FAIL() << "made";
    } catch (const ComException &exception) {
        EXPECT_EQ(E_POINTER, exception.getErrorCode());
        EXPECT_EQ(QStringLiteral("Null pointer"), exception.getMessage());
    }
    EXPECT_EQ(1, criticals(" [m_sink is null]"));
}

TEST_F(NDISinkStreamTest, TellsItsSinkAndItsIdentifier)
{
    CComPtr<IMFMediaSink> owner;
    EXPECT_EQ(S_OK, stream.GetMediaSink(&owner));
    EXPECT_EQ(static_cast<IMFMediaSink *>(sink.p), owner.p);
    DWORD identifier = 0;
    EXPECT_EQ(S_OK, stream.GetIdentifier(&identifier));
    EXPECT_EQ(5u, identifier);
}

TEST_F(NDISinkStreamTest, AnswersForItselfAndIsCountedByItsSink)
{
    for (const IID &iid : {__uuidof(IMFStreamSink), __uuidof(IMFMediaEventGenerator), __uuidof(IUnknown)}) {
        const ULONG before = referencesOf(sink);
        void *face = nullptr;
        ASSERT_EQ(S_OK, stream.QueryInterface(iid, &face));
        EXPECT_EQ(static_cast<IMFStreamSink *>(&stream), face);
        EXPECT_EQ(before + 1, referencesOf(sink));
        static_cast<IMFStreamSink *>(face)->Release();
        EXPECT_EQ(before, referencesOf(sink));
    }
    void *face = &stream;
    EXPECT_EQ(E_NOINTERFACE, stream.QueryInterface(__uuidof(IMFMediaSink), &face));
    EXPECT_EQ(nullptr, face);
}

TEST_F(NDISinkStreamTest, EventsAreThoseOfItsOwnQueueUntilTheShutdown)
{
    EXPECT_EQ(S_OK, stream.QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr));
    const auto event = nextEvent(&stream); // by BeginGetEvent and EndGetEvent
    ASSERT_TRUE(event);
    MediaEventType type = MEUnknown;
    event->GetType(&type);
    EXPECT_EQ(MEExtendedType, type);
    EXPECT_EQ(S_OK, stream.Shutdown());
    CComPtr<IMFMediaEvent> none;
    EXPECT_EQ(MF_E_SHUTDOWN, stream.GetEvent(MF_EVENT_FLAG_NO_WAIT, &none));
    EXPECT_EQ(MF_E_SHUTDOWN, stream.QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr));
    EXPECT_EQ(MF_E_SHUTDOWN, stream.Shutdown());
}

TEST_F(NDISinkStreamTest, AWaitForAnEventHoldsNobodyUp)
{
    makeTyped();
    CComPtr<IMFMediaEvent> event;
    auto heard = std::async(std::launch::async, [&] { return stream.GetEvent(0, &event); });
    EXPECT_EQ(std::future_status::timeout, heard.wait_for(std::chrono::milliseconds(20)));
    auto started = std::async(std::launch::async, [&] { return stream.Start(0, 0); });
    const bool held = started.wait_for(std::chrono::seconds(20)) != std::future_status::ready;
    EXPECT_FALSE(held);
    if (held) // an event of another's making ends the wait, and the test with it
        stream.QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr);
    EXPECT_EQ(S_OK, heard.get());
    EXPECT_EQ(S_OK, started.get());
    MediaEventType type = MEUnknown;
    event->GetType(&type);
    EXPECT_EQ(MEStreamSinkStarted, type);
}

TEST_F(NDISinkStreamTest, SamplesAreDealtWithInTheOrderInWhichTheyCame)
{
    makeStarted();
    std::vector<CComPtr<IMFSample>> sent;
    for (int index = 0; index < 20; ++index) {
        sent.push_back(emptySample());
        ASSERT_EQ(S_OK, stream.ProcessSample(sent.back()));
    }
    drain(sink);
    ASSERT_EQ(sent.size(), stream.samples().size());
    for (size_t index = 0; index < sent.size(); ++index)
        EXPECT_EQ(sent[index].p, stream.samples()[index].p) << index;
    EXPECT_EQ(2u, referencesOf(sent.front())); // the test's two lists and no job any more
}
