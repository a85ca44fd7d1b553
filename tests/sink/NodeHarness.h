#pragma once

#include "sink/NDISink.h"
#include "tests/sink/SinkHarness.h"
#include "tests/support/EventLoop.h"

// The upstream end of a sink's inputs.
class Producer : public MediaNode
{
public:
    Producer() { setOutputCount(2); }
    void destroyMediaObjects() override {}
    void createMediaObjects() override {}
};

// A sink node between a producer and the scripted runtime, driven as a host would.
class SinkNodeTest : public SinkTest
{
protected:
    SinkNodeTest();
    void TearDown() override;

    // Gives the node its name and forgets that it asked for a creation.
    void makeNamed();
    // Connects the producer and settles the types; null leaves the type open.
    void connectVideo(IMFMediaType *type);
    void connectAudio(IMFMediaType *type);
    // Has the node make its media objects and waits for them.
    void create();
    // What a host does before it lets go of the node's media objects.
    void release();
    bool waitForStatus(MediaNode::Status status);
    bool waitForMetadata(size_t count);
    // The end of every job that was started, and of what they posted.
    static void finishJobs();
    static CComPtr<IMFStreamSink> streamOf(const NodeInput *input);

    Producer producer;
    NDISink node;
    int createRequests = 0;
};
