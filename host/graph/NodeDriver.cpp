#include "host/graph/NodeDriver.h"

#include "host/Log.h"

#include <algorithm>

namespace host
{

namespace
{
constexpr int FirstRetry = 250; // milliseconds
constexpr int LastRetry = 4000;
// Looks are counted instead of the time: after a hold-up of this thread comes one look, not all that were missed, so
// that a creation that has ended meanwhile is not given up.
constexpr int LooksInPatience = 10;
} // namespace

NodeDriver::NodeDriver(MediaNode *node, std::function<bool()> mayCreate, Search search)
    : m_node(node), m_pins(node), m_mayCreate(std::move(mayCreate)), m_search(std::move(search))
{
    m_retry.setSingleShot(true);
    m_looks.setInterval(std::max(m_search.patience / LooksInPatience, 1));
    connect(&m_looks, &QTimer::timeout, this, &NodeDriver::lookForSender);
    connect(&m_retry, &QTimer::timeout, this, &NodeDriver::recreate);
    connect(&m_pins, &PinWatch::changed, this, [this] {
        m_hasNewLinks = true;
        Q_EMIT linksChanged();
    });
    connect(node, &MediaNode::createRequested, this, [this] {
        if (!m_pins.isTelling())
            request();
    });
    connect(node, &MediaNode::statusChanged, this, &NodeDriver::onStatusChanged);
    connect(node, &QObject::destroyed, this, &NodeDriver::onNodeGone);
}

NodeDriver::~NodeDriver()
{
    if (m_node)
        destroy();
}

void NodeDriver::setActive(bool active)
{
    if (active == m_active)
        return;
    m_active = active;
    m_delay = 0;
    if (active) {
        request();
    } else {
        m_retry.stop();
        destroy();
    }
}

void NodeDriver::request()
{
    if (!m_active || m_queued || !m_node)
        return;
    m_queued = true;
    m_isTold = false;
    m_retry.stop();
    if (m_state != State::Ready)
        m_state = State::Requested;
    QMetaObject::invokeMethod(this, &NodeDriver::recreate, Qt::QueuedConnection);
}

void NodeDriver::fail(const QString &why, bool worked)
{
    if (!m_active || !m_node)
        return;
    destroy();
    m_state = State::Failed;
    ++m_failures;
    m_delay = m_delay == 0 || worked ? FirstRetry : std::min(m_delay * 2, LastRetry);
    m_retry.start(m_delay);
    Q_EMIT failed(why);
}

void NodeDriver::recreate()
{
    m_queued = false;
    if (!m_active || !m_node)
        return;
    destroy();
    if (!m_mayCreate())
        return;
    m_state = State::Creating;
    m_made = true;
    m_hasNewLinks = false;
    m_looks.start();
    m_node->createMediaObjects();
    if (m_state == State::Creating)
        onStatusChanged();
}

void NodeDriver::destroy()
{
    m_state = State::Off;
    m_looks.stop();
    m_listedLooks = 0;
    if (!m_made)
        return;
    m_made = false;
    Q_EMIT aboutToDestroy();
    m_node->destroyMediaObjects();
    // What the node handed over before says nothing about what it makes next.
    m_node->takeMfNodes();
    for (int index = 0; index < m_node->inputCount(); ++index)
        m_node->getInput(index)->setMfNode(nullptr, 0);
    for (int index = 0; index < m_node->outputCount(); ++index)
        m_node->getOutput(index)->setMfNode(nullptr, 0);
}

void NodeDriver::onStatusChanged()
{
    const bool watched = m_state == State::Creating || m_state == State::Ready;
    if (!watched)
        return;
    if (m_node->status() == MediaNode::Error)
        return fail(QStringLiteral("its media objects could not be made"), m_state == State::Ready);
    // A node that has nothing to make yet keeps the status it had; without topology nodes it is not created.
    if (m_state != State::Creating || m_node->status() != MediaNode::Created || m_node->takeMfNodes().empty())
        return;
    m_state = State::Ready;
    m_looks.stop();
    m_isTold = false;
    m_pins.joinLast();
    Q_EMIT created();
}

void NodeDriver::onNodeGone()
{
    if (m_made)
        Q_EMIT aboutToDestroy();
    m_made = false;
    m_state = State::Off;
    m_active = false;
    m_retry.stop();
    m_looks.stop();
}

void NodeDriver::lookForSender()
{
    if (m_state != State::Creating)
        return;
    const QString sender = m_search.listedSender();
    m_listedLooks = sender.isEmpty() ? 0 : m_listedLooks + 1;
    if (m_listedLooks < LooksInPatience)
        return;
    if (!m_isTold)
        qCWarning(lcHost).noquote() << m_node.data() << "does not hear" << sender
                                    << "though it is listed; it is made anew until it does";
    m_isTold = true;
    recreate();
}

} // namespace host
