#include "hostfw/NodePin.h"

NodePin::NodePin(MediaNode *node, int index) : m_node(node), m_index(index) {}

NodePin::~NodePin() = default;

MediaNode *NodePin::node() const
{
    return m_node;
}

int NodePin::index() const
{
    return m_index;
}

void NodePin::setMfNode(IMFTopologyNode *mfNode, int streamIndex)
{
    m_mfNode = mfNode;
    m_mfStreamIndex = streamIndex;
}

IMFTopologyNode *NodePin::mfNode() const
{
    return m_mfNode;
}

int NodePin::mfStreamIndex() const
{
    return m_mfStreamIndex;
}

NodeInput::NodeInput(MediaNode *node, int index) : NodePin(node, index) {}

NodeInput::~NodeInput()
{
    NodeOutput *const output = m_output;
    if (!output)
        return;
    output->m_input.clear();
    Q_EMIT output->connectedInputChanged();
}

NodeOutput *NodeInput::getConnectedOutput() const
{
    return m_output;
}

IMFMediaType *NodeInput::getConnectedMfMediaType() const
{
    return m_type;
}

void NodeInput::setConnectedMfMediaType(IMFMediaType *type)
{
    m_type = type;
}

NodeOutput::NodeOutput(MediaNode *node, int index) : NodePin(node, index) {}

NodeOutput::~NodeOutput()
{
    NodeInput *const input = m_input;
    if (!input)
        return;
    input->m_output.clear();
    input->m_type.Release();
    Q_EMIT input->connectedOutputChanged();
}

NodeInput *NodeOutput::getConnectedInput() const
{
    return m_input;
}

void NodeOutput::connectTo(NodeInput *input)
{
    NodeInput *const oldInput = m_input;
    if (input == oldInput)
        return;
    NodeOutput *const oldOutput = input ? input->m_output.data() : nullptr;
    if (oldInput) {
        oldInput->m_output.clear();
        oldInput->m_type.Release();
    }
    if (oldOutput)
        oldOutput->m_input.clear();
    m_input = input;
    if (input) {
        input->m_output = this;
        input->m_type.Release();
    }

    // Both ends agree before anyone hears of it.
    if (oldInput)
        Q_EMIT oldInput->connectedOutputChanged();
    if (oldOutput)
        Q_EMIT oldOutput->connectedInputChanged();
    Q_EMIT connectedInputChanged();
    if (input)
        Q_EMIT input->connectedOutputChanged();
}
