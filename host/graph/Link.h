#pragma once

#include "hostfw/NodePin.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>

namespace host
{

// Link { from: source.videoOutput; to: monitor.videoInput }: one connection of a Graph. It acts through the graph that
// it is listed in.
class Link : public QObject
{
    Q_OBJECT
    Q_PROPERTY(NodeOutput *from READ from WRITE setFrom NOTIFY changed)
    Q_PROPERTY(NodeInput *to READ to WRITE setTo NOTIFY changed)

public:
    explicit Link(QObject *parent = nullptr);
    ~Link() override;

    NodeOutput *from() const { return m_from; }
    void setFrom(NodeOutput *output);
    NodeInput *to() const { return m_to; }
    void setTo(NodeInput *input);

    // Connects the two pins, letting go of what this link has connected before.
    void connectPins();
    // Takes the connection apart, if it is still the one this link has made.
    void disconnectPins();

Q_SIGNALS:
    void changed();

private:
    bool isConnected() const;

    QPointer<NodeOutput> m_from;
    QPointer<NodeInput> m_to;
    QPointer<NodeOutput> m_connectedFrom;
    QPointer<NodeInput> m_connectedTo;
};

} // namespace host
