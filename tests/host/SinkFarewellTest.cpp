// Sinks that do not come to their end at once, in a graph.

#include "host/graph/SinkFarewell.h"

#include "host/graph/Pipeline.h"
#include "tests/host/EventLoop.h"
#include "tests/host/FakeMediaSink.h"
#include "tests/host/FakeNodes.h"
#include "tests/host/Gate.h"

#include <mfapi.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace
{

constexpr int AlmostASecond = 950; // milliseconds: clocks that wake and clocks that measure are not the same

// What has come of the sinks of a node.
struct SinkLife {
    Gate shutdown;
    std::atomic<int> alive{0};
    std::atomic<bool> endedOnThisThread{false};
    const std::thread::id thread = std::this_thread::get_id();
};

class MortalSink final : public FakeMediaSink
{
public:
    explicit MortalSink(std::shared_ptr<SinkLife> life)
        : FakeMediaSink(MEDIASINK_FIXED_STREAMS), m_life(std::move(life))
    {
        ++m_life->alive;
    }
    ~MortalSink() override
    {
        if (std::this_thread::get_id() == m_life->thread)
            m_life->endedOnThisThread = true;
        --m_life->alive;
    }
    STDMETHODIMP Shutdown() override { return m_life->shutdown.pass(), S_OK; }

private:
    const std::shared_ptr<SinkLife> m_life;
};

// A node that makes such sinks.
class MortalNode : public MediaNode
{
public:
    MortalNode() { setInputCount(1); }

    void destroyMediaObjects() override
    {
        m_sink.Release();
        setStatus(Idle);
    }
    void createMediaObjects() override
    {
        ++created;
        aliveAtCreation = life->alive;
        setStatus(Creating);
        m_sink = CComPtr<IMFMediaSink>(host::createObject<MortalSink>(life).p);
        CComPtr<IMFTopologyNode> node;
        MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &node);
        node->SetObject(host::createObject<HoldingSink>(m_sink).p);
        addMfNode(node);
        getInput(0)->setMfNode(node, 0);
        setStatus(Created);
    }
    void ask() { requestCreate(); }
    CComPtr<IMFMediaSink> sink() const { return m_sink; }

    int created = 0;
    int aliveAtCreation = 0; // the last one
    const std::shared_ptr<SinkLife> life = std::make_shared<SinkLife>();

private:
    CComPtr<IMFMediaSink> m_sink;
};

class SinkFarewellTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_source.video()->connectTo(m_sink->getInput(0));
        m_pipeline.setNodes({&m_source, m_sink.get()});
        m_pipeline.start();
        ASSERT_TRUE(waitUntil([this] { return m_sink->created == 1; }));
    }
    void TearDown() override
    {
        m_life->shutdown.open();
        m_held.Release();
        m_pipeline.setNodes({});
        EXPECT_TRUE(host::waitForFarewells(std::chrono::seconds(20)));
        EXPECT_FALSE(m_life->shutdown.hasBrokenDown());
        EXPECT_EQ(0, m_life->alive);
    }
    // That thread was not held up, and another one is.
    void expectFarewellElsewhere()
    {
        EXPECT_TRUE(waitUntil([this] { return m_life->shutdown.waiting() == 1; }));
        EXPECT_FALSE(host::waitForFarewells(std::chrono::milliseconds(0)));
        m_life->shutdown.open();
        EXPECT_TRUE(host::waitForFarewells(std::chrono::seconds(20)));
        EXPECT_EQ(0, m_life->alive);
        EXPECT_FALSE(m_life->endedOnThisThread);
    }
    void hold()
    {
        m_elapsed.start();
        m_held = m_sink->sink();
    }
    // The node is to be made anew, and is not while its sink of before is held.
    void expectAnewWhenGivenBack()
    {
        waitUntil([this] { return m_sink->created == 2; }, 50);
        EXPECT_TRUE(m_sink->created == 1 || m_elapsed.hasExpired(AlmostASecond));
        m_held.Release();
        EXPECT_TRUE(waitUntil([this] { return m_sink->created == 2; }));
        EXPECT_TRUE(m_sink->aliveAtCreation == 0 || m_elapsed.hasExpired(AlmostASecond));
    }

    ScriptedSource m_source;
    std::unique_ptr<MortalNode> m_sink = std::make_unique<MortalNode>();
    const std::shared_ptr<SinkLife> m_life = m_sink->life;
    CComPtr<IMFMediaSink> m_held;
    QElapsedTimer m_elapsed;
    host::Pipeline m_pipeline; // goes first
};

