#include "tests/sink/NodeHarness.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QThreadPool>

SinkNodeTest::SinkNodeTest()
{
    QObject::connect(&node, &MediaNode::createRequested, [this] { ++createRequests; });
}

void SinkNodeTest::TearDown()
{
    release();
    finishJobs();
    SinkTest::TearDown();
}

void SinkNodeTest::makeNamed()
{
    node.setName(QStringLiteral("Studio"));
    createRequests = 0;
}

void SinkNodeTest::connectVideo(IMFMediaType *type)
{
    producer.getOutput(0)->connectTo(node.videoInput());
    node.videoInput()->setConnectedMfMediaType(type);
}

void SinkNodeTest::connectAudio(IMFMediaType *type)
{
    producer.getOutput(1)->connectTo(node.audioInput());
    node.audioInput()->setConnectedMfMediaType(type);
}

void SinkNodeTest::create()
{
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
}

void SinkNodeTest::release()
{
    for (NodeInput *const input : {node.videoInput(), node.audioInput()})
        input->setMfNode(nullptr, 0);
    node.takeMfNodes();
    node.destroyMediaObjects();
}

bool SinkNodeTest::waitForStatus(MediaNode::Status status)
{
    return spinUntil([&] { return node.status() == status; });
}

bool SinkNodeTest::waitForMetadata(size_t count)
{
    return ndi.waitFor([&](const auto &calls) { return calls.sentMetadata.size() == count; });
}

void SinkNodeTest::finishJobs()
{
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
    QCoreApplication::processEvents();
}

CComPtr<IMFStreamSink> SinkNodeTest::streamOf(const NodeInput *input)
{
    CComPtr<IUnknown> object;
    CComPtr<IMFStreamSink> stream;
    if (input->mfNode() && SUCCEEDED(input->mfNode()->GetObject(&object)))
        object->QueryInterface(__uuidof(IMFStreamSink), reinterpret_cast<void **>(&stream));
    return stream;
}
