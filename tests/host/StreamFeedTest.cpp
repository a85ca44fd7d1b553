#include "host/pipeline/StreamFeed.h"

#include "host/pipeline/SinkPort.h"
#include "tests/host/CountingStreams.h"
#include "tests/host/EventLoop.h"
#include "tests/host/FakeNodes.h"

#include <mfapi.h>

#include <gtest/gtest.h>

namespace
{

constexpr LONGLONG Hour = 36000000000;
constexpr LONGLONG Instant = 10000; // a millisecond

// One feed between a stream and a sink that counts.
class StreamFeedTest : public testing::Test
{
protected:
    void TearDown() override
    {
        m_feed->close();
        m_port->close();
    }

    void connect(bool live)
    {
        m_feed = std::make_shared<host::StreamFeed>(
            pictureType(64, 32), live,
            host::StreamFeed::Callbacks{[this](HRESULT) { ++m_failures; }, [](IMFMediaType *) {}, [](HRESULT) {}});
        ASSERT_EQ(m_port->open(), S_OK);
        ASSERT_EQ(m_feed->open(m_stream), S_OK);
        ASSERT_EQ(m_feed->attach(m_port), S_OK);
    }
    void startSink()
    {
        m_sink->tell(MEStreamSinkStarted);
        ask();
    }
    // The sink asks for a sample more.
    void ask()
    {
        const unsigned before = m_port->wanted();
        m_sink->tell(MEStreamSinkRequestSample);
        ASSERT_TRUE(waitUntil([&] { return m_port->isStarted() && m_port->wanted() == before + 1; }));
    }
    // The feed has heard of all that the stream has told.
    void settle()
    {
        const int before = m_failures;
        m_stream->tell(MEError);
        ASSERT_TRUE(waitUntil([&] { return m_failures > before; }));
    }
    void startStream()
    {
        m_stream->tell(MEStreamStarted);
        settle();
    }
    void sendSample(LONGLONG duration)
    {
        CComPtr<IMFSample> sample;
        ASSERT_EQ(MFCreateSample(&sample), S_OK);
        if (duration > 0)
            sample->SetSampleDuration(duration);
        PROPVARIANT value;
        PropVariantInit(&value);
        value.vt = VT_UNKNOWN;
        value.punkVal = sample;
        m_stream->QueueEvent(MEMediaSample, GUID_NULL, S_OK, &value);
        settle();
    }

    const CComPtr<CountingStream> m_stream = host::createObject<CountingStream>();
    const CComPtr<CountingSink> m_sink = host::createObject<CountingSink>();
    const std::shared_ptr<host::SinkPort> m_port =
        std::make_shared<host::SinkPort>(m_sink.p, host::SinkPort::Callbacks{[](HRESULT) {}, [] {}});
    std::atomic<int> m_failures{0};
    std::shared_ptr<host::StreamFeed> m_feed;
};

} // namespace

TEST_F(StreamFeedTest, LeavesAStreamAloneUntilItsSinkWantsASample)
{
    connect(false);
    startStream();
    EXPECT_EQ(m_stream->requests, 0);
    startSink();
    EXPECT_TRUE(waitUntil([this] { return m_stream->requests == 1; }));
}

TEST_F(StreamFeedTest, DrainsALiveStreamWhoseSinkDoesNotRunYet)
{
    connect(true);
    startStream();
    EXPECT_EQ(m_stream->requests, 1);
    sendSample(0);
    EXPECT_EQ(m_stream->requests, 2);
    EXPECT_EQ(m_sink->samples, 0);
    startSink();
    sendSample(0);
    EXPECT_EQ(m_sink->samples, 1);
    EXPECT_EQ(m_stream->requests, 2); // one sample was wanted
}

TEST_F(StreamFeedTest, LeavesOutWhatALiveStreamHadWaitingWhenItWasStarted)
{
    connect(true);
    startSink();
    startStream();
    for (int sample = 1; sample <= 3; ++sample) {
        sendSample(Hour);
        EXPECT_EQ(m_stream->requests, sample + 1);
    }
    EXPECT_EQ(m_sink->samples, 0);
    EXPECT_EQ(m_port->wanted(), 1U);
    sendSample(0);
    EXPECT_EQ(m_sink->samples, 1);
}

TEST_F(StreamFeedTest, HandsTheLastOfABacklogOverWhenNothingFollows)
{
    connect(true);
    startSink();
    startStream();
    sendSample(Hour);
    sendSample(Instant);
    EXPECT_TRUE(waitUntil([this] { return m_sink->samples == 1; }));
    EXPECT_EQ(m_port->wanted(), 0U);
}

TEST_F(StreamFeedTest, HandsTheLastOfABacklogOverBeforeTheStreamsEnd)
{
    connect(true);
    startSink();
    startStream();
    sendSample(Hour);
    m_stream->tell(MEEndOfStream);
    settle();
    EXPECT_EQ(m_sink->samples, 1);
}

TEST_F(StreamFeedTest, LooksForABacklogAgainWhenTheStreamIsStartedAnew)
{
    connect(true);
    startSink();
    startStream();
    sendSample(0);
    ASSERT_EQ(m_sink->samples, 1);
    ask();
    startStream();
    sendSample(Hour);
    EXPECT_EQ(m_sink->samples, 1);
}

TEST_F(StreamFeedTest, GivesTheSinkEverySampleOfAStreamThatIsNotLive)
{
    connect(false);
    startSink();
    startStream();
    sendSample(Hour);
    EXPECT_EQ(m_sink->samples, 1);
}
