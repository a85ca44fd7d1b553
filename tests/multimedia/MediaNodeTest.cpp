#include "hostfw/MediaNode.h"

#include <gtest/gtest.h>

#include <mfapi.h>

namespace
{

class Node : public MediaNode
{
public:
    void destroyMediaObjects() override {}
    void createMediaObjects() override {}
    using MediaNode::addMfNode;
    using MediaNode::requestCreate;
    using MediaNode::setInputCount;
    using MediaNode::setOutputCount;
    using MediaNode::setStatus;
};

// Two nodes with an output each, and two with an input each, whose heard are counted.
class NodePins : public testing::Test
{
protected:
    NodePins()
    {
        for (int index = 0; index < 2; ++index) {
            m_sources[index].setOutputCount(1);
            m_sinks[index].setInputCount(1);
            QObject::connect(output(index), &NodeOutput::connectedInputChanged,
                             [this, index] { ++m_outputSignals[index]; });
            QObject::connect(input(index), &NodeInput::connectedOutputChanged,
                             [this, index] { ++m_inputSignals[index]; });
        }
    }

    NodeOutput *output(int index) const { return m_sources[index].getOutput(0); }
    NodeInput *input(int index) const { return m_sinks[index].getInput(0); }

    int m_outputSignals[2] = {};
    int m_inputSignals[2] = {};
    Node m_sources[2];
    Node m_sinks[2];
};

} // namespace

TEST(MediaNode, MakesAndRemovesPinsAtTheEnd)
{
    Node node;
    node.setInputCount(2);
    node.setOutputCount(3);
    EXPECT_EQ(node.inputCount(), 2);
    EXPECT_EQ(node.outputCount(), 3);
    NodeOutput *const first = node.getOutput(0);
    node.setOutputCount(1);
    EXPECT_EQ(node.outputCount(), 1);
    EXPECT_EQ(node.getOutput(0), first);
    EXPECT_EQ(node.getOutput(1), nullptr);
    EXPECT_EQ(node.getInput(1)->index(), 1);
    EXPECT_EQ(node.getInput(1)->node(), &node);
}

TEST(MediaNode, HasNoPinsOutOfRange)
{
    Node node;
    node.setInputCount(1);
    EXPECT_EQ(node.getInput(-1), nullptr);
    EXPECT_EQ(node.getInput(1), nullptr);
    EXPECT_EQ(node.getOutput(0), nullptr);
}

TEST(MediaNode, TakesANegativeCountAsNone)
{
    Node node;
    node.setInputCount(2);
    node.setInputCount(-1);
    node.setOutputCount(-1);
    EXPECT_EQ(node.inputCount(), 0);
    EXPECT_EQ(node.outputCount(), 0);
}

TEST(MediaNode, SignalsAStatusOnlyWhenItChanges)
{
    Node node;
    int heard = 0;
    QObject::connect(&node, &MediaNode::statusChanged, [&heard] { ++heard; });
    EXPECT_EQ(node.status(), MediaNode::Idle);
    node.setStatus(MediaNode::Idle);
    EXPECT_EQ(heard, 0);
    node.setStatus(MediaNode::Creating);
    node.setStatus(MediaNode::Creating);
    EXPECT_EQ(heard, 1);
    EXPECT_EQ(node.status(), MediaNode::Creating);
}

TEST(MediaNode, AsksItsHost)
{
    Node node;
    int heard = 0;
    QObject::connect(&node, &MediaNode::createRequested, [&heard] { ++heard; });
    node.requestCreate();
    EXPECT_EQ(heard, 1);
    EXPECT_FALSE(node.needEnumerateMediaTypes());
}

TEST(MediaNode, HandsItsTopologyNodesOverOnce)
{
    Node node;
    CComPtr<IMFTopologyNode> mfNode;
    ASSERT_EQ(MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &mfNode), S_OK);
    node.addMfNode(mfNode);
    const std::vector<CComPtr<IMFTopologyNode>> taken = node.takeMfNodes();
    ASSERT_EQ(taken.size(), 1U);
    EXPECT_EQ(taken.front().p, mfNode.p);
    EXPECT_TRUE(node.takeMfNodes().empty());
}

