#pragma once

#include "host/graph/PinWatch.h"
#include "hostfw/MediaNode.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

#include <functional>

namespace host
{

// Leads one node through its life: makes its media objects when the node or the graph asks for them, once for any
// number of requests, and tries again after failures, each time a little later. Lives on the node's thread.
class NodeDriver : public QObject
{
    Q_OBJECT

public:
    enum class State {
        Off,       // nothing made: the graph stands, the node is not linked, or it waits for a type
        Requested, // about to be made
        Creating,  // the node is at it
        Ready,     // created; the graph has its topology nodes
        Failed     // will be tried again
    };

    // `mayCreate` tells whether the node has what it needs: links, and types on its inputs.
    NodeDriver(MediaNode *node, std::function<bool()> mayCreate);
    ~NodeDriver() override;

    MediaNode *node() const { return m_node; }
    State state() const { return m_state; }
    bool isPending() const { return m_state == State::Requested || m_state == State::Creating; }
    // Being made for the links as they are.
    bool isMakingForItsLinks() const { return m_state == State::Creating && !m_hasNewLinks; }
    // Attempts that failed since the driver was made.
    int failures() const { return m_failures; }

    // An inactive driver keeps its node destroyed.
    void setActive(bool active);
    void request();
    // The media objects are of no use any more. `worked`: they had been until now, so the next attempt comes soon.
    void fail(const QString &why, bool worked);

Q_SIGNALS:
    // The node is created; its topology nodes and pins are set.
    void created();
    // The node's links have changed. Whether it is to be made anew for that is for the graph to say.
    void linksChanged();
    // The media objects are about to be dropped: nothing may use them any longer.
    void aboutToDestroy();
    void failed(const QString &why);

private:
    void recreate();
    void destroy();
    void onStatusChanged();
    void onNodeGone();

    QPointer<MediaNode> m_node;
    PinWatch m_pins;
    const std::function<bool()> m_mayCreate;
    QTimer m_retry;
    State m_state = State::Off;
    bool m_active = false;
    bool m_queued = false;
    bool m_made = false;        // createMediaObjects() was called since the last destroy
    bool m_hasNewLinks = false; // links have changed since then
    int m_failures = 0;
    int m_delay = 0; // milliseconds before the attempt after the last failure
};

} // namespace host