TEST_F(SinkFarewellTest, ShutdownDoesNotHoldUpAStop)
{
    m_life->shutdown.shut();
    m_pipeline.stop();
    expectFarewellElsewhere();
}

TEST_F(SinkFarewellTest, ShutdownDoesNotHoldUpWhoTakesTheNodesAway)
{
    m_life->shutdown.shut();
    m_pipeline.setNodes({});
    expectFarewellElsewhere();
}

TEST_F(SinkFarewellTest, ShutdownDoesNotHoldUpTheEndOfItsNode)
{
    m_life->shutdown.shut();
    m_sink.reset();
    expectFarewellElsewhere();
}

TEST_F(SinkFarewellTest, ShutdownDoesNotHoldUpTheEndOfItsGraph)
{
    auto graph = std::make_unique<host::Pipeline>();
    MortalNode other;
    m_source.audio()->connectTo(other.getInput(0));
    m_pipeline.setNodes({});
    ASSERT_TRUE(host::waitForFarewells(std::chrono::seconds(20)));
    graph->setNodes({&m_source, &other});
    graph->start();
    ASSERT_TRUE(waitUntil([&] { return other.created == 1; }));
    other.life->shutdown.shut();
    graph.reset();
    EXPECT_TRUE(waitUntil([&] { return other.life->shutdown.waiting() == 1; }));
    other.life->shutdown.open();
    EXPECT_TRUE(host::waitForFarewells(std::chrono::seconds(20)));
    EXPECT_FALSE(other.life->shutdown.hasBrokenDown());
    EXPECT_EQ(0, other.life->alive);
}

TEST_F(SinkFarewellTest, NodeIsMadeAnewWhenItsSinkIsGivenBack)
{
    hold();
    m_sink->ask();
    expectAnewWhenGivenBack();
}

TEST_F(SinkFarewellTest, GraphThatIsStartedAgainWaitsForTheSinkOfBefore)
{
    hold();
    m_pipeline.stop();
    m_pipeline.start();
    expectAnewWhenGivenBack();
}

TEST_F(SinkFarewellTest, NodeThatIsTakenAwayAndGivenAgainWaitsForItsSinkOfBefore)
{
    hold();
    m_pipeline.setNodes({&m_source});
    m_pipeline.setNodes({&m_source, m_sink.get()});
    expectAnewWhenGivenBack();
}

TEST_F(SinkFarewellTest, NodeWaitsASecondAtTheMost)
{
    hold();
    m_sink->ask();
    EXPECT_TRUE(waitUntil([this] { return m_sink->created == 2; }));
    EXPECT_TRUE(m_elapsed.hasExpired(AlmostASecond));
    EXPECT_EQ(1, m_sink->aliveAtCreation);
}

TEST_F(SinkFarewellTest, NodeWaitsForAShutdownThatTakesItsTime)
{
    m_elapsed.start();
    m_life->shutdown.shut();
    m_sink->ask();
    ASSERT_TRUE(waitUntil([this] { return m_life->shutdown.waiting() == 1; }));
    waitUntil([this] { return m_sink->created == 2; }, 50);
    EXPECT_TRUE(m_sink->created == 1 || m_elapsed.hasExpired(AlmostASecond));
    m_life->shutdown.open();
    EXPECT_TRUE(waitUntil([this] { return m_sink->created == 2; }));
    EXPECT_TRUE(m_sink->aliveAtCreation == 0 || m_elapsed.hasExpired(AlmostASecond));
}

TEST_F(SinkFarewellTest, NodeWaitsASecondAtTheMostForAShutdown)
{
    m_elapsed.start();
    m_life->shutdown.shut();
    m_sink->ask();
    EXPECT_TRUE(waitUntil([this] { return m_sink->created == 2; }));
    EXPECT_TRUE(m_elapsed.hasExpired(AlmostASecond));
    EXPECT_FALSE(host::waitForFarewells(std::chrono::milliseconds(0)));
}

TEST_F(SinkFarewellTest, WaitEndsAtOnceWhenNothingIsToBeGivenUp)
{
    EXPECT_TRUE(host::waitForFarewells(std::chrono::milliseconds(0)));
}

} // namespace
