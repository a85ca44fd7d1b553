#include "source/SourceCreation.h"
#include "tests/source/NodeHarness.h"
#include "tests/source/native/MadeUpSourceNodes.h"
#include "tests/support/native/FailingMediaCalls.h"
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

TEST_F(SourceCreationFailureTest, ANodeOfAStreamThatWasNotWantedIsNotKept)
{
    for (const bool video : {true, false}) {
        const MadeUpSourceNodes nodes(MadeUpSourceNodes::Kind::NodeOfAbsentStream,
                                      video ? MFMediaType_Audio : MFMediaType_Video);
        const auto result = createSourceJob(parameters(video, !video));
        EXPECT_EQ(S_OK, result.status);
        EXPECT_EQ(video, bool(result.videoNode));
        EXPECT_EQ(!video, bool(result.audioNode));
        ASSERT_TRUE(result.source);
        result.source->Shutdown();
    }
}

TEST_F(SourceCreationFailureTest, AStreamThatCannotBeSelectedFailsTheCreation)
{
    const struct {
        const GUID &majorType;
        const char *line;
    } cases[] = {
        {MFMediaType_Video, " [descriptor->SelectStream(descriptorIndexVideo)] (HR=0x80070057)"},
        {MFMediaType_Audio, " [descriptor->SelectStream(descriptorIndexAudio)] (HR=0x80070057)"},
    };
    connectOutputs();
    node.setInput(camera);
    for (const auto &each : cases) {
        const MadeUpSourceNodes nodes(MadeUpSourceNodes::Kind::IndexBeyondTheLast, each.majorType);
        log.clear();
        node.createMediaObjects();
        ASSERT_EQ(MediaNode::Creating, node.status());
        ASSERT_TRUE(waitForStatus(MediaNode::Error));
        EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, each.line)) << each.line;
        EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "NDI source creation failed: \"Error\""));
        EXPECT_TRUE(node.takeMfNodes().empty());
        release();
    }
}

TEST_F(SourceCreationFailureTest, StreamsThatCannotBePresentedFailTheConstruction)
{
    const FailingMediaCall failing(MediaCall::CreatePresentationDescriptor, E_OUTOFMEMORY);
    HRESULT hr = S_OK;
    const CComPtr<NDISourceMF> source(new NDISourceMF(hr, parameters()));
    watch(source);
    EXPECT_EQ(E_OUTOFMEMORY, hr);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [CBaseSource::Initialize(streams)] (HR=0x8007000E)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "Error"));
}

TEST_F(SourceCreationFailureTest, ANodeWhoseStreamsCannotBePresentedEndsInAnError)
{
    const FailingMediaCall failing(MediaCall::CreatePresentationDescriptor, E_OUTOFMEMORY);
    connectOutputs();
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [result.status] (HR=0x8007000E)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "NDI source creation failed: \"Error\""));
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
}
