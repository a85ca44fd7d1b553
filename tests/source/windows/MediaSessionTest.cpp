// The source under the system's own media session.

#include "hostfw/CUnknown.h"
#include "hostfw/Topology.h"
#include "tests/source/EventReader.h"
#include "tests/source/SourceHarness.h"

#include <condition_variable>
#include <mutex>

namespace
{

constexpr LONGLONG second = 10'000'000;

// Takes the samples of one stream out of the session.
class Grabber : public IMFSampleGrabberSinkCallback, public CUnknown
{
public:
    Grabber() : CUnknown(L"Grabber", nullptr) {}

    struct Grabbed {
        LONGLONG time;
        std::vector<BYTE> bytes;
    };

    // The samples so far, once there are `count`; fewer when a deadline passed.
    std::vector<Grabbed> wait(size_t count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_arrived.wait_for(lock, std::chrono::seconds(20), [&] { return m_samples.size() >= count; });
        return m_samples;
    }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (IsEqualIID(iid, __uuidof(IMFSampleGrabberSinkCallback)) || IsEqualIID(iid, __uuidof(IMFClockStateSink)))
            return GetInterface(static_cast<IMFSampleGrabberSinkCallback *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }
    HRESULT STDMETHODCALLTYPE OnClockStart(MFTIME, LONGLONG) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnClockStop(MFTIME) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnClockPause(MFTIME) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnClockRestart(MFTIME) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnClockSetRate(MFTIME, float) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnSetPresentationClock(IMFPresentationClock *) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnShutdown() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnProcessSample(REFGUID, DWORD, LONGLONG time, LONGLONG, const BYTE *bytes,
                                              DWORD size) override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_samples.push_back({time, {bytes, bytes + size}});
        m_arrived.notify_all();
        return S_OK;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Grabbed> m_samples; // guarded by m_mutex
};

class MediaSessionTest : public SourceTest
{
protected:
    void SetUp() override
    {
        SourceTest::SetUp();
        ASSERT_EQ(S_OK, MFCreateMediaSession(nullptr, &m_session));
    }
    void TearDown() override
    {
        if (m_session)
            close();
        SourceTest::TearDown();
    }

    // As an application is told to: the session holds the source until the source is shut down.
    void close()
    {
        EXPECT_EQ(S_OK, m_session->Close());
        EXPECT_EQ(S_OK, statusOf(MESessionClosed));
        if (m_source) {
            EXPECT_EQ(S_OK, m_source->Shutdown());
        }
        EXPECT_EQ(S_OK, m_session->Shutdown());
        m_source.Release();
        m_session.Release();
    }

    // The status of the session's next event of that kind. Those of a change of state are written down.
    HRESULT statusOf(MediaEventType wanted)
    {
        while (const auto event = nextEvent(m_session)) {
            MediaEventType type = MEUnknown;
            HRESULT status = E_PENDING;
            event->GetType(&type);
            event->GetStatus(&status);
            if (isChangeOfState(type))
                m_changes.push_back(type);
            if (type == wanted)
                return status;
        }
        ADD_FAILURE() << "no event of type " << wanted;
        return E_PENDING;
    }
    static bool isChangeOfState(MediaEventType type)
    {
        return type == MESessionTopologySet || type == MESessionStarted || type == MESessionPaused ||
               type == MESessionStopped || type == MESessionClosed;
    }

    // One branch from the source's stream of that kind to the grabber.
    void addBranch(IMFTopology *topology, IMFMediaSource *source, IMFPresentationDescriptor *descriptor,
                   const GUID &majorType, Grabber *grabber)
    {
        DWORD index = 0;
        const auto from = createMediaSourceNode(source, descriptor, majorType, &index);
        ASSERT_TRUE(from);
        ASSERT_EQ(S_OK, descriptor->SelectStream(index));
        CComPtr<IMFStreamDescriptor> stream;
        CComPtr<IMFMediaTypeHandler> handler;
        CComPtr<IMFMediaType> type;
        BOOL selected = FALSE;
        ASSERT_EQ(S_OK, descriptor->GetStreamDescriptorByIndex(index, &selected, &stream));
        ASSERT_EQ(S_OK, stream->GetMediaTypeHandler(&handler));
        ASSERT_EQ(S_OK, handler->GetCurrentMediaType(&type));
        CComPtr<IMFActivate> activate;
        ASSERT_EQ(S_OK, MFCreateSampleGrabberSinkActivate(type, grabber, &activate));
        activate->SetUINT32(MF_SAMPLEGRABBERSINK_IGNORE_CLOCK, TRUE);
        CComPtr<IMFTopologyNode> to;
        ASSERT_EQ(S_OK, MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &to));
        ASSERT_EQ(S_OK, to->SetObject(activate));
        to->SetUINT32(MF_TOPONODE_STREAMID, 0);
        ASSERT_EQ(S_OK, topology->AddNode(from));
        ASSERT_EQ(S_OK, topology->AddNode(to));
        ASSERT_EQ(S_OK, from->ConnectOutput(0, to, 0));
    }

