// A connection that is interrupted while its sink holds samples and the newest waits.

#include "tests/host/HeldSinkPort.h"

#include <thread>

namespace
{

class SinkInterruptionTest : public HeldSinkPort
{
protected:
    // The sink holds the first and the second waits.
    void holdOneWhileAnotherWaits(int requests, LONGLONG duration = Hour)
    {
        start(requests);
        offer(1, duration);
        offer(2, duration);
        ASSERT_EQ((std::vector<std::string>{"sample 1"}), m_sink->log());
    }
};

TEST_F(SinkInterruptionTest, WhatWaitsGoesBeforeAMarker)
{
    holdOneWhileAnotherWaits(2);
    m_port->placeMarker(*m_feed, MFSTREAMSINK_MARKER_ENDOFSEGMENT, nullptr);
    EXPECT_EQ((std::vector<std::string>{"sample 1", "sample 2", "marker"}), m_sink->log());
    EXPECT_EQ(0U, leftOut());
}

TEST_F(SinkInterruptionTest, WhatWaitsIsLeftOutBeforeAMarkerOfASinkThatWantsNone)
{
    holdOneWhileAnotherWaits(1);
    m_port->placeMarker(*m_feed, MFSTREAMSINK_MARKER_ENDOFSEGMENT, nullptr);
    EXPECT_EQ((std::vector<std::string>{"sample 1", "marker"}), m_sink->log());
    EXPECT_EQ(1U, leftOut());
}

TEST_F(SinkInterruptionTest, WhatWaitsGoesBeforeANewType)
{
    holdOneWhileAnotherWaits(2);
    EXPECT_EQ(S_OK, m_port->adoptFrom(*m_feed, pictureType(32, 32)));
    EXPECT_EQ((std::vector<std::string>{"sample 1", "sample 2", "type"}), m_sink->log());
}

TEST_F(SinkInterruptionTest, WhatWaitsGoesWithTheStop)
{
    holdOneWhileAnotherWaits(2, Long);
    stop();
    EXPECT_EQ(1U, leftOut());
    m_sink->release(1);
    start(2);
    offer(3, Long);
    EXPECT_TRUE(gets({"sample 1", "sample 3"}));
}

TEST_F(SinkInterruptionTest, SampleThatComesAfterTheStopIsNotKeptForTheStart)
{
    start(2);
    stop();
    offer(1, 0);
    start(2);
    offer(2, 0);
    EXPECT_TRUE(gets({"sample 2"}));
}

TEST_F(SinkInterruptionTest, WhatWaitsGoesWithItsFeed)
{
    const std::shared_ptr<host::StreamFeed> next = makeFeed(true);
    holdOneWhileAnotherWaits(3, Long);
    m_port->setFeed(next);
    EXPECT_EQ(1U, leftOut());
    EXPECT_EQ(S_FALSE, offer(3, Long));
    m_sink->release(1);
    EXPECT_EQ(S_OK, m_port->offer(*next, makeSample(4, Long)));
    EXPECT_TRUE(gets({"sample 1", "sample 4"}));
}

TEST_F(SinkInterruptionTest, WhatWaitsStaysWithTheSameFeed)
{
    holdOneWhileAnotherWaits(2, Long);
    m_port->setFeed(m_feed);
    m_sink->release(1);
    EXPECT_TRUE(gets({"sample 1", "sample 2"}));
}

TEST_F(SinkInterruptionTest, ClosedPortLetsGoOfAllThatComesBack)
{
    const CComPtr<IMFSample> out = makeSample(1, Hour);
    const CComPtr<IMFSample> waiting = makeSample(2, Hour);
    const unsigned long before = references(out);
    start(2);
    m_port->offer(*m_feed, out);
    m_port->offer(*m_feed, waiting);
    m_port->close();
    EXPECT_EQ(before, references(waiting));
    EXPECT_EQ(before + 1, references(out));
    m_sink->release(1);
    EXPECT_TRUE(waitUntil([&] { return references(out) == before; }));
    EXPECT_EQ(S_FALSE, offer(3, Hour));
    EXPECT_EQ((std::vector<std::string>{"sample 1"}), m_sink->log());
}

TEST_F(SinkInterruptionTest, PortGoesWhileSamplesAreOut)
{
    const CComPtr<IMFSample> out = makeSample(1, Hour);
    const CComPtr<IMFSample> waiting = makeSample(2, Hour);
    const unsigned long before = references(out);
    start(2);
    m_port->offer(*m_feed, out);
    m_port->offer(*m_feed, waiting);
    const std::weak_ptr<host::SinkPort> port = m_port;
    m_port.reset(); // not even closed
    // A look at what waits may be on its way.
    EXPECT_TRUE(waitUntil([&] { return port.expired(); }));
    EXPECT_EQ(before, references(waiting));
    m_sink->release(1);
    EXPECT_TRUE(waitUntil([&] { return references(out) == before; }));
}

TEST_F(SinkInterruptionTest, SamplesComeBackWhileThePortCloses)
{
    start(32);
    for (int sample = 0; sample < 32; ++sample)
        offer(sample, 0);
    std::thread sink([this] {
        while (m_sink->held() > 0)
            m_sink->release(1);
    });
    m_port->close();
    m_port.reset();
    sink.join();
    EXPECT_EQ(32U, m_sink->log().size());
}

// A stream that can wait, before a sink that asks for more than it is to hold.
class PatientStreamTest : public HeldSinkPort
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(S_OK, m_port->open());
        ASSERT_EQ(S_OK, m_patient->open(m_stream));
        m_stream->tell(MEStreamStarted);
        ASSERT_EQ(S_OK, m_patient->attach(m_port));
    }
    void TearDown() override
    {
        m_patient->close();
        HeldSinkPort::TearDown();
    }
    void send(LONGLONG time)
    {
        PROPVARIANT value;
        PropVariantInit(&value);
        const CComPtr<IMFSample> sample = makeSample(time, 0);
        value.vt = VT_UNKNOWN;
        value.punkVal = sample;
        m_stream->QueueEvent(MEMediaSample, GUID_NULL, S_OK, &value);
    }

    const CComPtr<CountingStream> m_stream = host::createObject<CountingStream>();
    const std::shared_ptr<host::StreamFeed> m_patient = makeFeed(false);
};

