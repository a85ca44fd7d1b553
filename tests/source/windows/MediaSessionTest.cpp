// The source under the system's own media session.

#include "hostfw/CUnknown.h"
#include "tests/source/windows/SessionTest.h"

#include <condition_variable>
#include <mutex>

namespace
{

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

class MediaSessionTest : public SessionTest
{
protected:
    // One branch from the source's stream of that kind to the grabber.
    void addBranch(IMFTopology *topology, IMFPresentationDescriptor *descriptor, const GUID &majorType,
                   Grabber *grabber)
    {
        CComPtr<IMFTopologyNode> from;
        CComPtr<IMFMediaType> type;
        ASSERT_NO_FATAL_FAILURE(addSourceNode(topology, descriptor, majorType, from, type));
        CComPtr<IMFActivate> activate;
        ASSERT_EQ(S_OK, MFCreateSampleGrabberSinkActivate(type, grabber, &activate));
        activate->SetUINT32(MF_SAMPLEGRABBERSINK_IGNORE_CLOCK, TRUE);
        CComPtr<IMFTopologyNode> to;
        ASSERT_EQ(S_OK, MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &to));
        ASSERT_EQ(S_OK, to->SetObject(activate));
        to->SetUINT32(MF_TOPONODE_STREAMID, 0);
        ASSERT_EQ(S_OK, topology->AddNode(to));
        ASSERT_EQ(S_OK, from->ConnectOutput(0, to, 0));
    }

    void play(const SourceParameters &params, Grabber *video, Grabber *audio)
    {
        m_source = makeSource(params);
        CComPtr<IMFTopology> topology;
        ASSERT_EQ(S_OK, MFCreateTopology(&topology));
        const auto descriptor = getCleanPresentationDescriptor(m_source.p);
        if (video)
            addBranch(topology, descriptor, MFMediaType_Video, video);
        if (audio)
            addBranch(topology, descriptor, MFMediaType_Audio, audio);
        ASSERT_NO_FATAL_FAILURE(setTopology(topology));
        ASSERT_NO_FATAL_FAILURE(start());
    }
};

} // namespace

TEST_F(MediaSessionTest, PlaysPictureAndSoundOfTheSource)
{
    const CComPtr<Grabber> video(new Grabber);
    const CComPtr<Grabber> audio(new Grabber);
    const auto picture = noise(size_t{1920} * 2 * 1080);
    ASSERT_NO_FATAL_FAILURE(play(parameters(), video, audio));
    for (int frame = 0; frame < 3; ++frame) {
        ndi.pushVideo(videoFrame(1920, 1080, oneSecond + frame * oneSecond / 25), picture);
        ndi.pushAudio(audioFrame(48000, 2, 1920, oneSecond + frame * oneSecond / 25), tone(2, 1920));
    }
    const auto pictures = video->wait(3);
    ASSERT_EQ(3u, pictures.size());
    EXPECT_EQ(picture, pictures[0].bytes);
    EXPECT_EQ(picture, pictures[2].bytes);
    EXPECT_EQ(oneSecond / 25, pictures[1].time - pictures[0].time);
    const auto sounds = audio->wait(3);
    ASSERT_EQ(3u, sounds.size());
    EXPECT_EQ(size_t{1920} * 2 * sizeof(float), sounds[0].bytes.size());
}

TEST_F(MediaSessionTest, StopsAndStartsAgainWithANewReceiver)
{
    const CComPtr<Grabber> audio(new Grabber);
    ASSERT_NO_FATAL_FAILURE(play(parameters(false, true), nullptr, audio));
    ndi.pushAudio(audioFrame(48000, 2, 1920, oneSecond), tone(2, 1920));
    ASSERT_EQ(1u, audio->wait(1).size());
    ASSERT_NO_FATAL_FAILURE(stop());
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversMade == 2; }));
    ndi.pushAudio(audioFrame(48000, 2, 1920, oneSecond), tone(2, 1920));
    EXPECT_EQ(2u, audio->wait(2).size());
}

TEST_F(MediaSessionTest, TellsItsChangesInTheirOrder)
{
    const CComPtr<Grabber> audio(new Grabber);
    ASSERT_NO_FATAL_FAILURE(play(parameters(false, true), nullptr, audio));
    ASSERT_NO_FATAL_FAILURE(pause());
    ASSERT_NO_FATAL_FAILURE(carryOn());
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
    ndi.pushAudio(audioFrame(48000, 2, 1920, oneSecond), tone(2, 1920));
    ASSERT_EQ(1u, audio->wait(1).size());
    ASSERT_NO_FATAL_FAILURE(pause());
    ASSERT_NO_FATAL_FAILURE(carryOn());
    ndi.pushAudio(audioFrame(48000, 2, 1920, 2 * oneSecond), tone(2, 1920));
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
