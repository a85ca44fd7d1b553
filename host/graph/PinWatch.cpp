#include "host/graph/PinWatch.h"

namespace host
{

PinWatch::PinWatch(MediaNode *node) : m_node(node)
{
    for (int index = 0; index < node->inputCount(); ++index)
        connect(node->getInput(index), &NodeInput::connectedOutputChanged, this, &PinWatch::begin);
    for (int index = 0; index < node->outputCount(); ++index)
        connect(node->getOutput(index), &NodeOutput::connectedInputChanged, this, &PinWatch::begin);
    joinLast();
}

PinWatch::~PinWatch() = default;

void PinWatch::joinLast()
{
    for (const QMetaObject::Connection &connection : std::as_const(m_ends))
        disconnect(connection);
    m_ends.clear();
    for (int index = 0; index < m_node->inputCount(); ++index)
        m_ends += connect(m_node->getInput(index), &NodeInput::connectedOutputChanged, this, &PinWatch::end);
    for (int index = 0; index < m_node->outputCount(); ++index)
        m_ends += connect(m_node->getOutput(index), &NodeOutput::connectedInputChanged, this, &PinWatch::end);
}

void PinWatch::begin()
{
    m_telling = true;
}

void PinWatch::end()
{
    m_telling = false;
    Q_EMIT changed();
}

} // namespace host
