#include "host/graph/Pipeline.h"
#include "tests/host/EventLoop.h"
#include "tests/host/FakeNodes.h"

#include <mferror.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

std::vector<std::string> firstOf(const std::vector<std::string> &log, std::size_t count)
{
    return {log.begin(), log.begin() + static_cast<std::ptrdiff_t>(std::min(count, log.size()))};
}

ScriptStep sampleAt(LONGLONG milliseconds)
{
    return {ScriptStep::Sample, milliseconds * 10000, nullptr};
}

// The samples of a source with pictures of 128 pixels begin that late; those of one with 64 never come so far.
constexpr LONGLONG LateMilliseconds = 1000000000000;

// A log of such sources: behind each type come samples of its source only.
void expectSamplesOfTheirType(const std::vector<std::string> &log)
{
    std::string type;
    for (const std::string &line : log) {
        if (line.rfind("type", 0) == 0) {
            type = line;
            continue;
        }
        const bool late = std::stoll(line.substr(line.find(' '))) >= LateMilliseconds;
        ASSERT_EQ(late ? "type 128" : "type 64", type) << line;
    }
}

class PipelineTest : public testing::Test
{
protected:
    void link()
    {
        m_source.video()->connectTo(m_sink.video());
        m_source.audio()->connectTo(m_sink.audio());
    }
    void run()
    {
        m_pipeline.setNodes({&m_source, &m_sink});
        m_pipeline.start();
    }
    bool flows()
    {
        const std::size_t pictures = m_sink.pictures().samples();
        const std::size_t sound = m_sink.sound().samples();
        return waitUntil(
            [&] { return m_sink.pictures().samples() > pictures + 5 && m_sink.sound().samples() > sound + 5; });
    }

    ScriptedSource m_source;
    KeepingSink m_sink;
    host::Pipeline m_pipeline; // goes first
};

TEST_F(PipelineTest, CarriesSamplesInOrderAfterTheirType)
{
    m_source.videoScript = {sampleAt(0), sampleAt(40), sampleAt(80)};
    link();
    run();
    ASSERT_TRUE(flows());
    EXPECT_THAT(firstOf(m_sink.pictures().log(), 1), ElementsAre("type 64"));
    // The sink adopts the type once when it is made and once when the source joins.
    std::vector<std::string> log = m_sink.pictures().log();
    log.erase(std::remove(log.begin(), log.end(), "type 64"), log.end());
    EXPECT_THAT(firstOf(log, 3), ElementsAre("sample 0", "sample 40", "sample 80"));
}

TEST_F(PipelineTest, LeavesOutWhatALiveSourceHadWaiting)
{
    constexpr LONGLONG hundredSeconds = 1000000000;
    m_source.live = true;
    for (const LONGLONG milliseconds : {0, 40, 80}) {
        m_source.videoScript.push_back(sampleAt(milliseconds));
        m_source.videoScript.back().duration = hundredSeconds;
    }
    link();
    run();
    ASSERT_TRUE(flows());
    EXPECT_THAT(m_sink.pictures().log(), Not(Contains(AnyOf("sample 0", "sample 40", "sample 80"))));
}

TEST_F(PipelineTest, TellsBothNodesWhenTheirTopologyIsThere)
{
    link();
    run();
    ASSERT_TRUE(flows());
    EXPECT_EQ(m_source.topologies, 1);
    EXPECT_EQ(m_sink.topologies, 1);
}

TEST_F(PipelineTest, SetsTheTypeOfTheConnectionBeforeTheSinkIsMade)
{
    link();
    run();
    ASSERT_TRUE(flows());
    EXPECT_EQ(m_sink.video()->getConnectedMfMediaType(), m_source.videoType.p);
    EXPECT_EQ(m_sink.created, 1);
}

