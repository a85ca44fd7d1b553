#include "source/NDISource.h"

#include "format/MetadataEnvelope.h"
#include "source/SourceCreation.h"
#include "tests/source/SourceHarness.h"
#include "tests/support/EventLoop.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>
#include <QtCore/QThreadPool>

namespace
{

// The downstream end of a source's outputs.
class Consumer : public MediaNode
{
public:
    Consumer() { setInputCount(2); }
    void destroyMediaObjects() override {}
    void createMediaObjects() override {}
};

// The slot with its argument as the media source would send it.
class Node : public NDISource
{
public:
    using NDISource::updateMetadata;
};

const NDIInput camera(QStringLiteral("HOST (Camera)"), QStringLiteral("10.0.0.1:5961"));
const NDIInput absent(QStringLiteral("HOST (Absent)"), QStringLiteral("10.0.0.7:5961"));

class NDISourceTest : public SourceTest
{
protected:
    void SetUp() override
    {
        SourceTest::SetUp();
        QObject::connect(&node, &MediaNode::createRequested, [this] { ++createRequests; });
    }
    void TearDown() override
    {
        release();
        EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
        QCoreApplication::processEvents();
        SourceTest::TearDown();
    }

    void connectOutputs(bool video = true, bool audio = true)
    {
        node.videoOutput()->connectTo(video ? consumer.getInput(0) : nullptr);
        node.audioOutput()->connectTo(audio ? consumer.getInput(1) : nullptr);
    }
    // What a host does before it lets go of the node's media objects.
    void release()
    {
        for (NodeOutput *const output : {node.videoOutput(), node.audioOutput()}) {
            CComPtr<IMFMediaSource> source;
            if (output->mfNode() && SUCCEEDED(output->mfNode()->GetUnknown(MF_TOPONODE_SOURCE, __uuidof(IMFMediaSource),
                                                                           reinterpret_cast<void **>(&source))))
                source->Shutdown();
            output->setMfNode(nullptr, 0);
        }
        node.takeMfNodes();
        node.destroyMediaObjects();
    }
    bool waitForStatus(MediaNode::Status status)
    {
        return spinUntil([&] { return node.status() == status; });
    }

    Consumer consumer;
    Node node;
    int createRequests = 0;
};

} // namespace

TEST_F(NDISourceTest, HasItsPropertiesSignalsAndSlotsInOrder)
{
    struct Property {
        const char *name;
        const char *type;
        bool writable;
    };
    const Property properties[] = {
        {"input", "NDIInput", true},     {"probeTime", "uint", true},           {"delay", "uint", true},
        {"tallyProgram", "bool", true},  {"tallyPreview", "bool", true},        {"hardwareSamples", "bool", true},
        {"metadata", "QVariant", false}, {"videoOutput", "NodeOutput*", false}, {"audioOutput", "NodeOutput*", false},
    };
    const QMetaObject &meta = NDISource::staticMetaObject;
    ASSERT_EQ(9, meta.propertyCount() - meta.propertyOffset());
    for (int index = 0; index < 9; ++index) {
        const QMetaProperty property = meta.property(meta.propertyOffset() + index);
        EXPECT_STREQ(properties[index].name, property.name());
        EXPECT_STREQ(properties[index].type, property.typeName());
        EXPECT_TRUE(property.isReadable());
        EXPECT_EQ(properties[index].writable, property.isWritable()) << property.name();
        EXPECT_EQ(QByteArray(properties[index].name) + "Changed()", property.notifySignal().methodSignature());
    }
    const QByteArray methods[] = {"inputChanged()",           "probeTimeChanged()",        "delayChanged()",
                                  "tallyProgramChanged()",    "tallyPreviewChanged()",     "metadataChanged()",
                                  "hardwareSamplesChanged()", "videoOutputChanged()",      "audioOutputChanged()",
                                  "asyncCreationFinished()",  "updateMetadata(QByteArray)"};
    ASSERT_EQ(11, meta.methodCount() - meta.methodOffset());
    for (int index = 0; index < 11; ++index) {
        const QMetaMethod method = meta.method(meta.methodOffset() + index);
        EXPECT_EQ(methods[index], method.methodSignature());
        EXPECT_EQ(index < 9 ? QMetaMethod::Signal : QMetaMethod::Slot, method.methodType());
        EXPECT_EQ(index < 9 ? QMetaMethod::Public : QMetaMethod::Protected, method.access());
    }
}

TEST_F(NDISourceTest, StartsWithItsDefaults)
{
    EXPECT_TRUE(node.input() == NDIInput());
    EXPECT_EQ(2'500'000u, node.probeTime());
    EXPECT_EQ(0u, node.delay());
    EXPECT_FALSE(node.tallyProgram());
    EXPECT_FALSE(node.tallyPreview());
    EXPECT_FALSE(node.hardwareSamples());
    EXPECT_FALSE(node.metadata().isValid());
    EXPECT_EQ(2, node.outputCount());
    EXPECT_EQ(0, node.inputCount());
    EXPECT_EQ(node.getOutput(0), node.videoOutput());
    EXPECT_EQ(node.getOutput(1), node.audioOutput());
    EXPECT_EQ(MediaNode::Idle, node.status());
}

TEST_F(NDISourceTest, WritingTheSameInputTwiceAsksForOneCreation)
{
    int changes = 0;
    QObject::connect(&node, &NDISource::inputChanged, [&] { ++changes; });
    node.setInput(camera);
    node.setInput(camera);
    EXPECT_EQ(1, createRequests);
    EXPECT_EQ(1, changes);
}

