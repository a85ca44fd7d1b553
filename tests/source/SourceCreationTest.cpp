#include "source/SourceCreation.h"

#include "plugin/AsyncOperationInterrupted.h"
#include "tests/source/NodeHarness.h"

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QElapsedTimer>
#include <QtCore/QThreadPool>

#include <future>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

class SourceCreationTest : public NodeTest
{
};

} // namespace

TEST_F(SourceCreationTest, AnInputWithoutANameStartsNoJobAndLeavesTheStatus)
{
    connectOutputs();
    node.createMediaObjects();
    EXPECT_EQ(MediaNode::Idle, node.status());
    EXPECT_TRUE(ndi.calls().findSettings.empty());
}

TEST_F(SourceCreationTest, ASenderThatIsThereIsCreatedAndHandsOverItsNodes)
{
    int changes = 0;
    QObject::connect(&node, &NDISource::videoOutputChanged, [&] { ++changes; });
    QObject::connect(&node, &NDISource::audioOutputChanged, [&] { ++changes; });
    connectOutputs();
    node.setInput(camera);
    node.createMediaObjects();
    EXPECT_EQ(MediaNode::Creating, node.status());
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    EXPECT_EQ(2, changes);
    EXPECT_TRUE(node.videoOutput()->mfNode());
    EXPECT_TRUE(node.audioOutput()->mfNode());
    EXPECT_EQ(2u, node.takeMfNodes().size());
    EXPECT_EQ(1, log.count(QtDebugMsg, sourceLog, "NDI source created"));
}

TEST_F(SourceCreationTest, TheOutputsHaveChangedBeforeTheNodeIsCreated)
{
    connectOutputs();
    node.setInput(camera);
    std::vector<std::string> order;
    const auto note = [&](const char *what) {
        order.push_back(what + std::string(" while status ") + std::to_string(node.status()));
    };
    QObject::connect(&node, &NDISource::videoOutputChanged, [&] { note("video"); });
    QObject::connect(&node, &NDISource::audioOutputChanged, [&] { note("audio"); });
    QObject::connect(&node, &MediaNode::statusChanged, [&] { note("status"); });
    create();
    EXPECT_EQ((std::vector<std::string>{"status while status 2", "video while status 2", "audio while status 2",
                                        "status while status 3"}),
              order);
}

TEST_F(SourceCreationTest, WithAudioAloneThereIsNoVideoNode)
{
    connectOutputs(false, true);
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    EXPECT_FALSE(node.videoOutput()->mfNode());
    EXPECT_TRUE(node.audioOutput()->mfNode());
}

TEST_F(SourceCreationTest, WithNothingConnectedTheJobEndsInAnError)
{
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "No NDI streams found"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [result.status] (HR=0x80004005)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "NDI source creation failed: \"Error\""));
}

TEST_F(SourceCreationTest, WithoutAFinderTheJobEndsInAnError)
{
    ndi.refuseFinders(true);
    connectOutputs();
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [finder is null]"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "Null pointer"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [result.status] (HR=0x80004003)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "NDI source creation failed: \"Error\""));
    EXPECT_EQ(4U, log.lines().size());
}

TEST_F(SourceCreationTest, ASearchThatEndsAsCancelledIsToldAsInformationAndLeavesTheStatus)
{
    ndi.setWaitHook([] { throw AsyncOperationInterrupted(); });
    connectOutputs();
    node.setInput(absent);
    node.createMediaObjects();
    EXPECT_TRUE(spinUntil([&] { return !log.lines().empty(); }));
    EXPECT_EQ(MediaNode::Creating, node.status());
    EXPECT_EQ(1, log.count(QtInfoMsg, sourceLog, "NDI source creation was cancelled, because it was no longer needed"));
    EXPECT_EQ(1U, log.lines().size());
    EXPECT_EQ(1, ndi.calls().findersMade);
    EXPECT_EQ(1, ndi.calls().findersDestroyed);
}

TEST_F(SourceCreationTest, AnUnexpectedExceptionLeavesTheNodeCreatingWithNothingLogged)
{
    ndi.setWaitHook([] { throw std::runtime_error("not foreseen"); });
    connectOutputs();
    node.setInput(absent);
    node.createMediaObjects();
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
    QCoreApplication::processEvents();
    EXPECT_EQ(MediaNode::Creating, node.status());
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(1, ndi.calls().findersMade);
    EXPECT_EQ(1, ndi.calls().findersDestroyed);
}

TEST_F(SourceCreationTest, ACreationThatBeginsWhenTheStatusIsHeardIsHeardToo)
{
    connectOutputs();
    node.setInput(camera);
    bool again = true;
    QObject::connect(&node, &MediaNode::statusChanged, [&] {
        if (node.status() == MediaNode::Created && std::exchange(again, false))
            node.createMediaObjects();
    });
    node.createMediaObjects();
    EXPECT_TRUE(spinUntil([&] { return !again && node.status() == MediaNode::Created; }));
    EXPECT_EQ(2, ndi.calls().receiversMade);
    EXPECT_EQ(4u, node.takeMfNodes().size());
}

TEST_F(SourceCreationTest, ASearchIsCancelledByAnotherInputWhoseResultAloneArrives)
{
    connectOutputs();
    node.setInput(absent);
    node.createMediaObjects();
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 1; }));
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    EXPECT_EQ(1, ndi.calls().receiversMade);
    EXPECT_GE(log.count(QtDebugMsg, sourceLog, "Async source creation cancelled"), 1);
    EXPECT_EQ(0, log.countContaining("no longer needed"));
}

