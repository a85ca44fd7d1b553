#include "sink/NDISink.h"

#include "format/MetadataEnvelope.h"
#include "tests/sink/NodeHarness.h"

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QCoreApplication>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>
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

class NDISinkTest : public SinkNodeTest
{
protected:
    void makeNamed()
    {
        node.setName(QStringLiteral("Studio"));
        createRequests = 0;
    }
    std::vector<QVariant> sentValues()
    {
        std::vector<QVariant> values;
        for (const auto &sent : ndi.calls().sentMetadata)
            values.push_back(decodeMetadata(QByteArray::fromStdString(sent.text.value_or(""))));
        return values;
    }
    bool waitForMetadata(size_t count)
    {
        return ndi.waitFor([&](const auto &calls) { return calls.sentMetadata.size() == count; });
    }
};

} // namespace

TEST_F(NDISinkTest, HasItsPropertiesSignalsAndSlotsInOrder)
{
    struct Property {
        const char *name;
        const char *type;
        bool writable;
        const char *notify;
    };
    const Property properties[] = {
        {"name", "QString", true, "nameChanged()"},
        {"metadata", "QVariant", true, "metadataChanged()"},
        {"videoInput", "NodeInput*", false, ""},
        {"audioInput", "NodeInput*", false, ""},
    };
    const QMetaObject &meta = NDISink::staticMetaObject;
    EXPECT_STREQ("NDISink", meta.className());
    EXPECT_EQ(&MediaNode::staticMetaObject, meta.superClass());
    ASSERT_EQ(4, meta.propertyCount() - meta.propertyOffset());
    for (int index = 0; index < 4; ++index) {
        const QMetaProperty property = meta.property(meta.propertyOffset() + index);
        EXPECT_STREQ(properties[index].name, property.name());
        EXPECT_STREQ(properties[index].type, property.typeName());
        EXPECT_TRUE(property.isReadable());
        EXPECT_EQ(properties[index].writable, property.isWritable()) << property.name();
        EXPECT_EQ(properties[index].notify, property.notifySignal().methodSignature());
        EXPECT_FALSE(property.isResettable());
        // The inputs stay: scenes bind links to them.
        EXPECT_EQ(property.typeName() == QByteArray("NodeInput*"), property.isConstant()) << property.name();
    }
    const QByteArray methods[] = {"outputChanged()", "nameChanged()", "metadataChanged()", "asyncSinkCreated()"};
    ASSERT_EQ(4, meta.methodCount() - meta.methodOffset());
    for (int index = 0; index < 4; ++index) {
        const QMetaMethod method = meta.method(meta.methodOffset() + index);
        EXPECT_EQ(methods[index], method.methodSignature());
        EXPECT_STREQ("void", method.typeName());
        EXPECT_EQ(index < 3 ? QMetaMethod::Signal : QMetaMethod::Slot, method.methodType());
        EXPECT_EQ(index < 3 ? QMetaMethod::Public : QMetaMethod::Private, method.access());
    }
    EXPECT_EQ(0, meta.enumeratorCount() - meta.enumeratorOffset());
    EXPECT_EQ(0, meta.constructorCount());
}

TEST_F(NDISinkTest, StartsWithItsDefaults)
{
    EXPECT_TRUE(node.name().isEmpty());
    EXPECT_FALSE(node.metadata().isValid());
    EXPECT_EQ(2, node.inputCount());
    EXPECT_EQ(0, node.outputCount());
    EXPECT_EQ(node.getInput(0), node.videoInput());
    EXPECT_EQ(node.getInput(1), node.audioInput());
    EXPECT_EQ(MediaNode::Idle, node.status());
}

TEST_F(NDISinkTest, AnotherNameIsToldAndAsksForACreationAfterwards)
{
    std::vector<QString> heard;
    QObject::connect(&node, &NDISink::nameChanged, [&] { heard.push_back("name " + node.name()); });
    QObject::connect(&node, &MediaNode::createRequested, [&] { heard.push_back("create"); });
    node.setName(QStringLiteral("Studio"));
    EXPECT_EQ((std::vector<QString>{"name Studio", "create"}), heard);
}