TEST_F(NodePins, ConnectingTellsBothEnds)
{
    output(0)->connectTo(input(0));
    EXPECT_EQ(output(0)->getConnectedInput(), input(0));
    EXPECT_EQ(input(0)->getConnectedOutput(), output(0));
    EXPECT_EQ(m_outputSignals[0], 1);
    EXPECT_EQ(m_inputSignals[0], 1);
}

TEST_F(NodePins, ConnectingAgainChangesNothing)
{
    output(0)->connectTo(input(0));
    output(0)->connectTo(input(0));
    output(1)->connectTo(nullptr);
    EXPECT_EQ(m_outputSignals[0], 1);
    EXPECT_EQ(m_inputSignals[0], 1);
    EXPECT_EQ(m_outputSignals[1], 0);
}

TEST_F(NodePins, DisconnectingTellsBothEnds)
{
    output(0)->connectTo(input(0));
    output(0)->connectTo(nullptr);
    EXPECT_EQ(output(0)->getConnectedInput(), nullptr);
    EXPECT_EQ(input(0)->getConnectedOutput(), nullptr);
    EXPECT_EQ(m_outputSignals[0], 2);
    EXPECT_EQ(m_inputSignals[0], 2);
}

TEST_F(NodePins, BothLoseTheConnectionsTheyHad)
{
    output(0)->connectTo(input(0));
    output(1)->connectTo(input(1));
    output(0)->connectTo(input(1));
    EXPECT_EQ(output(0)->getConnectedInput(), input(1));
    EXPECT_EQ(input(1)->getConnectedOutput(), output(0));
    EXPECT_EQ(output(1)->getConnectedInput(), nullptr);
    EXPECT_EQ(input(0)->getConnectedOutput(), nullptr);
    for (int index = 0; index < 2; ++index) {
        EXPECT_EQ(m_outputSignals[index], 2);
        EXPECT_EQ(m_inputSignals[index], 2);
    }
}

TEST_F(NodePins, BothEndsAgreeBeforeAnyoneHearsOfIt)
{
    bool agreed = false;
    const QObject scope; // the connection ends before what it refers to
    QObject::connect(output(0), &NodeOutput::connectedInputChanged, &scope,
                     [&] { agreed = input(0)->getConnectedOutput() == output(0); });
    output(0)->connectTo(input(0));
    EXPECT_TRUE(agreed);
}

TEST_F(NodePins, DyingInputFreesItsOutput)
{
    output(0)->connectTo(input(0));
    m_sinks[0].setInputCount(0);
    EXPECT_EQ(output(0)->getConnectedInput(), nullptr);
    EXPECT_EQ(m_outputSignals[0], 2);
}

TEST_F(NodePins, DyingOutputFreesItsInput)
{
    output(0)->connectTo(input(0));
    m_sources[0].setOutputCount(0);
    EXPECT_EQ(input(0)->getConnectedOutput(), nullptr);
    EXPECT_EQ(m_inputSignals[0], 2);
}

TEST_F(NodePins, NegotiatedTypeGoesWithTheConnection)
{
    CComPtr<IMFMediaType> type;
    ASSERT_EQ(MFCreateMediaType(&type), S_OK);
    output(0)->connectTo(input(0));
    input(0)->setConnectedMfMediaType(type);
    EXPECT_EQ(input(0)->getConnectedMfMediaType(), type.p);
    output(0)->connectTo(nullptr);
    EXPECT_EQ(input(0)->getConnectedMfMediaType(), nullptr);
    output(0)->connectTo(input(0));
    input(0)->setConnectedMfMediaType(type);
    m_sources[0].setOutputCount(0);
    EXPECT_EQ(input(0)->getConnectedMfMediaType(), nullptr);
}

TEST_F(NodePins, BindATopologyNode)
{
    CComPtr<IMFTopologyNode> mfNode;
    ASSERT_EQ(MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &mfNode), S_OK);
    output(0)->setMfNode(mfNode, 3);
    EXPECT_EQ(output(0)->mfNode(), mfNode.p);
    EXPECT_EQ(output(0)->mfStreamIndex(), 3);
    output(0)->setMfNode(nullptr, 0);
    EXPECT_EQ(output(0)->mfNode(), nullptr);
}
