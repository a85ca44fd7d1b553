#pragma once

#include "hostfw/MediaNode.h"

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>

namespace host
{

// Tells of the connections of a node's pins, and which of the node's requests to be made anew are about them.
//
// A node may ask to be made anew whenever one of its pins is connected to something else. The host knows better: the
// same streams will do when only the sink behind them is another one.
class PinWatch : public QObject
{
    Q_OBJECT

public:
    explicit PinWatch(MediaNode *node);
    ~PinWatch() override;

    // To be called when the node has made its connections to its own pins' signals, as it does when it is created.
    void joinLast();
    // A pin is telling of its new connection right now, so what the node asks for is about that.
    bool isTelling() const { return m_telling; }

Q_SIGNALS:
    void changed();

private:
    // Qt calls slots in the order in which they were connected: what comes between these two is the node's own doing.
    void begin();
    void end();

    const QPointer<MediaNode> m_node;
    QList<QMetaObject::Connection> m_ends;
    bool m_telling = false;
};

} // namespace host
