#include "host/graph/Link.h"

namespace host
{

Link::Link(QObject *parent) : QObject(parent) {}

Link::~Link()
{
    disconnectPins();
}

void Link::setFrom(NodeOutput *output)
{
    if (output == m_from)
        return;
    m_from = output;
    Q_EMIT changed();
}

void Link::setTo(NodeInput *input)
{
    if (input == m_to)
        return;
    m_to = input;
    Q_EMIT changed();
}

void Link::setFigures(const QVariantMap &figures)
{
    if (figures == m_figures)
        return;
    m_figures = figures;
    Q_EMIT figuresChanged();
}

void Link::connectPins()
{
    if (isConnected() && m_connectedFrom == m_from && m_connectedTo == m_to)
        return;
    disconnectPins();
    if (!m_from || !m_to)
        return;
    m_connectedFrom = m_from;
    m_connectedTo = m_to;
    m_from->connectTo(m_to);
}

void Link::disconnectPins()
{
    if (isConnected())
        m_connectedFrom->connectTo(nullptr);
    m_connectedFrom.clear();
    m_connectedTo.clear();
}

bool Link::isConnected() const
{
    return m_connectedFrom && m_connectedTo && m_connectedFrom->getConnectedInput() == m_connectedTo;
}

} // namespace host
