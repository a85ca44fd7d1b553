#include "hostfw/ComException.h"
#include "sink/SinkCreation.h"
#include "tests/sink/NodeHarness.h"
#include "tests/support/native/FailingTopologyNodes.h"

using SinkCreationFailureTest = SinkTest;
using SinkNodeFailureTest = SinkNodeTest;

TEST_F(SinkCreationFailureTest, ATopologyNodeThatCannotBeMadeFailsTheCreationWithItsCode)
{
    for (const int made : {0, 1}) {
        const FailingTopologyNodes failing(made, E_OUTOFMEMORY);
        log.clear();
        const auto result = createSinkJob(parameters());
        EXPECT_EQ(E_OUTOFMEMORY, result.hr);
        EXPECT_EQ(QStringLiteral("Error"), result.error);
        EXPECT_FALSE(result.sink);
        EXPECT_FALSE(result.videoNode);
        EXPECT_EQ(1, criticals(" [MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &node)] (HR=0x8007000E)"));
    }
}

TEST_F(SinkNodeFailureTest, ACreationThatFailsBehindItsSenderIsLoggedWithItsMessageAndLeavesNothing)
{
    node.setName(QStringLiteral("Studio"));
    connectVideo(pictureType());
    connectAudio(soundType());
    {
        const FailingTopologyNodes failing(1, E_OUTOFMEMORY);
        node.createMediaObjects();
        ASSERT_TRUE(waitForStatus(MediaNode::Error));
    }
    EXPECT_EQ(1, criticals("NDISink initialization failed: \"Error\""));
    EXPECT_FALSE(node.videoInput()->mfNode());
    EXPECT_TRUE(node.takeMfNodes().empty());
    EXPECT_EQ(1, ndi.calls().sendersMade);
    EXPECT_EQ(1, ndi.calls().sendersDestroyed);
}
