#pragma once

#include "source/NDISource.h"
#include "tests/source/SourceHarness.h"
#include "tests/support/EventLoop.h"

// The downstream end of a source's outputs.
class Consumer : public MediaNode
{
public:
    Consumer() { setInputCount(2); }
    void destroyMediaObjects() override {}
    void createMediaObjects() override {}
};

// The node with its slots at hand.
class Node : public NDISource
{
public:
    using NDISource::asyncCreationFinished;
    using NDISource::updateMetadata;
};

// A source node between the scripted runtime and a consumer, driven as a host would.
class NodeTest : public SourceTest
{
protected:
    void SetUp() override;
    void TearDown() override;

    void connectOutputs(bool video = true, bool audio = true);
    // Has the node make its media objects and waits for them.
    void create();
    // What a host does before it lets go of the node's media objects.
    void release();
    bool waitForStatus(MediaNode::Status status);
    // The media source that the node has made, from the topology node of its video output.
    CComPtr<NDISourceMF> madeSource() const;

    const NDIInput camera{QStringLiteral("HOST (Camera)"), QStringLiteral("10.0.0.1:5961")};
    const NDIInput absent{QStringLiteral("HOST (Absent)"), QStringLiteral("10.0.0.7:5961")};
    Consumer consumer;
    Node node;
    int createRequests = 0;
};
