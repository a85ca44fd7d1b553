#pragma once

#include "hostfw/NodePin.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QVariantMap>

namespace host
{

// Link { from: source.videoOutput; to: monitor.videoInput }: one connection of a Graph. It acts through the graph that
// it is listed in.
class Link : public QObject
{
    Q_OBJECT
    Q_PROPERTY(NodeOutput *from READ from WRITE setFrom NOTIFY changed)
    Q_PROPERTY(NodeInput *to READ to WRITE setTo NOTIFY changed)
    Q_PROPERTY(QVariantMap figures READ figures NOTIFY figuresChanged)

public:
    explicit Link(QObject *parent = nullptr);
    ~Link() override;

    NodeOutput *from() const { return m_from; }
    void setFrom(NodeOutput *output);
    NodeInput *to() const { return m_to; }
    void setTo(NodeInput *input);

    // What goes to the sink at its end, with the keys of host/README.md; empty while there is none. The graph renews
    // it.
    QVariantMap figures() const { return m_figures; }
    void setFigures(const QVariantMap &figures);

    // Connects the two pins, letting go of what this link has connected before.
    void connectPins();
    // Takes the connection apart, if it is still the one this link has made.
    void disconnectPins();

Q_SIGNALS:
    void changed();
    void figuresChanged();

private:
    bool isConnected() const;

    QPointer<NodeOutput> m_from;
    QPointer<NodeInput> m_to;
    QPointer<NodeOutput> m_connectedFrom;
    QPointer<NodeInput> m_connectedTo;
    QVariantMap m_figures;
};

} // namespace host