TEST_F(NDISinkTest, TheSameNameTellsNothingAndAsksForNothing)
{
    makeNamed();
    int changes = 0;
    QObject::connect(&node, &NDISink::nameChanged, [&] { ++changes; });
    node.setName(QStringLiteral("Studio"));
    EXPECT_EQ(0, changes);
    EXPECT_EQ(0, createRequests);
}

TEST_F(NDISinkTest, MetadataIsToldWhenItChangesAndAsksForNoCreation)
{
    int changes = 0;
    QObject::connect(&node, &NDISink::metadataChanged, [&] { ++changes; });
    node.setMetadata(QStringLiteral("on air"));
    node.setMetadata(QStringLiteral("on air"));
    EXPECT_EQ(1, changes);
    EXPECT_EQ(QVariant(QStringLiteral("on air")), node.metadata());
    node.setMetadata(QVariant());
    EXPECT_EQ(2, changes);
    EXPECT_FALSE(node.metadata().isValid());
    EXPECT_EQ(0, createRequests);
}

TEST_F(NDISinkTest, MetadataThatWasSetBeforeThereIsASinkIsSentRightAfterTheNextCreation)
{
    node.setMetadata(QVariantMap{{"camera", 1}});
    makeNamed();
    connectVideo(pictureType());
    EXPECT_TRUE(ndi.calls().sentMetadata.empty());
    create();
    ASSERT_TRUE(waitForMetadata(1));
    EXPECT_EQ(QVariant(QVariantMap{{"camera", 1}}), sentValues()[0]);
}

TEST_F(NDISinkTest, MetadataIsSentAtOnceWhenItChangesUnlessItIsInvalid)
{
    makeNamed();
    connectVideo(pictureType());
    create();
    node.setMetadata(1);
    node.setMetadata(1);
    node.setMetadata(QVariant());
    node.setMetadata(2);
    ASSERT_TRUE(waitForMetadata(2));
    EXPECT_EQ((std::vector<QVariant>{1, 2}), sentValues());
    EXPECT_EQ(1, ndi.calls().sendersMade);
}

TEST_F(NDISinkTest, WithoutMetadataNoneIsSentAtTheCreation)
{
    makeNamed();
    connectVideo(pictureType());
    create();
    node.setMetadata(QStringLiteral("first"));
    ASSERT_TRUE(waitForMetadata(1));
    EXPECT_EQ((std::vector<QVariant>{QStringLiteral("first")}), sentValues());
}

TEST_F(NDISinkTest, WithAnEmptyNameNothingIsCreatedAndTheStatusStays)
{
    connectVideo(pictureType());
    node.createMediaObjects();
    finishJobs();
    EXPECT_EQ(MediaNode::Idle, node.status());
    EXPECT_TRUE(ndi.calls().senderSettings.empty());
}

TEST_F(NDISinkTest, WithNoInputConnectedNothingIsCreated)
{
    makeNamed();
    node.createMediaObjects();
    finishJobs();
    EXPECT_EQ(MediaNode::Idle, node.status());
    EXPECT_TRUE(ndi.calls().senderSettings.empty());
}

TEST_F(NDISinkTest, WithAudioAloneThereIsOneStreamAndANodeOnTheAudioInputOnly)
{
    makeNamed();
    connectAudio(soundType());
    create();
    EXPECT_FALSE(node.videoInput()->mfNode());
    ASSERT_TRUE(node.audioInput()->mfNode());
    EXPECT_EQ(1u, node.takeMfNodes().size());
    const auto stream = streamOf(node.audioInput());
    DWORD identifier = 99;
    EXPECT_EQ(S_OK, stream->GetIdentifier(&identifier));
    EXPECT_EQ(0u, identifier);
    CComPtr<IMFMediaSink> owner;
    stream->GetMediaSink(&owner);
    DWORD count = 0;
    owner->GetStreamSinkCount(&count);
    EXPECT_EQ(1u, count);
}

