// CBaseSource and CBaseSourceStream through a small live source of two streams.

#include "hostfw/ComException.h"
#include "hostfw/Topology.h"
#include "tests/multimedia/SmallSource.h"

#include <gmock/gmock.h>

#include <mferror.h>

using testing::ElementsAre;

TEST_F(BaseSource, StartAnnouncesStreamsBeforeItIsStarted)
{
    ASSERT_EQ(m_source->Start(m_descriptor, nullptr, &m_here), S_OK);
    EXPECT_THAT(eventsUntil(m_source, MESourceStarted), ElementsAre(MENewStream, MENewStream, MESourceStarted));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStarted));
    EXPECT_THAT(eventsThere(&audio()), ElementsAre(MEStreamStarted));
}

TEST_F(BaseSource, OperationsEndInTheOrderTheyWereCalled)
{
    m_source->Start(m_descriptor, nullptr, &m_here);
    m_source->Pause();
    m_source->Start(m_descriptor, nullptr, &m_here);
    m_source->Stop();
    EXPECT_THAT(eventsUntil(m_source, MESourceStopped),
                ElementsAre(MENewStream, MENewStream, MESourceStarted, MESourcePaused, MEUpdatedStream, MEUpdatedStream,
                            MESourceStarted, MESourceStopped));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStarted, MEStreamPaused, MEStreamStarted, MEStreamStopped));
}

TEST_F(BaseSource, StartOfARunningSourceAtATimeSeeks)
{
    start();
    const PROPVARIANT position = at(50);
    m_source->Start(m_descriptor, &GUID_NULL, &position);
    EXPECT_THAT(eventsUntil(m_source, MESourceSeeked), ElementsAre(MEUpdatedStream, MEUpdatedStream, MESourceSeeked));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamSeeked));
}

TEST_F(BaseSource, StartOfAStoppedSourceAtATimeStarts)
{
    const PROPVARIANT position = at(50);
    m_source->Start(m_descriptor, nullptr, &position);
    EXPECT_EQ(eventsUntil(m_source, MESourceStarted).back(), static_cast<MediaEventType>(MESourceStarted));
}

TEST_F(BaseSource, FailedSeekLeavesAPausedSourcePaused)
{
    start();
    m_source->Pause();
    eventsUntil(m_source, MESourcePaused);
    video().seekResult = E_FAIL;
    const PROPVARIANT position = at(50);
    m_source->Start(m_descriptor, nullptr, &position);
    CComPtr<IMFMediaEvent> event;
    do
        event = nextEvent(m_source);
    while (event && typeOf(event) != MESourceSeeked);
    HRESULT status = S_OK;
    event->GetStatus(&status);
    EXPECT_EQ(status, E_FAIL);
    EXPECT_EQ(m_source->Pause(), MF_E_INVALID_STATE_TRANSITION);
}

