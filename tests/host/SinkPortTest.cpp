#include "host/pipeline/SinkPort.h"

#include "host/pipeline/StreamFeed.h"
#include "tests/host/CountingStreams.h"
#include "tests/host/EventLoop.h"
#include "tests/host/FakeNodes.h"

#include <mfapi.h>

#include <gtest/gtest.h>

#include <atomic>

namespace
{

class SinkPortTest : public testing::Test
{
protected:
    std::shared_ptr<host::StreamFeed> makeFeed()
    {
        return std::make_shared<host::StreamFeed>(
            pictureType(64, 32), false,
            host::StreamFeed::Callbacks{[this](HRESULT) { ++m_failures; }, [](IMFMediaType *) {}, [](HRESULT) {}});
    }

    void SetUp() override
    {
        ASSERT_EQ(MFCreateSample(&m_sample), S_OK);
        ASSERT_EQ(m_port->open(), S_OK);
        m_sink->tell(MEStreamSinkRequestSample);
        ASSERT_TRUE(waitUntil([this] { return m_port->wanted() == 1; }));
    }
    void TearDown() override
    {
        m_now->close();
        m_port->close();
    }

    const CComPtr<CountingSink> m_sink = host::createObject<CountingSink>();
    const std::shared_ptr<host::SinkPort> m_port =
        std::make_shared<host::SinkPort>(m_sink.p, host::SinkPort::Callbacks{[](HRESULT) {}, [] {}});
    std::atomic<int> m_failures{0};
    const std::shared_ptr<host::StreamFeed> m_before = makeFeed();
    const std::shared_ptr<host::StreamFeed> m_now = makeFeed();
    CComPtr<IMFSample> m_sample;
};

} // namespace

TEST_F(SinkPortTest, TakesSamplesAndMarkersOfItsFeedAlone)
{
    m_port->setFeed(m_now);
    EXPECT_EQ(m_port->deliver(*m_before, m_sample), S_FALSE);
    m_port->placeMarker(*m_before, MFSTREAMSINK_MARKER_TICK, nullptr);
    EXPECT_EQ(m_sink->samples, 0);
    EXPECT_EQ(m_sink->markers, 0);
    EXPECT_EQ(m_port->deliver(*m_now, m_sample), S_OK);
    m_port->placeMarker(*m_now, MFSTREAMSINK_MARKER_TICK, nullptr);
    EXPECT_EQ(m_sink->samples, 1);
    EXPECT_EQ(m_sink->markers, 1);
}

TEST_F(SinkPortTest, KeepsTheRequestThatAFeedTookWhichIsItsFeedNoMore)
{
    m_port->setFeed(m_before);
    ASSERT_TRUE(m_port->takeRequest());
    m_port->setFeed(m_now);
    EXPECT_EQ(m_port->deliver(*m_before, m_sample), S_FALSE);
    EXPECT_EQ(m_port->wanted(), 1U);
}

TEST_F(SinkPortTest, HasItsFeedAskForWhatTheOneBeforeCouldNotDeliver)
{
    const auto stream = host::createObject<CountingStream>();
    ASSERT_EQ(m_now->open(stream), S_OK);
    m_port->setFeed(m_before);
    ASSERT_TRUE(m_port->takeRequest());
    ASSERT_EQ(m_now->attach(m_port), S_OK);
    stream->tell(MEStreamStarted);
    stream->tell(MEError); // is heard of when the start is through
    ASSERT_TRUE(waitUntil([this] { return m_failures == 1; }));
    ASSERT_EQ(stream->requests, 0);
    m_port->deliver(*m_before, m_sample);
    EXPECT_EQ(stream->requests, 1);
}
