// What a port hands to a sink that holds what it gets, and what it leaves out.

#include "tests/host/HeldSinkPort.h"

namespace
{

using SinkHoldTest = HeldSinkPort;

constexpr unsigned MostSamples = host::StreamPace::mostSamples;

TEST_F(SinkHoldTest, BurstBelowTheBoundGoesWhole)
{
    start(MostSamples);
    for (unsigned sample = 0; sample < MostSamples; ++sample)
        EXPECT_EQ(S_OK, offer(sample, 0));
    EXPECT_EQ(MostSamples, m_sink->held());
    EXPECT_EQ(MostSamples, m_port->figures().samples);
    EXPECT_EQ(MostSamples, m_port->figures().held);
    EXPECT_EQ(0U, leftOut());
}

TEST_F(SinkHoldTest, HoldsNoMoreThanTheBoundAndGetsTheNewestThen)
{
    start(MostSamples + 10);
    for (unsigned sample = 0; sample < MostSamples + 3; ++sample)
        EXPECT_EQ(S_OK, offer(sample, 0));
    EXPECT_EQ(MostSamples, m_sink->held());
    EXPECT_EQ(2U, leftOut()); // but for the newest, which waits
    m_sink->release(MostSamples);
    ASSERT_TRUE(waitUntil([this] { return m_sink->log().size() == MostSamples + 1; }));
    EXPECT_EQ("sample " + std::to_string(MostSamples + 2), m_sink->log().back());
    EXPECT_EQ(2U, leftOut());
}

TEST_F(SinkHoldTest, NewestWaitsAndGoesWhenOneComesBack)
{
    start(3);
    for (int sample = 1; sample <= 3; ++sample)
        offer(sample, Long);
    EXPECT_EQ((std::vector<std::string>{"sample 1"}), m_sink->log());
    EXPECT_EQ(1U, leftOut());
    m_sink->release(1);
    EXPECT_TRUE(gets({"sample 1", "sample 3"}));
    EXPECT_EQ(1U, leftOut());
}

TEST_F(SinkHoldTest, NewestWaitsUntilTheSinkAsksForIt)
{
    start(1);
    offer(1, 0);
    offer(2, 0);
    offer(3, 0);
    EXPECT_EQ((std::vector<std::string>{"sample 1"}), m_sink->log());
    request(1);
    EXPECT_TRUE(gets({"sample 1", "sample 3"}));
}

TEST_F(SinkHoldTest, SampleLastsAsLongAsItsTypeDeclares)
{
    const CComPtr<IMFMediaType> type = pictureType(64, 32);
    MFSetAttributeRatio(type, MF_MT_FRAME_RATE, 1, 10);
    ASSERT_EQ(S_OK, m_port->adoptFrom(*m_feed, type));
    start(3);
    offer(1, 0);
    offer(2, 0);
    EXPECT_EQ((std::vector<std::string>{"type", "sample 1"}), m_sink->log());
}

TEST_F(SinkHoldTest, NamesWhySamplesAreLeftOut)
{
    ASSERT_NO_FATAL_FAILURE(passBeginning());
    const host::PortFigures before = m_port->figures();
    for (int sample = 1; sample <= 3; ++sample)
        offer(sample, Hour);
    EXPECT_EQ(before.leftOutFull + 1, m_port->figures().leftOutFull);
    EXPECT_EQ(before.leftOutLate, m_port->figures().leftOutLate);
    EXPECT_TRUE(waitUntil([&] {
        offer(4, Hour);
        return m_port->figures().leftOutLate > before.leftOutLate;
    }));
    EXPECT_EQ(1U, m_sink->held());
}

TEST_F(SinkHoldTest, CountsWhatIsLeftOutOfAStreamsFirstMomentsByItself)
{
    start(3);
    for (int sample = 1; sample <= 3; ++sample)
        offer(sample, Hour);
    EXPECT_EQ(1U, m_port->figures().leftOutFirst);
    EXPECT_EQ(1U, leftOut());
}

TEST_F(SinkHoldTest, FiguresFollowWhatComesBack)
{
    start(2);
    offer(1, 0);
    offer(2, 0);
    EXPECT_TRUE(waitUntil([this] { return m_port->figures().heldMs > 0; }));
    m_sink->release(1);
    EXPECT_TRUE(waitUntil([this] { return m_port->figures().held == 1; }));
    EXPECT_LT(0, m_port->figures().latencyMaxMs);
    m_sink->release(1);
    EXPECT_TRUE(waitUntil([this] { return m_port->figures().held == 0; }));
    EXPECT_EQ(0, m_port->figures().heldMs);
    EXPECT_EQ(2U, m_port->figures().samples);
}

TEST_F(SinkHoldTest, AttributesArrive)
{
    constexpr GUID metadata = {0x5833a435, 0x00ab, 0x4e9c, {0xaf, 0xfc, 0x1b, 0xd3, 0x31, 0xef, 0xfd, 0x30}};
    const std::vector<UINT8> text = {'<', 'a', '/', '>'};
    start(1);
    const CComPtr<IMFSample> sample = makeSample(1, 0);
    sample->SetBlob(metadata, text.data(), static_cast<UINT32>(text.size()));
    m_port->offer(*m_feed, sample);
    ASSERT_EQ(1U, m_sink->held());
    std::vector<UINT8> arrived(text.size());
    UINT32 size = 0;
    EXPECT_EQ(S_OK,
              m_sink->samples()[0]->GetBlob(metadata, arrived.data(), static_cast<UINT32>(arrived.size()), &size));
    EXPECT_EQ(text.size(), size);
    EXPECT_EQ(text, arrived);
}

TEST_F(SinkHoldTest, SampleOfTwoSinksIsFreeWhenBothGaveItBack)
{
    const auto other =
        host::createObject<HoldingSink>(CComPtr<IMFMediaSink>(host::createObject<FakeMediaSink>(MEDIASINK_RATELESS).p));
    const auto port = std::make_shared<host::SinkPort>(other.p, host::SinkPort::Callbacks{[](HRESULT) {}, [] {}});
    ASSERT_EQ(S_OK, port->open());
    port->setFeed(m_feed);
    start(1);
    const CComPtr<IMFSample> sample = makeSample(1, 0);
    const unsigned long before = references(sample);
    m_port->offer(*m_feed, sample);
    port->deliver(*m_feed, sample);
    other->release(1);
    ASSERT_TRUE(waitUntil([&] { return port->figures().held == 0; }));
    EXPECT_LT(before, references(sample));
    m_sink->release(1);
    EXPECT_TRUE(waitUntil([&] { return references(sample) == before; }));
    port->close();
}

TEST_F(SinkHoldTest, RatelessSinkPacesItsStreamByRequests)
{
    const auto rateless =
        host::createObject<HoldingSink>(CComPtr<IMFMediaSink>(host::createObject<FakeMediaSink>(MEDIASINK_RATELESS).p));
    const auto port = std::make_shared<host::SinkPort>(rateless.p, host::SinkPort::Callbacks{[](HRESULT) {}, [] {}});
    ASSERT_EQ(S_OK, port->open());
    port->setFeed(m_feed);
    rateless->tell(MEStreamSinkStarted);
    for (int request = 0; request < 5; ++request)
        rateless->tell(MEStreamSinkRequestSample);
    ASSERT_TRUE(waitUntil([&] { return port->wanted() == 5; }));
    EXPECT_FALSE(port->takesOffers());
    for (int sample = 0; sample < 4; ++sample) {
        ASSERT_TRUE(port->takeRequest());
        EXPECT_EQ(S_OK, port->deliver(*m_feed, makeSample(sample, Hour)));
    }
    EXPECT_EQ(4U, rateless->held());
    EXPECT_EQ(1U, port->wanted());
    port->close();
}

} // namespace