    void play(const SourceParameters &params, Grabber *video, Grabber *audio)
    {
        m_source = makeSource(params);
        NDISourceMF *const source = m_source;
        CComPtr<IMFTopology> topology;
        ASSERT_EQ(S_OK, MFCreateTopology(&topology));
        const auto descriptor = getCleanPresentationDescriptor(source);
        if (video)
            addBranch(topology, source, descriptor, MFMediaType_Video, video);
        if (audio)
            addBranch(topology, source, descriptor, MFMediaType_Audio, audio);
        ASSERT_EQ(S_OK, m_session->SetTopology(0, topology));
        ASSERT_EQ(S_OK, statusOf(MESessionTopologySet));
        start();
    }

    void start()
    {
        PROPVARIANT position;
        PropVariantInit(&position);
        ASSERT_EQ(S_OK, m_session->Start(&GUID_NULL, &position));
        ASSERT_EQ(S_OK, statusOf(MESessionStarted));
    }

    void stop()
    {
        ASSERT_EQ(S_OK, m_session->Stop());
        ASSERT_EQ(S_OK, statusOf(MESessionStopped));
    }

    void pause()
    {
        ASSERT_EQ(S_OK, m_session->Pause());
        ASSERT_EQ(S_OK, statusOf(MESessionPaused));
    }

    CComPtr<IMFMediaSession> m_session;
    CComPtr<NDISourceMF> m_source;
    std::vector<MediaEventType> m_changes;
};

} // namespace

TEST_F(MediaSessionTest, PlaysPictureAndSoundOfTheSource)
{
    const CComPtr<Grabber> video(new Grabber);
    const CComPtr<Grabber> audio(new Grabber);
    // In the format that the streams begin with, so that no type changes on the way.
    const NDIlib_video_frame_v2_t format;
    const auto picture = noise(size_t{1920} * 2 * 1080);
    ASSERT_NO_FATAL_FAILURE(play(parameters(), video, audio));
    for (int frame = 0; frame < 3; ++frame) {
        ndi.pushVideo(videoFrame(1920, 1080, second + frame * second / 25), picture);
        ndi.pushAudio(audioFrame(48000, 2, 1920, second + frame * second / 25), tone(2, 1920));
    }
    const auto pictures = video->wait(3);
    ASSERT_EQ(3u, pictures.size());
    EXPECT_EQ(picture, pictures[0].bytes);
    EXPECT_EQ(picture, pictures[2].bytes);
    EXPECT_EQ(second / 25, pictures[1].time - pictures[0].time);
    const auto sounds = audio->wait(3);
    ASSERT_EQ(3u, sounds.size());
    EXPECT_EQ(size_t{1920} * 2 * sizeof(float), sounds[0].bytes.size());
}

TEST_F(MediaSessionTest, StopsAndStartsAgainWithANewReceiver)
{
    const CComPtr<Grabber> audio(new Grabber);
    ASSERT_NO_FATAL_FAILURE(play(parameters(false, true), nullptr, audio));
    ndi.pushAudio(audioFrame(48000, 2, 1920, second), tone(2, 1920));
    ASSERT_EQ(1u, audio->wait(1).size());
    ASSERT_NO_FATAL_FAILURE(stop());
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversMade == 2; }));
    ndi.pushAudio(audioFrame(48000, 2, 1920, second), tone(2, 1920));
    EXPECT_EQ(2u, audio->wait(2).size());
}

TEST_F(MediaSessionTest, TellsItsChangesInTheirOrder)
{
    const CComPtr<Grabber> audio(new Grabber);
    ASSERT_NO_FATAL_FAILURE(play(parameters(false, true), nullptr, audio));
    ASSERT_NO_FATAL_FAILURE(pause());
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(stop());
    ASSERT_NO_FATAL_FAILURE(start());
    close();
    const std::vector<MediaEventType> expected = {MESessionTopologySet, MESessionStarted, MESessionPaused,
                                                  MESessionStarted,     MESessionStopped, MESessionStarted,
                                                  MESessionClosed};
    EXPECT_EQ(expected, m_changes);
}

TEST_F(MediaSessionTest, CarriesOnBehindAPauseWithTheSameReceiver)
{
    const CComPtr<Grabber> audio(new Grabber);
    ASSERT_NO_FATAL_FAILURE(play(parameters(false, true), nullptr, audio));
    ndi.pushAudio(audioFrame(48000, 2, 1920, second), tone(2, 1920));
    ASSERT_EQ(1u, audio->wait(1).size());
    ASSERT_NO_FATAL_FAILURE(pause());
    ASSERT_NO_FATAL_FAILURE(start());
    ndi.pushAudio(audioFrame(48000, 2, 1920, 2 * second), tone(2, 1920));
    EXPECT_EQ(2u, audio->wait(2).size());
    EXPECT_EQ(1, ndi.calls().receiversMade);
}

TEST_F(MediaSessionTest, ClosingWithoutAStopEndsTheReceiver)
{
    const CComPtr<Grabber> audio(new Grabber);
    ASSERT_NO_FATAL_FAILURE(play(parameters(false, true), nullptr, audio));
    close();
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversMade == calls.receiversDestroyed; }));
}
