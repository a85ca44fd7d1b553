#include "hostfw/ComException.h"
#include "sink/SinkCreation.h"
#include "tests/sink/SinkHarness.h"
#include "tests/support/native/FailingTopologyNodes.h"

using SinkCreationFailureTest = SinkTest;

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