TEST_F(BaseSource, StartChecksItsArguments)
{
    PROPVARIANT wrong;
    PropVariantInit(&wrong);
    wrong.vt = VT_UI4;
    EXPECT_EQ(m_source->Start(nullptr, nullptr, &m_here), E_INVALIDARG);
    EXPECT_EQ(m_source->Start(m_descriptor, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_source->Start(m_descriptor, &MFMediaType_Video, &m_here), MF_E_UNSUPPORTED_TIME_FORMAT);
    EXPECT_EQ(m_source->Start(m_descriptor, nullptr, &wrong), MF_E_UNSUPPORTED_TIME_FORMAT);
    EXPECT_EQ(m_source->CreatePresentationDescriptor(nullptr), E_POINTER);
    EXPECT_EQ(m_source->GetCharacteristics(nullptr), E_POINTER);
    EXPECT_EQ(m_source->GetSourceAttributes(nullptr), E_POINTER);
    EXPECT_EQ(m_source->GetStreamAttributes(0, nullptr), E_POINTER);
}

TEST_F(BaseSource, PausesOnlyWhatIsStarted)
{
    EXPECT_EQ(m_source->Pause(), MF_E_INVALID_STATE_TRANSITION);
}

TEST_F(BaseSource, KnowsItsStreamsByTheirIdentifiers)
{
    CComPtr<IMFAttributes> attributes;
    EXPECT_EQ(m_source->GetStreamAttributes(1, &attributes), S_OK);
    attributes.Release();
    EXPECT_EQ(m_source->GetStreamAttributes(2, &attributes), MF_E_INVALIDSTREAMNUMBER);
}

TEST_F(BaseSource, TellsItsCharacteristics)
{
    DWORD characteristics = 0;
    EXPECT_EQ(m_source->GetCharacteristics(&characteristics), S_OK);
    EXPECT_EQ(characteristics, static_cast<DWORD>(MFMEDIASOURCE_IS_LIVE));
}

TEST_F(BaseSource, IsInitializedOnce)
{
    EXPECT_EQ(m_source->addNothing(), E_INVALIDARG);
    EXPECT_EQ(m_source->addStreams(), MF_E_ALREADY_INITIALIZED);
}

TEST_F(BaseSource, StartsOnlyTheSelectedStreams)
{
    m_descriptor->DeselectStream(1);
    m_source->Start(m_descriptor, nullptr, &m_here);
    EXPECT_THAT(eventsUntil(m_source, MESourceStarted), ElementsAre(MENewStream, MESourceStarted));
    EXPECT_TRUE(video().IsSelected());
    EXPECT_FALSE(audio().IsSelected());
    EXPECT_EQ(audio().RequestSample(nullptr), MF_E_INVALIDREQUEST);
}

TEST_F(BaseSource, StopsAStreamThatIsDeselected)
{
    start();
    m_descriptor->DeselectStream(1);
    m_source->Start(m_descriptor, nullptr, &m_here);
    EXPECT_THAT(eventsUntil(m_source, MESourceStarted), ElementsAre(MEUpdatedStream, MESourceStarted));
    EXPECT_THAT(eventsThere(&audio()), ElementsAre(MEStreamStopped));
    EXPECT_EQ(audio().selections, 1);
    EXPECT_EQ(audio().deselections, 1);
}

TEST_F(BaseSource, AdoptsTheTypeThatTheConsumerSet)
{
    BOOL selected = FALSE;
    CComPtr<IMFStreamDescriptor> streamDescriptor;
    CComPtr<IMFMediaTypeHandler> handler;
    m_descriptor->GetStreamDescriptorByIndex(0, &selected, &streamDescriptor);
    streamDescriptor->GetMediaTypeHandler(&handler);
    ASSERT_EQ(handler->SetCurrentMediaType(video().otherType()), S_OK);
    start();
    EXPECT_THAT(video().chosen, ElementsAre(video().otherType()));
    EXPECT_TRUE(audio().chosen.empty());
}

TEST_F(BaseSource, SetMediaTypeSetsTheDescriptorsType)
{
    ASSERT_EQ(video().SetMediaType(video().otherType()), S_OK);
    CComPtr<IMFStreamDescriptor> streamDescriptor;
    CComPtr<IMFMediaTypeHandler> handler;
    CComPtr<IMFMediaType> current;
    video().GetStreamDescriptor(&streamDescriptor);
    streamDescriptor->GetMediaTypeHandler(&handler);
    handler->GetCurrentMediaType(&current);
    EXPECT_EQ(current.p, video().otherType());
}

TEST_F(BaseSource, TellsOfAMediaTypeChangeBeforeItsSample)
{
    start();
    video().RequestSample(nullptr);
    video().manager().PushMediaTypeChange(video().otherType());
    video().manager().PushSample(makeSampleAt(1));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamFormatChanged, MEMediaSample));
}

TEST_F(BaseSource, SamplesCarryTheTokenOfTheirRequest)
{
    start();
    const CComPtr<IMFMediaType> token = makeMediaType();
    const CComPtr<IMFSample> sample = makeSampleAt(1);
    ASSERT_EQ(video().RequestSample(token), S_OK);
    video().manager().PushSample(sample);
    CComPtr<IUnknown> carried;
    sample->GetUnknown(MFSampleExtension_Token, __uuidof(IUnknown), reinterpret_cast<void **>(&carried));
    EXPECT_TRUE(carried.IsEqualObject(token));
}

