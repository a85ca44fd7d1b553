// What becomes of the jobs that make a node's sink.

#include "tests/sink/NodeHarness.h"

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QThreadPool>

#include <future>
#include <utility>

namespace
{

// While it exists, no job of the global thread pool begins.
class OccupiedPool
{
public:
    OccupiedPool()
    {
        pool()->setMaxThreadCount(1);
        QtConcurrent::run([leave = m_leave.get_future().share()] { leave.wait(); });
    }
    OccupiedPool(const OccupiedPool &) = delete;
    OccupiedPool &operator=(const OccupiedPool &) = delete;
    ~OccupiedPool()
    {
        m_leave.set_value();
        pool()->setMaxThreadCount(m_threads);
    }

private:
    static QThreadPool *pool() { return QThreadPool::globalInstance(); }

    const int m_threads = pool()->maxThreadCount();
    std::promise<void> m_leave;
};

using NDISinkJobTest = SinkNodeTest;

} // namespace

TEST_F(NDISinkJobTest, WithoutASenderTheCreationFailsAndTheNextOneTriesAgain)
{
    makeNamed();
    connectVideo(pictureType());
    ndi.refuseSenders(true);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    EXPECT_EQ(1, criticals("NDISink initialization failed: \"Failed to create NDI sender\""));
    EXPECT_FALSE(node.videoInput()->mfNode());
    EXPECT_TRUE(node.takeMfNodes().empty());
    ndi.refuseSenders(false);
    create();
    EXPECT_EQ(1, ndi.calls().sendersMade);
}

TEST_F(NDISinkJobTest, AFailedCreationLeavesTheSinkBeforeItInPlace)
{
    makeNamed();
    connectVideo(pictureType());
    create();
    ndi.refuseSenders(true);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    node.setMetadata(QStringLiteral("still there"));
    EXPECT_TRUE(waitForMetadata(1));
    EXPECT_EQ(0, ndi.calls().sendersDestroyed);
}

TEST_F(NDISinkJobTest, ASecondCreationReplacesTheSinkBeforeItUnderTheNewName)
{
    makeNamed();
    connectVideo(pictureType());
    create();
    node.setName(QStringLiteral("Stage"));
    EXPECT_EQ(1, createRequests);
    node.takeMfNodes();
    node.createMediaObjects();
    EXPECT_EQ(MediaNode::Creating, node.status());
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    node.takeMfNodes();
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersMade == 2 && calls.sendersDestroyed == 1; }));
    EXPECT_EQ(std::string("Stage"), ndi.calls().senderSettings.at(1).name);
}

TEST_F(NDISinkJobTest, ACreationThatBeginsWhenTheStatusIsHeardIsHeardToo)
{
    makeNamed();
    connectVideo(pictureType());
    bool again = true;
    QObject::connect(&node, &MediaNode::statusChanged, [&] {
        if (node.status() == MediaNode::Created && std::exchange(again, false))
            node.createMediaObjects();
    });
    node.createMediaObjects();
    EXPECT_TRUE(spinUntil([&] { return !again && node.status() == MediaNode::Created; }));
    EXPECT_EQ(2, ndi.calls().sendersMade);
    EXPECT_EQ(2u, node.takeMfNodes().size());
}

TEST_F(NDISinkJobTest, ADestroyedNodeHoldsNoSink)
{
    makeNamed();
    connectVideo(pictureType());
    create();
    release();
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersDestroyed == 1; }));
    node.setMetadata(QStringLiteral("nobody hears"));
    EXPECT_TRUE(ndi.calls().sentMetadata.empty());
}

TEST_F(NDISinkJobTest, TheTopologyKeepsTheSinkThatTheNodeHasLetGo)
{
    makeNamed();
    connectVideo(pictureType());
    create();
    const auto nodes = node.takeMfNodes();
    node.videoInput()->setMfNode(nullptr, 0);
    node.destroyMediaObjects();
    EXPECT_EQ(0, ndi.calls().sendersDestroyed);
}

TEST_F(NDISinkJobTest, AReleaseDuringACreationLeavesItsStatusAndDropsTheResult)
{
    makeNamed();
    connectVideo(pictureType());
    node.createMediaObjects();
    // The job comes to its end, but the node has not heard of it yet: its events wait.
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersMade == 1; }));
    node.destroyMediaObjects();
    finishJobs();
    EXPECT_TRUE(ndi.waitFor([&](const auto &calls) { return calls.sendersDestroyed == 1; }));
    EXPECT_EQ(MediaNode::Creating, node.status());
    EXPECT_FALSE(node.videoInput()->mfNode());
    EXPECT_TRUE(node.takeMfNodes().empty());
    // The next creation is heard again.
    create();
}

TEST_F(NDISinkJobTest, AJobThatIsReleasedBeforeItHasAThreadMakesNoSender)
{
    makeNamed();
    connectVideo(pictureType());
    {
        const OccupiedPool pool;
        node.createMediaObjects();
        node.destroyMediaObjects();
    }
    finishJobs();
    EXPECT_EQ(0, ndi.calls().sendersMade);
    EXPECT_EQ(MediaNode::Creating, node.status());
}

TEST_F(NDISinkJobTest, ANewerCreationIsTheOnlyOneThatIsHeard)
{
    makeNamed();
    connectVideo(pictureType());
    node.createMediaObjects();
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersMade == 1; }));
    node.setName(QStringLiteral("Stage"));
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    finishJobs();
    EXPECT_EQ(1u, node.takeMfNodes().size());
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersMade == 2 && calls.sendersDestroyed == 1; }));
}

TEST_F(NDISinkJobTest, ANodeThatGoesDuringACreationWaitsForNothingAndLeavesNothing)
{
    {
        NDISink other;
        other.setName(QStringLiteral("Other"));
        other.videoInput()->setConnectedMfMediaType(pictureType());
        other.createMediaObjects();
        EXPECT_EQ(MediaNode::Creating, other.status());
    }
    finishJobs();
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersMade == calls.sendersDestroyed; }));
}

TEST_F(NDISinkJobTest, ANodeThatGoesLeavesAJobThatHasNoThreadYetToThePool)
{
    {
        const OccupiedPool pool;
        {
            NDISink other;
            other.setName(QStringLiteral("Other"));
            other.videoInput()->setConnectedMfMediaType(pictureType());
            other.createMediaObjects();
        }
        // Whoever waits for a job that has not begun does it himself.
        EXPECT_EQ(0, ndi.calls().sendersMade);
    }
    finishJobs();
    EXPECT_EQ(1, ndi.calls().sendersMade);
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersDestroyed == 1; }));
}

TEST_F(NDISinkJobTest, TheEndOfAJobThatNeverWasIsIgnored)
{
    EXPECT_TRUE(QMetaObject::invokeMethod(&node, "asyncSinkCreated", Qt::DirectConnection));
    EXPECT_EQ(MediaNode::Idle, node.status());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkJobTest, AHundredCreationsLeaveNothingBehind)
{
    makeNamed();
    connectVideo(pictureType());
    connectAudio(soundType());
    for (int round = 0; round < 100; ++round) {
        create();
        release();
        ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersMade == calls.sendersDestroyed; }));
    }
}