TEST_F(PipelineTest, MakesTheSinkAdoptANewTypeBeforeTheFirstSampleOfIt)
{
    m_source.videoScript = {sampleAt(0), {ScriptStep::TypeChange, 0, pictureType(128, 64)}, sampleAt(40), sampleAt(80)};
    link();
    run();
    ASSERT_TRUE(flows());
    const std::vector<std::string> log = m_sink.pictures().log();
    const auto at = [&log](const char *text) { return std::find(log.begin(), log.end(), text) - log.begin(); };
    EXPECT_LT(at("sample 0"), at("type 128"));
    EXPECT_EQ(at("type 128") + 1, at("sample 40"));
    EXPECT_TRUE(waitUntil([this] {
        IMFMediaType *const type = m_sink.video()->getConnectedMfMediaType();
        return type && type != m_source.videoType.p;
    }));
}

TEST_F(PipelineTest, LeavesAnUnlinkedStreamDeselected)
{
    m_source.video()->connectTo(m_sink.video());
    run();
    ASSERT_TRUE(waitUntil([this] { return m_sink.pictures().samples() > 5; }));
    EXPECT_EQ(m_sink.sound().samples(), 0U);
}

TEST_F(PipelineTest, MakesNothingOfANodeWithoutLinks)
{
    run();
    KeepingSink other;
    EXPECT_FALSE(waitUntil([this] { return m_source.created > 0 || m_sink.created > 0; }, 50));
}

TEST_F(PipelineTest, TakesManyRequestsForOne)
{
    link();
    run();
    ASSERT_TRUE(flows());
    for (int count = 0; count < 10; ++count)
        m_source.ask();
    ASSERT_TRUE(waitUntil([this] { return m_source.created == 2; }));
    ASSERT_TRUE(flows());
    EXPECT_EQ(m_source.created, 2);
}

TEST_F(PipelineTest, KeepsTheSinkWhenTheSourceIsMadeAnew)
{
    link();
    run();
    ASSERT_TRUE(flows());
    m_source.videoType = pictureType(320, 180);
    m_source.ask();
    ASSERT_TRUE(waitUntil([this] { return m_source.created == 2; }));
    ASSERT_TRUE(flows());
    EXPECT_EQ(m_sink.created, 1);
    EXPECT_EQ(m_sink.video()->getConnectedMfMediaType(), m_source.videoType.p);
}

TEST_F(PipelineTest, KeepsTheSourceWhenTheSinkIsMadeAnew)
{
    link();
    run();
    ASSERT_TRUE(flows());
    m_sink.ask();
    ASSERT_TRUE(waitUntil([this] { return m_sink.created == 2; }));
    ASSERT_TRUE(flows());
    EXPECT_EQ(m_source.created, 1);
}

TEST_F(PipelineTest, ShutsTheSourceDownWhenItStops)
{
    link();
    run();
    ASSERT_TRUE(flows());
    const CComPtr<IMFMediaSource> source = m_source.source();
    m_pipeline.stop();
    DWORD characteristics = 0;
    EXPECT_EQ(source->GetCharacteristics(&characteristics), MF_E_SHUTDOWN);
    EXPECT_EQ(m_source.destroyed, 1);
    EXPECT_EQ(m_sink.destroyed, 1);
    EXPECT_EQ(m_source.video()->mfNode(), nullptr);
}

TEST_F(PipelineTest, StartsAndStopsFiftyTimes)
{
    link();
    m_pipeline.setNodes({&m_source, &m_sink});
    for (int round = 0; round < 50; ++round) {
        const std::size_t before = m_sink.pictures().samples();
        m_pipeline.start();
        // A sample of the round before may still be counted, so samples alone do not tell that this one runs.
        ASSERT_TRUE(waitUntil([&] {
            return m_source.topologies == round + 1 && m_sink.topologies == round + 1 &&
                   m_sink.pictures().samples() > before;
        })) << round;
        m_pipeline.stop();
    }
    EXPECT_EQ(m_source.created, 50);
    EXPECT_EQ(m_source.destroyed, 50);
    EXPECT_EQ(m_sink.created, 50);
}

TEST_F(PipelineTest, MakesASourceThatFailedAnew)
{
    m_source.videoScript = {sampleAt(0), {ScriptStep::Fail, 0, nullptr}};
    link();
    run();
    EXPECT_TRUE(waitUntil([this] { return m_source.created >= 2; }));
    EXPECT_EQ(m_sink.created, 1);
    EXPECT_GE(m_pipeline.restarts(), 1);
}

