#include "sink/NDISink.h"

#include "format/MetadataEnvelope.h"
#include "tests/sink/NodeHarness.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>

namespace
{

class NDISinkTest : public SinkNodeTest
{
protected:
    std::vector<QVariant> sentValues()
    {
        std::vector<QVariant> values;
        for (const auto &sent : ndi.calls().sentMetadata)
            values.push_back(decodeMetadata(QByteArray::fromStdString(sent.text.value_or(""))));
        return values;
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