TEST_F(NDISinkTest, WithBothInputsTypedEachGetsItsOutputNode)
{
    makeNamed();
    connectVideo(pictureType());
    connectAudio(soundType());
    node.createMediaObjects();
    EXPECT_EQ(MediaNode::Creating, node.status());
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
    const auto nodes = node.takeMfNodes();
    ASSERT_EQ(2u, nodes.size());
    EXPECT_EQ(nodes[0].p, node.videoInput()->mfNode());
    EXPECT_EQ(nodes[1].p, node.audioInput()->mfNode());
    EXPECT_EQ(0, node.videoInput()->mfStreamIndex());
    EXPECT_EQ(0, node.audioInput()->mfStreamIndex());
    const GUID types[] = {MFMediaType_Video, MFMediaType_Audio};
    for (size_t index = 0; index < 2; ++index) {
        MF_TOPOLOGY_TYPE kind = MF_TOPOLOGY_MAX;
        nodes[index]->GetNodeType(&kind);
        EXPECT_EQ(MF_TOPOLOGY_OUTPUT_NODE, kind);
        GUID type = GUID_NULL;
        handlerOf(streamOf(node.getInput(static_cast<int>(index))))->GetMajorType(&type);
        EXPECT_TRUE(IsEqualGUID(types[index], type));
    }
    EXPECT_EQ(std::string("Studio"), ndi.calls().senderSettings.at(0).name);
    EXPECT_EQ(0, log.countContaining("initialization failed"));
}

TEST_F(NDISinkTest, WithVideoConnectedButNotTypedNothingIsCreatedUntilItIs)
{
    makeNamed();
    connectVideo(nullptr);
    connectAudio(soundType());
    node.createMediaObjects();
    finishJobs();
    EXPECT_EQ(MediaNode::Idle, node.status());
    EXPECT_TRUE(ndi.calls().senderSettings.empty());
    connectVideo(pictureType());
    create();
    EXPECT_TRUE(node.videoInput()->mfNode());
    EXPECT_TRUE(node.audioInput()->mfNode());
}

TEST_F(NDISinkTest, WithAudioConnectedButNotTypedNothingIsCreatedUntilItIs)
{
    makeNamed();
    connectVideo(pictureType());
    connectAudio(nullptr);
    node.createMediaObjects();
    finishJobs();
    EXPECT_EQ(MediaNode::Idle, node.status());
    connectAudio(soundType());
    create();
    EXPECT_TRUE(node.audioInput()->mfNode());
}

TEST_F(NDISinkTest, WithoutASenderTheCreationFailsAndTheNextOneTriesAgain)
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

TEST_F(NDISinkTest, AFailedCreationLeavesTheSinkBeforeItInPlace)
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

TEST_F(NDISinkTest, ASecondCreationReplacesTheSinkBeforeItUnderTheNewName)
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

TEST_F(NDISinkTest, ACreationThatBeginsWhenTheStatusIsHeardIsHeardToo)
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

TEST_F(NDISinkTest, ADestroyedNodeHoldsNoSink)
{
    makeNamed();
    connectVideo(pictureType());
    create();
    release();
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersDestroyed == 1; }));
    node.setMetadata(QStringLiteral("nobody hears"));
    EXPECT_TRUE(ndi.calls().sentMetadata.empty());
}

TEST_F(NDISinkTest, TheTopologyKeepsTheSinkThatTheNodeHasLetGo)
{
    makeNamed();
    connectVideo(pictureType());
    create();
    const auto nodes = node.takeMfNodes();
    node.videoInput()->setMfNode(nullptr, 0);
    node.destroyMediaObjects();
    EXPECT_EQ(0, ndi.calls().sendersDestroyed);
}

TEST_F(NDISinkTest, AReleaseDuringACreationLeavesItsStatusAndDropsTheResult)
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

TEST_F(NDISinkTest, AJobThatIsReleasedBeforeItHasAThreadMakesNoSender)
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

TEST_F(NDISinkTest, ANewerCreationIsTheOnlyOneThatIsHeard)
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

TEST_F(NDISinkTest, ANodeThatGoesDuringACreationWaitsForNothingAndLeavesNothing)
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

TEST_F(NDISinkTest, ANodeThatGoesLeavesAJobThatHasNoThreadYetToThePool)
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

TEST_F(NDISinkTest, TheEndOfAJobThatNeverWasIsIgnored)
{
    EXPECT_TRUE(QMetaObject::invokeMethod(&node, "asyncSinkCreated", Qt::DirectConnection));
    EXPECT_EQ(MediaNode::Idle, node.status());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkTest, AHundredCreationsLeaveNothingBehind)
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
