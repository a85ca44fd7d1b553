#include "format/MetadataEnvelope.h"
#include "tests/source/NodeHarness.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>
#include <QtCore/QThread>

namespace
{

class NDISourceTest : public NodeTest
{
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
    node.setProbeTime(300);
    EXPECT_EQ(3'000'000u, node.probeTime());
    node.setProbeTime(250);
    EXPECT_EQ(2'500'000u, node.probeTime());
    node.setDelay(250);
    EXPECT_EQ(2'500'000u, node.delay());
    EXPECT_EQ(3, changes);
    EXPECT_EQ(0, createRequests);
}

TEST_F(NDISourceTest, ATimeWrittenAgainIsNoChange)
{
    node.setProbeTime(300);
    node.setDelay(300);
    int changes = 0;
    QObject::connect(&node, &NDISource::probeTimeChanged, [&] { ++changes; });
    QObject::connect(&node, &NDISource::delayChanged, [&] { ++changes; });
    node.setProbeTime(300);
    node.setDelay(300);
    EXPECT_EQ(0, changes);
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
}

TEST_F(NDISourceTest, ForeignOrDamagedMetadataLeavesThePropertyAsItIs)
{
    const QVariant value = QVariantMap{{"camera", 1}};
    node.updateMetadata(encodeMetadata(value));
    int changes = 0;
    QObject::connect(&node, &NDISource::metadataChanged, [&] { ++changes; });
    for (const char *text : {"", "hello", "<other/>", "<tvx>%%%</tvx>", "<tvx><![CDATA[AAAA]]></tvx>"}) {
        node.updateMetadata(text);
        EXPECT_EQ(value, node.metadata()) << text;
    }
    EXPECT_EQ(0, changes);
}

TEST_F(NDISourceTest, MetadataFromTheNetworkArrivesOnTheNodesThread)
{
    connectOutputs();
    node.setInput(camera);
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    start(madeSource());
    QThread *thread = nullptr;
    QObject::connect(
        &node, &NDISource::metadataChanged, &node, [&] { thread = QThread::currentThread(); }, Qt::DirectConnection);
    ndi.pushMetadata(encodeMetadata(QStringLiteral("on air")).toStdString());
    ndi.pushVideo(videoFrame(64, 36, 10'000'000), noise(64 * 2 * 36));
    ASSERT_TRUE(requestSample(streams[0]));
    ASSERT_TRUE(spinUntil([&] { return node.metadata() == QVariant(QStringLiteral("on air")); }));
    EXPECT_EQ(node.thread(), thread);
}

TEST_F(NDISourceTest, ASourceThatAsksForANewSessionIsMadeAgainUntilItIsLetGo)
{
    connectOutputs();
    node.setInput(camera);
    create();
    const auto source = madeSource();
    createRequests = 0;
    Q_EMIT source->sessionRecreationRequested();
    EXPECT_TRUE(spinUntil([&] { return createRequests == 1; }));
    release();
    Q_EMIT source->sessionRecreationRequested();
    Q_EMIT source->metadataRecieved(encodeMetadata(QStringLiteral("late")));
    QCoreApplication::processEvents();
    EXPECT_EQ(1, createRequests);
    EXPECT_FALSE(node.metadata().isValid());
}

TEST_F(NDISourceTest, HardwareSamplesAndDelayTakeEffectAtTheNextCreation)
{
    connectOutputs();
    node.setInput(camera);
    node.setHardwareSamples(true);
    create();
    EXPECT_TRUE(madeSource()->hardwareSamples());
    release();
    node.setHardwareSamples(false);
    node.setDelay(90'000);
    create();
    const auto source = madeSource();
    EXPECT_FALSE(source->hardwareSamples());
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 10'000'000), noise(64 * 2 * 36));
    EXPECT_GE(timeOf(requestSample(streams[0])), 900'000'000);
}

TEST_F(NDISourceTest, EachTallyLightIsSentAtOnceAndOnlyWhenItChanges)
{
    connectOutputs();
    node.setInput(camera);
    create();
    int changes = 0;
    QObject::connect(&node, &NDISource::tallyProgramChanged, [&] { ++changes; });
    QObject::connect(&node, &NDISource::tallyPreviewChanged, [&] { ++changes; });
    node.setTallyProgram(true);
    node.setTallyProgram(true);
    node.setTallyPreview(true);
    node.setTallyProgram(false);
    EXPECT_EQ(3, changes);
    // One of the receiver's making, one of the creation's end, three of the changes.
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.tallies.size() == 5; }));
    const auto tallies = ndi.calls().tallies;
    const bool expected[][2] = {{false, false}, {false, false}, {true, false}, {true, true}, {false, true}};
    for (size_t index = 0; index < 5; ++index) {
        EXPECT_EQ(expected[index][0], tallies[index].on_program) << index;
        EXPECT_EQ(expected[index][1], tallies[index].on_preview) << index;
    }
}