TEST_F(SourceCreationTest, AnAbandonedJobThatHasFoundItsSenderLetsItGoAgain)
{
    connectOutputs();
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversMade == 1; }));
    // The node has not heard of it: its events wait.
    node.setInput(NDIInput());
    node.createMediaObjects();
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    QCoreApplication::processEvents();
    EXPECT_FALSE(madeSource());
    EXPECT_EQ(MediaNode::Creating, node.status());
}

TEST_F(SourceCreationTest, ASenderThatIsNeverListedKeepsItsJobUntilTheNodeCancelsIt)
{
    connectOutputs();
    node.setInput(absent);
    node.createMediaObjects();
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 3; }));
    EXPECT_EQ(MediaNode::Creating, node.status());
    QElapsedTimer clock;
    clock.start();
    node.destroyMediaObjects();
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
    EXPECT_LT(clock.elapsed(), 1000);
    EXPECT_EQ(MediaNode::Creating, node.status());
}

TEST_F(SourceCreationTest, ACancelledJobTellsSoInItsResult)
{
    SourceParameters params = parameters();
    params.input = absent;
    params.cancellationToken->cancel();
    const auto result = createSourceJob(params);
    EXPECT_EQ(HRESULT(0x800704C7), result.status);
    EXPECT_FALSE(result.source);
    EXPECT_TRUE(result.message.isEmpty());
}

TEST_F(SourceCreationTest, AJobsResultHoldsNodesForWantedStreamsOnly)
{
    auto result = createSourceJob(parameters(false, true));
    EXPECT_EQ(S_OK, result.status);
    EXPECT_FALSE(result.videoNode);
    EXPECT_TRUE(result.audioNode);
    result.source->Shutdown();
}

TEST_F(SourceCreationTest, AHundredCreationsLeaveNothingBehind)
{
    connectOutputs();
    node.setInput(camera);
    for (int round = 0; round < 100; ++round) {
        node.createMediaObjects();
        ASSERT_TRUE(waitForStatus(MediaNode::Created));
        release();
        ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversMade == calls.receiversDestroyed; }));
    }
}

TEST_F(SourceCreationTest, AnInputThatLosesItsNameCancelsTheRunningJob)
{
    connectOutputs();
    node.setInput(absent);
    node.createMediaObjects();
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 1; }));
    node.setInput(NDIInput());
    node.createMediaObjects();
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
    EXPECT_EQ(MediaNode::Creating, node.status());
    EXPECT_EQ(1, ndi.calls().findersMade);
    EXPECT_EQ(1, log.count(QtDebugMsg, sourceLog, "Async source creation cancelled"));
}

TEST_F(SourceCreationTest, TheFirstCreationCancelsNothing)
{
    connectOutputs();
    node.setInput(camera);
    create();
    EXPECT_EQ(0, log.count(QtDebugMsg, sourceLog, "Async source creation cancelled"));
}

TEST_F(SourceCreationTest, AJobThatIsCancelledBeforeItHasAThreadDoesNotRun)
{
    connectOutputs();
    node.setInput(camera);
    QThreadPool *const pool = QThreadPool::globalInstance();
    const int threads = pool->maxThreadCount();
    pool->setMaxThreadCount(1);
    std::promise<void> leave;
    QtConcurrent::run([&leave] { leave.get_future().wait(); });
    node.createMediaObjects();
    EXPECT_EQ(MediaNode::Creating, node.status());
    node.destroyMediaObjects();
    leave.set_value();
    EXPECT_TRUE(pool->waitForDone(20000));
    pool->setMaxThreadCount(threads);
    EXPECT_EQ(0, ndi.calls().findersMade);
    EXPECT_EQ(MediaNode::Creating, node.status());
}

TEST_F(SourceCreationTest, WithoutAReceiverTheJobEndsInAnError)
{
    ndi.refuseReceivers(true);
    connectOutputs();
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [reciever is null]"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "Null pointer"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [result.status] (HR=0x80004003)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "NDI source creation failed: \"Error\""));
}

TEST_F(SourceCreationTest, AFailedJobsResultHoldsNoSourceAndTheMessageError)
{
    const auto result = createSourceJob(parameters(false, false));
    EXPECT_EQ(E_FAIL, result.status);
    EXPECT_EQ(QStringLiteral("Error"), result.message);
    EXPECT_FALSE(result.source);
    EXPECT_FALSE(result.videoNode);
    EXPECT_FALSE(result.audioNode);
}

TEST_F(SourceCreationTest, ANodeWithoutAJobIgnoresTheEndOfOne)
{
    node.asyncCreationFinished();
    EXPECT_EQ(MediaNode::Idle, node.status());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SourceCreationTest, AnErrorIsLeftBehindByTheNextCreation)
{
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    connectOutputs();
    create();
    EXPECT_TRUE(madeSource());
}

TEST_F(SourceCreationTest, SeveralAbandonedSearchesEndTogether)
{
    connectOutputs();
    for (int index = 0; index < 4; ++index) {
        node.setInput(NDIInput(QStringLiteral("HOST (Absent %1)").arg(index), QString()));
        node.createMediaObjects();
    }
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 1; }));
    node.destroyMediaObjects();
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
    EXPECT_EQ(ndi.calls().findersMade, ndi.calls().findersDestroyed);
    EXPECT_EQ(0, ndi.calls().receiversMade);
}
