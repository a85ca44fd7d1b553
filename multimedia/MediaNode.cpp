#include "hostfw/MediaNode.h"

#include <algorithm>

MediaNode::MediaNode() = default;

MediaNode::~MediaNode() = default;

bool MediaNode::needEnumerateMediaTypes() const
{
    return false;
}

void MediaNode::onTopologyCreated() {}

NodeInput *MediaNode::getInput(int index) const
{
    return index >= 0 && index < inputCount() ? m_inputs[static_cast<size_t>(index)].get() : nullptr;
}

NodeOutput *MediaNode::getOutput(int index) const
{
    return index >= 0 && index < outputCount() ? m_outputs[static_cast<size_t>(index)].get() : nullptr;
}

int MediaNode::inputCount() const
{
    return static_cast<int>(m_inputs.size());
}

int MediaNode::outputCount() const
{
    return static_cast<int>(m_outputs.size());
}

MediaNode::Status MediaNode::status() const
{
    return m_status;
}

std::vector<CComPtr<IMFTopologyNode>> MediaNode::takeMfNodes()
{
    return std::exchange(m_mfNodes, {});
}

void MediaNode::setInputCount(int count)
{
    count = std::max(count, 0);
    while (inputCount() > count)
        m_inputs.pop_back();
    while (inputCount() < count)
        m_inputs.push_back(std::make_unique<NodeInput>(this, inputCount()));
}

void MediaNode::setOutputCount(int count)
{
    count = std::max(count, 0);
    while (outputCount() > count)
        m_outputs.pop_back();
    while (outputCount() < count)
        m_outputs.push_back(std::make_unique<NodeOutput>(this, outputCount()));
}

void MediaNode::requestCreate()
{
    Q_EMIT createRequested();
}

void MediaNode::setStatus(MediaNode::Status status)
{
    if (status == m_status)
        return;
    m_status = status;
    Q_EMIT statusChanged();
}

void MediaNode::addMfNode(IMFTopologyNode *mfNode)
{
    m_mfNodes.emplace_back(mfNode);
}
