// The source and the sink together under the system's own media session: what comes in goes out.

#include "sink/SinkCreation.h"
#include "tests/source/windows/SessionTest.h"

#include <future>

namespace
{

class SinkSessionTest : public SessionTest
{
protected:
    void TearDown() override
    {
        m_made = {};
        SessionTest::TearDown();
    }

    void play(bool video, bool audio)
    {
        m_source = makeSource(parameters(video, audio));
        m_made = createSinkJob({QStringLiteral("Programme"), video, audio});
        ASSERT_EQ(S_OK, m_made.hr);
        CComPtr<IMFTopology> topology;
        ASSERT_EQ(S_OK, MFCreateTopology(&topology));
        const auto descriptor = getCleanPresentationDescriptor(m_source.p);
        if (video)
            addBranch(topology, descriptor, MFMediaType_Video, m_made.videoNode);
        if (audio)
            addBranch(topology, descriptor, MFMediaType_Audio, m_made.audioNode);
        ASSERT_NO_FATAL_FAILURE(setTopology(topology));
        ASSERT_NO_FATAL_FAILURE(start());
    }

    void addBranch(IMFTopology *topology, IMFPresentationDescriptor *descriptor, const GUID &majorType,
                   IMFTopologyNode *to)
    {
        CComPtr<IMFTopologyNode> from;
        CComPtr<IMFMediaType> type;
        ASSERT_NO_FATAL_FAILURE(addSourceNode(topology, descriptor, majorType, from, type));
        ASSERT_EQ(S_OK, topology->AddNode(to));
        ASSERT_EQ(S_OK, from->ConnectOutput(0, to, 0));
        ASSERT_NO_FATAL_FAILURE(adopt(to, type));
    }

    // Not every session's loader sets the type of a sink, and a stream sink without one does not start.
    void adopt(IMFTopologyNode *node, IMFMediaType *type)
    {
        CComPtr<IUnknown> object;
        CComPtr<IMFStreamSink> stream;
        CComPtr<IMFMediaTypeHandler> handler;
        ASSERT_EQ(S_OK, node->GetObject(&object));
        ASSERT_EQ(S_OK, object.QueryInterface(&stream));
        ASSERT_EQ(S_OK, stream->GetMediaTypeHandler(&handler));
        ASSERT_EQ(S_OK, handler->SetCurrentMediaType(type));
        std::promise<void> adopted;
        ASSERT_EQ(S_OK, m_made.sink->push([&adopted] {
            adopted.set_value();
            return S_OK;
        }));
        adopted.get_future().wait();
    }

    bool sent(size_t pictures, size_t sounds)
    {
        return ndi.waitFor(
            [&](const auto &calls) { return calls.sentVideo.size() >= pictures && calls.sentAudio.size() >= sounds; });
    }

    NDISink::AsyncCreationResult m_made;
};

} // namespace

TEST_F(SinkSessionTest, PlaysTheSourceIntoTheSink)
{
    const auto picture = noise(size_t{1280} * 2 * 720);
    const auto sound = tone(2, 1920);
    ASSERT_NO_FATAL_FAILURE(play(true, true));
    for (int frame = 0; frame < 3; ++frame) {
        ndi.pushVideo(videoFrame(1280, 720, oneSecond + frame * oneSecond / 25), picture);
        ndi.pushAudio(audioFrame(48000, 2, 1920, oneSecond + frame * oneSecond / 25), sound);
    }
    ASSERT_TRUE(sent(3, 3));
    const auto calls = ndi.calls();
    EXPECT_EQ(picture, calls.sentVideo[0].picture);
    EXPECT_EQ(picture, calls.sentVideo[2].picture);
    EXPECT_EQ(oneSecond / 25, calls.sentVideo[2].frame.timecode - calls.sentVideo[1].frame.timecode);
    for (size_t channel = 0; channel < 2; ++channel) {
        const auto first = sound.begin() + static_cast<ptrdiff_t>(channel * 1920);
        EXPECT_EQ(std::vector<float>(first, first + 1920), calls.sentAudio[2].channels[channel]) << channel;
    }
}

TEST_F(SinkSessionTest, StopsAndStartsAgainWithTheSameSender)
{
    ASSERT_NO_FATAL_FAILURE(play(false, true));
    ndi.pushAudio(audioFrame(48000, 2, 1920, oneSecond), tone(2, 1920));
    ASSERT_TRUE(sent(0, 1));
    ASSERT_NO_FATAL_FAILURE(stop());
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversMade == 2; }));
    ndi.pushAudio(audioFrame(48000, 2, 1920, oneSecond), tone(2, 1920));
    ASSERT_TRUE(sent(0, 2));
    EXPECT_EQ(1, ndi.calls().sendersMade);
    EXPECT_EQ(0, ndi.calls().sendersDestroyed);
}

TEST_F(SinkSessionTest, ClosingLeavesNoSender)
{
    ASSERT_NO_FATAL_FAILURE(play(true, true));
    close();
    m_made = {};
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersMade == 1 && calls.sendersDestroyed == 1; }));
}

// The sink asks for the next sample when it has queued one, so a session alone bounds nothing: what comes while a send
// takes long is late by all of that, and behind a clocked sender it stays so. A host needs a pace of its own.
TEST_F(SinkSessionTest, QueuesAllThatComesWhileASendTakesLong)
{
    constexpr int pictures = 50; // two seconds
    const auto picture = noise(size_t{1280} * 2 * 720);
    ASSERT_NO_FATAL_FAILURE(play(true, false));
    ndi.keepSent(false);
    ndi.holdSends(true);
    for (int frame = 0; frame < pictures; ++frame)
        ndi.pushVideo(videoFrame(1280, 720, oneSecond + frame * oneSecond / 25), picture);
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.capturedFrames == pictures; }));
    EXPECT_EQ(1, ndi.calls().sendsEntered);
    ndi.holdSends(false);
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.videoSends == pictures; }));
}