TEST_F(BaseSource, GapsAreTicks)
{
    start();
    video().manager().PushGap(77);
    const CComPtr<IMFMediaEvent> event = nextEvent(&video());
    PROPVARIANT value;
    PropVariantInit(&value);
    event->GetValue(&value);
    EXPECT_EQ(typeOf(event), static_cast<MediaEventType>(MEStreamTick));
    EXPECT_EQ(value.hVal.QuadPart, 77);
}

TEST_F(BaseSource, PresentationEndsWithTheLastStream)
{
    start();
    video().manager().PushEndOfData();
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEEndOfStream));
    EXPECT_TRUE(eventsThere(m_source).empty());
    EXPECT_EQ(video().RequestSample(nullptr), MF_E_END_OF_STREAM);
    audio().manager().PushEndOfData();
    EXPECT_THAT(eventsThere(m_source), ElementsAre(MEEndOfPresentation));
}

TEST_F(BaseSource, RefusesRequestsOfAStoppedStream)
{
    start();
    m_source->Stop();
    eventsUntil(m_source, MESourceStopped);
    EXPECT_EQ(video().RequestSample(nullptr), MF_E_MEDIA_SOURCE_WRONGSTATE);
}

TEST_F(BaseSource, StoppingForgetsRequests)
{
    start();
    video().RequestSample(nullptr);
    m_source->Stop();
    eventsUntil(m_source, MESourceStopped);
    m_source->Start(m_descriptor, nullptr, &m_here);
    eventsUntil(m_source, MESourceStarted);
    video().manager().PushSample(makeSampleAt(1));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStopped, MEStreamStarted));
}

TEST_F(BaseSource, DisabledSourceDoesNotStart)
{
    m_source->Disable();
    EXPECT_EQ(m_source->Start(m_descriptor, nullptr, &m_here), MF_E_INVALIDREQUEST);
}

TEST_F(BaseSource, ShutdownStopsARunningSourceFirst)
{
    start();
    ASSERT_EQ(m_source->Shutdown(), S_OK);
    EXPECT_TRUE(video().IsStopped());
    EXPECT_TRUE(audio().IsStopped());
    MFSHUTDOWN_STATUS status = MFSHUTDOWN_INITIATED;
    EXPECT_EQ(video().GetShutdownStatus(&status), S_OK);
    EXPECT_EQ(status, MFSHUTDOWN_COMPLETED);
}

