#include "source/SourceCreation.h"
#include "tests/source/NodeHarness.h"
#include "tests/support/native/FailingTopologyNodes.h"

using SourceCreationFailureTest = NodeTest;

TEST_F(SourceCreationFailureTest, AFailureAfterTheVideoNodeLeavesThatNodeInTheFailedResult)
{
    const FailingTopologyNodes failing(1, E_OUTOFMEMORY);
    const auto result = createSourceJob(parameters());
    EXPECT_EQ(E_OUTOFMEMORY, result.status);
    EXPECT_TRUE(result.videoNode);
    EXPECT_FALSE(result.audioNode);
    EXPECT_FALSE(result.source);
}

TEST_F(SourceCreationFailureTest, ANodeIgnoresTheNodesOfAFailedResult)
{
    const FailingTopologyNodes failing(1, E_OUTOFMEMORY);
    connectOutputs();
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    EXPECT_TRUE(node.takeMfNodes().empty());
    EXPECT_FALSE(node.videoOutput()->mfNode());
}