TEST_F(PatientStreamTest, IsAskedForTwoAtMostAndForOneMoreWhenOneComesBack)
{
    start(10);
    ASSERT_TRUE(waitUntil([this] { return m_stream->requests >= 2; }));
    settle();
    EXPECT_EQ(2, m_stream->requests);
    send(1);
    send(2);
    EXPECT_TRUE(gets({"type", "sample 1", "sample 2"}));
    settle();
    EXPECT_EQ(2, m_stream->requests);
    for (int sample = 3; sample <= 6; ++sample) {
        m_sink->release(1);
        ASSERT_TRUE(waitUntil([&] { return m_stream->requests == sample; }));
        EXPECT_EQ(1U, m_sink->held());
        send(sample);
        ASSERT_TRUE(waitUntil([this] { return m_sink->held() == 2; }));
    }
    EXPECT_EQ(0U, leftOut());
}

TEST_F(PatientStreamTest, IsAskedAgainWhenASlowSinkHasGivenAllBack)
{
    start(10);
    ASSERT_TRUE(waitUntil([this] { return m_stream->requests >= 2; }));
    send(1);
    ASSERT_TRUE(waitUntil([this] { return m_sink->held() == 1; }));
    m_sink->release(1);
    // One is under way and one is to be had: both places are taken again.
    EXPECT_TRUE(waitUntil([this] { return m_stream->requests == 3; }));
    settle();
    EXPECT_EQ(3, m_stream->requests);
}

TEST_F(PatientStreamTest, IsAskedWhenTheSinkHasGivenBackWhatALiveStreamLeftWithIt)
{
    const std::shared_ptr<host::StreamFeed> live = makeFeed(true);
    m_port->setFeed(live);
    start(10);
    m_port->offer(*live, makeSample(1, 0));
    m_port->offer(*live, makeSample(2, 0));
    ASSERT_EQ(2U, m_sink->held());
    ASSERT_EQ(S_OK, m_patient->attach(m_port));
    settle();
    const int before = m_stream->requests;
    m_sink->release(2);
    EXPECT_TRUE(waitUntil([&] { return m_stream->requests > before; }));
}

} // namespace