TEST_F(NDISourceTest, TimesAreWrittenInMillisecondsAndReadInHundredNanoseconds)
{
    int changes = 0;
    QObject::connect(&node, &NDISource::probeTimeChanged, [&] { ++changes; });
    QObject::connect(&node, &NDISource::delayChanged, [&] { ++changes; });
    node.setProbeTime(250);
    EXPECT_EQ(0, changes);
    node.setProbeTime(300);
    node.setDelay(250);
    EXPECT_EQ(2, changes);
    EXPECT_EQ(3'000'000u, node.probeTime());
    EXPECT_EQ(2'500'000u, node.delay());
    EXPECT_EQ(0, createRequests);
}

TEST_F(NDISourceTest, OnlyHardwareSamplesOfTheFlagsAskForACreation)
{
    node.setTallyProgram(true);
    node.setTallyPreview(true);
    EXPECT_EQ(0, createRequests);
    node.setHardwareSamples(true);
    node.setHardwareSamples(true);
    EXPECT_EQ(1, createRequests);
}

TEST_F(NDISourceTest, AnInputWithoutANameStartsNoJobAndLeavesTheStatus)
{
    connectOutputs();
    node.createMediaObjects();
    EXPECT_EQ(MediaNode::Idle, node.status());
    EXPECT_TRUE(ndi.calls().findSettings.empty());
}

TEST_F(NDISourceTest, ASenderThatIsThereIsCreatedAndHandsOverItsNodes)
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

TEST_F(NDISourceTest, WithAudioAloneThereIsNoVideoNode)
{
    connectOutputs(false, true);
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    EXPECT_FALSE(node.videoOutput()->mfNode());
    EXPECT_TRUE(node.audioOutput()->mfNode());
}

TEST_F(NDISourceTest, WithNothingConnectedTheJobEndsInAnError)
{
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "No NDI streams found"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [result.status] (HR=0x80004005)"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "NDI source creation failed: \"Error\""));
}

TEST_F(NDISourceTest, WithoutAFinderTheJobEndsInAnError)
{
    ndi.refuseFinders(true);
    connectOutputs();
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Error));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [result.status] (HR=0x80004003)"));
}

TEST_F(NDISourceTest, ATallySetBeforeThereIsASourceReachesTheOneCreatedLater)
{
    connectOutputs();
    node.setTallyPreview(true);
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) {
        return !calls.tallies.empty() && calls.tallies.back().on_preview && !calls.tallies.back().on_program;
    }));
    node.setTallyProgram(true);
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.tallies.back().on_program; }));
}

TEST_F(NDISourceTest, ASearchIsCancelledByAnotherInputWhoseResultAloneArrives)
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

TEST_F(NDISourceTest, ASenderThatIsNeverListedKeepsItsJobUntilTheNodeCancelsIt)
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

TEST_F(NDISourceTest, ACancelledJobTellsSoInItsResult)
{
    SourceParameters params = parameters();
    params.input = absent;
    params.cancellationToken->cancel();
    const auto result = createSourceJob(params);
    EXPECT_EQ(HRESULT(0x800704C7), result.status);
    EXPECT_FALSE(result.source);
    EXPECT_TRUE(result.message.isEmpty());
}

TEST_F(NDISourceTest, AJobsResultHoldsNodesForWantedStreamsOnly)
{
    auto result = createSourceJob(parameters(false, true));
    EXPECT_EQ(S_OK, result.status);
    EXPECT_FALSE(result.videoNode);
    EXPECT_TRUE(result.audioNode);
    result.source->Shutdown();
}

TEST_F(NDISourceTest, AChangeDownstreamAsksForOneCreationHoweverOftenTheSourceWasMade)
{
    connectOutputs();
    node.setInput(camera);
    for (int round = 0; round < 3; ++round) {
        release();
        node.createMediaObjects();
        ASSERT_TRUE(waitForStatus(MediaNode::Created));
    }
    createRequests = 0;
    node.audioOutput()->connectTo(nullptr);
    EXPECT_EQ(1, createRequests);
}

TEST_F(NDISourceTest, MetadataOfASenderBecomesTheProperty)
{
    int changes = 0;
    QObject::connect(&node, &NDISource::metadataChanged, [&] { ++changes; });
    const QByteArray envelope = encodeMetadata(QVariantMap{{"camera", 1}});
    node.updateMetadata(envelope);
    node.updateMetadata(envelope);
    EXPECT_EQ(1, changes);
    EXPECT_EQ((QVariantMap{{"camera", 1}}), node.metadata().toMap());
    for (const char *text : {"", "hello", "<other/>", "<tvx>%%%</tvx>", "<tvx><![CDATA[AAAA]]></tvx>"})
        node.updateMetadata(text);
    EXPECT_EQ(1, changes);
    EXPECT_TRUE(node.metadata().isValid());
}

TEST_F(NDISourceTest, MetadataFromTheNetworkArrivesOnTheNodesThread)
{
    connectOutputs();
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    CComPtr<IMFMediaSource> face;
    node.videoOutput()->mfNode()->GetUnknown(MF_TOPONODE_SOURCE, __uuidof(IMFMediaSource),
                                             reinterpret_cast<void **>(&face));
    start(static_cast<NDISourceMF *>(face.p));
    ndi.pushMetadata(encodeMetadata(QStringLiteral("on air")).toStdString());
    ndi.pushVideo(videoFrame(64, 36, 10'000'000), noise(64 * 2 * 36));
    ASSERT_TRUE(requestSample(streams[0]));
    EXPECT_TRUE(spinUntil([&] { return node.metadata() == QVariant(QStringLiteral("on air")); }));
    face->Shutdown();
}

TEST_F(NDISourceTest, AHundredCreationsLeaveNothingBehind)
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