TEST_F(BaseSource, RefusesEverythingAfterShutdown)
{
    m_source->Shutdown();
    DWORD characteristics = 0;
    CComPtr<IMFPresentationDescriptor> descriptor;
    CComPtr<IMFStreamDescriptor> streamDescriptor;
    CComPtr<IMFMediaEvent> event;
    CComPtr<IMFMediaSource> source;
    CComPtr<IMFAttributes> attributes;
    EXPECT_EQ(m_source->Start(m_descriptor, nullptr, &m_here), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source->Stop(), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source->Pause(), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source->Shutdown(), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source->GetCharacteristics(&characteristics), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source->CreatePresentationDescriptor(&descriptor), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source->GetSourceAttributes(&attributes), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source->GetStreamAttributes(0, &attributes), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source->SetD3DManager(nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source->GetEvent(0, &event), MF_E_SHUTDOWN);
    EXPECT_EQ(video().RequestSample(nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(video().GetMediaSource(&source), MF_E_SHUTDOWN);
    EXPECT_EQ(video().GetStreamDescriptor(&streamDescriptor), MF_E_SHUTDOWN);
    EXPECT_EQ(video().GetEvent(0, &event), MF_E_SHUTDOWN);
}

TEST_F(BaseSource, ReferencesOnAStreamKeepItsSource)
{
    const std::weak_ptr<int> watched = m_source->watched;
    CComPtr<IMFMediaStream> stream(static_cast<IMFMediaStream *>(&video()));
    m_source->Shutdown();
    m_source.Release();
    EXPECT_FALSE(watched.expired());
    stream.Release();
    EXPECT_TRUE(watched.expired());
}

TEST_F(BaseSource, IsFreedWithoutAShutdown)
{
    const std::weak_ptr<int> watched = m_source->watched;
    m_source.Release();
    EXPECT_TRUE(watched.expired());
}

TEST_F(BaseSource, StreamsTellTheirFormatsInOrder)
{
    const std::list<GUID> formats = video().formats();
    ASSERT_EQ(formats.size(), 2U);
    EXPECT_TRUE(IsEqualGUID(formats.front(), MFVideoFormat_UYVY));
    EXPECT_TRUE(IsEqualGUID(formats.back(), MFVideoFormat_NV12));
}

TEST_F(BaseSource, StreamsRunAtTheirOwnPace)
{
    EXPECT_EQ(video().SetRate(1.0F), S_OK);
    EXPECT_EQ(video().SetRate(2.0F), MF_E_UNSUPPORTED_RATE);
    EXPECT_EQ(video().SetThinMode(false), S_OK);
    EXPECT_EQ(video().SetThinMode(true), MF_E_THINNING_UNSUPPORTED);
    EXPECT_EQ(video().GetDuration(), 0);
}

TEST_F(BaseSource, TakesNothingButADeviceManager)
{
    EXPECT_EQ(m_source->SetD3DManager(makeMediaType()), E_NOINTERFACE);
    EXPECT_EQ(m_source->SetD3DManager(nullptr), S_OK);
}

TEST_F(BaseSource, CleanDescriptorHasEveryStreamDeselected)
{
    const CComPtr<IMFPresentationDescriptor> clean = getCleanPresentationDescriptor(m_source);
    for (DWORD index = 0; index < 2; ++index) {
        BOOL selected = TRUE;
        CComPtr<IMFStreamDescriptor> streamDescriptor;
        ASSERT_EQ(clean->GetStreamDescriptorByIndex(index, &selected, &streamDescriptor), S_OK);
        EXPECT_FALSE(selected);
    }
}

TEST_F(BaseSource, HasATopologyNodeForEachKindOfStream)
{
    DWORD index = 99;
    const CComPtr<IMFTopologyNode> node = createMediaSourceNode(m_source, m_descriptor, MFMediaType_Audio, &index);
    ASSERT_NE(node.p, nullptr);
    EXPECT_EQ(index, 1U);
    MF_TOPOLOGY_TYPE type = MF_TOPOLOGY_MAX;
    node->GetNodeType(&type);
    EXPECT_EQ(type, MF_TOPOLOGY_SOURCESTREAM_NODE);
    CComPtr<IMFMediaSource> source;
    CComPtr<IMFStreamDescriptor> streamDescriptor;
    DWORD identifier = 99;
    EXPECT_EQ(node->GetUnknown(MF_TOPONODE_SOURCE, __uuidof(IMFMediaSource), reinterpret_cast<void **>(&source)), S_OK);
    ASSERT_EQ(node->GetUnknown(MF_TOPONODE_STREAM_DESCRIPTOR, __uuidof(IMFStreamDescriptor),
                               reinterpret_cast<void **>(&streamDescriptor)),
              S_OK);
    streamDescriptor->GetStreamIdentifier(&identifier);
    EXPECT_TRUE(source.IsEqualObject(static_cast<IMFMediaSource *>(m_source.p)));
    EXPECT_EQ(identifier, 1U);
}

TEST_F(BaseSource, HasNoTopologyNodeForAKindItLacks)
{
    DWORD index = 99;
    EXPECT_EQ(createMediaSourceNode(m_source, m_descriptor, MFMediaType_Binary, &index).p, nullptr);
    EXPECT_EQ(index, 99U);
}

TEST_F(BaseSource, ThrowsWhenThereIsNoDescriptorAfterShutdown)
{
    m_source->Shutdown();
    EXPECT_THROW(getCleanPresentationDescriptor(m_source), ComException);
}