TEST_F(PipelineTest, MakesASourceThatEndedAnew)
{
    m_source.videoScript = {sampleAt(0), {ScriptStep::End, 0, nullptr}};
    m_source.audioScript = {{ScriptStep::End, 0, nullptr}};
    link();
    run();
    EXPECT_TRUE(waitUntil([this] { return m_source.created >= 2; }));
}

TEST_F(PipelineTest, WaitsTwiceAsLongAfterEachFailure)
{
    m_source.fails = true;
    link();
    QElapsedTimer elapsed;
    elapsed.start();
    run();
    ASSERT_TRUE(waitUntil([this] { return m_source.created == 3; }));
    EXPECT_GE(elapsed.elapsed(), (250 + 500) * 95 / 100 - 2); // a coarse timer may be early by 5 percent
    EXPECT_EQ(m_sink.created, 0);
}

TEST_F(PipelineTest, StartsTheSourceThoughASinkFailsAndJoinsThatLater)
{
    m_sink.failures = 1;
    link();
    run();
    EXPECT_TRUE(waitUntil([this] { return m_source.topologies == 1; }));
    EXPECT_EQ(m_sink.topologies, 0);
    EXPECT_TRUE(flows());
    EXPECT_EQ(m_source.created, 1);
    EXPECT_EQ(m_sink.created, 2);
}

TEST_F(PipelineTest, MakesASinkAnewThatTurnsANewTypeDown)
{
    m_sink.pictures().takeUpTo(64);
    m_source.videoScript = {sampleAt(0), {ScriptStep::TypeChange, 0, pictureType(128, 64)}, sampleAt(40)};
    link();
    run();
    ASSERT_TRUE(waitUntil([this] { return m_pipeline.restarts() >= 1; }));
    EXPECT_EQ(m_source.created, 1);
    m_sink.pictures().takeUpTo(128);
    EXPECT_TRUE(flows());
    EXPECT_THAT(m_sink.pictures().log(), testing::Contains("type 128"));
}

TEST_F(PipelineTest, FollowsALinkThatIsTakenAndGiven)
{
    link();
    run();
    ASSERT_TRUE(flows());
    m_source.audio()->connectTo(nullptr);
    ASSERT_TRUE(waitUntil([this] { return m_source.created == 2 && m_sink.created == 2; }));
    EXPECT_EQ(m_sink.audio()->getConnectedMfMediaType(), nullptr);
    const std::size_t before = m_sink.pictures().samples();
    ASSERT_TRUE(waitUntil([&] { return m_sink.pictures().samples() > before + 5; }));
    m_source.audio()->connectTo(m_sink.audio());
    EXPECT_TRUE(flows());
}

TEST_F(PipelineTest, KeepsTheSinkThatIsLinkedToAnotherSource)
{
    ScriptedSource other;
    other.videoType = pictureType(128, 64);
    link();
    m_pipeline.setNodes({&m_source, &m_sink, &other});
    m_pipeline.start();
    ASSERT_TRUE(flows());
    other.video()->connectTo(m_sink.video());
    other.audio()->connectTo(m_sink.audio());
    ASSERT_TRUE(waitUntil([&] { return other.topologies == 1; }));
    EXPECT_TRUE(flows());
    EXPECT_EQ(m_sink.created, 1);
    EXPECT_EQ(m_sink.video()->getConnectedMfMediaType(), other.videoType.p);
    EXPECT_THAT(m_sink.pictures().log(), testing::Contains("type 128"));
    EXPECT_TRUE(waitUntil([this] { return m_source.destroyed == 1; }));
    EXPECT_EQ(m_source.created, 1);
    m_pipeline.setNodes({});
}

