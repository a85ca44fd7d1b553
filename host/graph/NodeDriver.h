#pragma once

#include "host/graph/PinWatch.h"
#include "hostfw/MediaNode.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QTimer>

#include <functional>

namespace host
{

// Leads one node through its life: makes its media objects when the node or the graph asks for them, once for any
// number of requests, and tries again after failures, each time a little later. A creation that waits for a sender
// although that is listed is begun anew. Lives on the node's thread.
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

    // An NDI finder that is made while another one lives may hear of no sender for minutes; the next one usually does.
    struct Search {
        std::function<QString()> listedSender; // the name of the node's sender while that is listed, else empty
        int patience = 5000;                   // milliseconds before a creation is begun anew
    };

    // `mayCreate` tells whether the node has what it needs: links, a sender, and types on its inputs.
    NodeDriver(MediaNode *node, std::function<bool()> mayCreate, Search search);
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
    // Makes the node anew when its sender has been listed for all of the patience.
    void lookForSender();

    QPointer<MediaNode> m_node;
    PinWatch m_pins;
    const std::function<bool()> m_mayCreate;
    const Search m_search;
    QTimer m_retry;
    QTimer m_looks;
    State m_state = State::Off;
    bool m_active = false;
    bool m_queued = false;
    bool m_made = false;        // createMediaObjects() was called since the last destroy
    bool m_hasNewLinks = false; // links have changed since then
    int m_failures = 0;
    int m_delay = 0;       // milliseconds before the attempt after the last failure
    int m_listedLooks = 0; // looks in a row that found the sender listed
    bool m_isTold = false; // this wait is in the log
};

} // namespace host
