#include "tests/source/NodeHarness.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QThreadPool>

namespace
{

CComPtr<IMFMediaSource> sourceOf(const NodeOutput *output)
{
    CComPtr<IMFMediaSource> source;
    if (output->mfNode())
        output->mfNode()->GetUnknown(MF_TOPONODE_SOURCE, __uuidof(IMFMediaSource), reinterpret_cast<void **>(&source));
    return source;
}

} // namespace

void NodeTest::SetUp()
{
    SourceTest::SetUp();
    QObject::connect(&node, &MediaNode::createRequested, [this] { ++createRequests; });
}

void NodeTest::TearDown()
{
    release();
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
    QCoreApplication::processEvents();
    SourceTest::TearDown();
}

void NodeTest::connectOutputs(bool video, bool audio)
{
    node.videoOutput()->connectTo(video ? consumer.getInput(0) : nullptr);
    node.audioOutput()->connectTo(audio ? consumer.getInput(1) : nullptr);
}

void NodeTest::create()
{
    node.createMediaObjects();
    ASSERT_TRUE(waitForStatus(MediaNode::Created));
}

void NodeTest::release()
{
    for (NodeOutput *const output : {node.videoOutput(), node.audioOutput()}) {
        if (const CComPtr<IMFMediaSource> source = sourceOf(output))
            source->Shutdown();
        output->setMfNode(nullptr, 0);
    }
    node.takeMfNodes();
    node.destroyMediaObjects();
}

bool NodeTest::waitForStatus(MediaNode::Status status)
{
    return spinUntil([&] { return node.status() == status; });
}

CComPtr<NDISourceMF> NodeTest::madeSource() const
{
    return CComPtr<NDISourceMF>(static_cast<NDISourceMF *>(sourceOf(node.videoOutput()).p));
}