TEST_F(PipelineTest, KeepsNodesWhoseLinksChangePlaces)
{
    ScriptedSource other;
    KeepingSink otherSink;
    other.videoType = pictureType(128, 64);
    other.videoScript = {sampleAt(LateMilliseconds)};
    const auto linkBoth = [&](ScriptedSource &first, ScriptedSource &second) {
        first.video()->connectTo(m_sink.video());
        first.audio()->connectTo(m_sink.audio());
        second.video()->connectTo(otherSink.video());
        second.audio()->connectTo(otherSink.audio());
    };
    linkBoth(m_source, other);
    m_pipeline.setNodes({&m_source, &m_sink, &other, &otherSink});
    m_pipeline.start();
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(flows()) << round;
        ASSERT_TRUE(waitUntil([&, before = otherSink.pictures().samples()] {
            return otherSink.pictures().samples() > before;
        })) << round;
        if (round % 2 == 0)
            linkBoth(other, m_source);
        else
            linkBoth(m_source, other);
        ASSERT_TRUE(waitUntil([&] { return m_sink.video()->getConnectedMfMediaType() != nullptr; })) << round;
        EXPECT_EQ(m_sink.video()->getConnectedMfMediaType(), (round % 2 == 0 ? other : m_source).videoType.p);
    }
    ASSERT_TRUE(flows());
    m_pipeline.stop();
    EXPECT_EQ(m_source.created, 1);
    EXPECT_EQ(other.created, 1);
    EXPECT_EQ(m_sink.created, 1);
    EXPECT_EQ(otherSink.created, 1);
    expectSamplesOfTheirType(m_sink.pictures().log());
    expectSamplesOfTheirType(otherSink.pictures().log());
    m_pipeline.setNodes({});
}

TEST_F(PipelineTest, StartsASourceWhoseLinkMovesFromASinkThatIsBeingMade)
{
    ScriptedSource other;
    KeepingSink otherSink;
    other.videoType = pictureType(128, 64);
    m_sink.takesItsTime = true;
    link();
    other.video()->connectTo(otherSink.video());
    other.audio()->connectTo(otherSink.audio());
    m_pipeline.setNodes({&m_source, &m_sink, &other, &otherSink});
    m_pipeline.start();
    ASSERT_TRUE(waitUntil([&] { return otherSink.pictures().samples() > 5 && m_sink.created == 1; }));
    ASSERT_EQ(m_source.topologies, 0); // it waits for the sink

    m_source.video()->connectTo(otherSink.video());
    m_source.audio()->connectTo(otherSink.audio());
    other.video()->connectTo(m_sink.video());
    other.audio()->connectTo(m_sink.audio());
    EXPECT_TRUE(waitUntil([this] { return m_source.topologies == 1; }));
    EXPECT_TRUE(waitUntil(
        [&, before = otherSink.pictures().samples()] { return otherSink.pictures().samples() > before + 5; }));
    EXPECT_THAT(otherSink.pictures().log(), testing::Contains("type 64"));
    m_sink.takesItsTime = false;
    m_sink.finish();
    EXPECT_TRUE(flows());
    m_pipeline.setNodes({});
}

TEST_F(PipelineTest, MakesASourceAnewThatAsksForItBesideANewLink)
{
    KeepingSink other;
    link();
    m_pipeline.setNodes({&m_source, &m_sink, &other});
    m_pipeline.start();
    ASSERT_TRUE(flows());
    m_source.video()->connectTo(other.video());
    m_source.ask();
    ASSERT_TRUE(waitUntil([&] { return other.pictures().samples() > 5; }));
    EXPECT_EQ(m_source.created, 2);
    m_pipeline.setNodes({});
}

TEST_F(PipelineTest, OutlivesANodeThatGoesWithoutAWord)
{
    auto source = std::make_unique<ScriptedSource>();
    source->video()->connectTo(m_sink.video());
    m_pipeline.setNodes({source.get(), &m_sink});
    m_pipeline.start();
    ASSERT_TRUE(waitUntil([this] { return m_sink.pictures().samples() > 5; }));
    source.reset();
    link();
    m_pipeline.setNodes({&m_source, &m_sink});
    EXPECT_TRUE(flows());
}

} // namespace
