#include "host/graph/Graph.h"

#include "host/Log.h"
#include "host/graph/Link.h"

namespace host
{

namespace
{

constexpr int RefreshInterval = 250; // milliseconds

QVariantMap figuresMap(const PortFigures &figures)
{
    return {{QStringLiteral("samples"), static_cast<qulonglong>(figures.samples)},
            {QStringLiteral("held"), figures.held},
            {QStringLiteral("heldMs"), figures.heldMs},
            {QStringLiteral("latencyMedianMs"), figures.latencyMedianMs},
            {QStringLiteral("latencyMaxMs"), figures.latencyMaxMs},
            {QStringLiteral("leftOutFirst"), static_cast<qulonglong>(figures.leftOutFirst)},
            {QStringLiteral("leftOutLate"), static_cast<qulonglong>(figures.leftOutLate)},
            {QStringLiteral("leftOutFull"), static_cast<qulonglong>(figures.leftOutFull)}};
}

} // namespace

Graph::Graph(QObject *parent) : QObject(parent)
{
    // Queued: what a scene does about a failure must not meet the pipeline in the middle of it.
    connect(
        &m_pipeline, &Pipeline::nodeFailed, this,
        [this](QObject *node, const QString &why) {
            Q_EMIT restartsChanged();
            Q_EMIT nodeFailed(node, why);
        },
        Qt::QueuedConnection);
    m_refresh.setInterval(RefreshInterval);
    connect(&m_refresh, &QTimer::timeout, this, &Graph::refreshFigures);
    m_refresh.start();
}

Graph::~Graph()
{
    m_pipeline.stop();
    m_pipeline.setNodes({});
}

QQmlListProperty<QObject> Graph::objects()
{
    return {this, nullptr, &Graph::appendObject, &Graph::objectCount, &Graph::objectAt, &Graph::clearObjects};
}

void Graph::setRunning(bool running)
{
    if (running == m_running)
        return;
    m_running = running;
    if (m_complete) {
        if (running)
            m_pipeline.start();
        else
            m_pipeline.stop();
    }
    Q_EMIT runningChanged();
}

int Graph::restarts() const
{
    return m_pipeline.restarts();
}

void Graph::add(QObject *object)
{
    if (!object || m_objects.contains(object))
        return;
    m_objects.append(object);
    connect(object, &QObject::destroyed, this, &Graph::onObjectGone);
    if (auto *const link = qobject_cast<Link *>(object)) {
        m_links.append(link);
        connect(link, &Link::changed, this, &Graph::update);
    }
    update();
}

void Graph::remove(QObject *object)
{
    if (!m_objects.removeOne(object))
        return;
    disconnect(object, nullptr, this, nullptr);
    if (auto *const link = qobject_cast<Link *>(object)) {
        m_links.removeOne(link);
        link->disconnectPins();
    }
    update();
}

void Graph::classBegin() {}

void Graph::componentComplete()
{
    m_complete = true;
    update();
    if (m_running)
        m_pipeline.start();
}

void Graph::start()
{
    setRunning(true);
}

void Graph::stop()
{
    setRunning(false);
}

void Graph::appendObject(QQmlListProperty<QObject> *list, QObject *object)
{
    static_cast<Graph *>(list->object)->add(object);
}

int Graph::objectCount(QQmlListProperty<QObject> *list)
{
    return static_cast<Graph *>(list->object)->m_objects.count();
}

QObject *Graph::objectAt(QQmlListProperty<QObject> *list, int index)
{
    return static_cast<Graph *>(list->object)->m_objects.value(index);
}

void Graph::clearObjects(QQmlListProperty<QObject> *list)
{
    auto *const graph = static_cast<Graph *>(list->object);
    const QList<QObject *> objects = graph->m_objects;
    for (QObject *const object : objects)
        graph->remove(object);
}

void Graph::onObjectGone(QObject *object)
{
    m_objects.removeOne(object);
    if (m_links.removeOne(object))
        update();
}

void Graph::refreshFigures()
{
    std::vector<PortFigures> all;
    // A scene that hears of new figures may take links out of the graph.
    const QList<QObject *> links = m_links;
    for (QObject *const object : links) {
        if (!m_links.contains(object))
            continue;
        auto *const link = static_cast<Link *>(object);
        const std::optional<PortFigures> figures = link->to() ? m_pipeline.figures(link->to()) : std::nullopt;
        if (figures)
            all.push_back(*figures);
        link->setFigures(figures ? figuresMap(*figures) : QVariantMap());
    }
    const QString text = m_leftOutLog.text(all);
    if (!text.isEmpty())
        qCWarning(lcHost).noquote() << text;
}

void Graph::update()
{
    if (!m_complete)
        return;
    QList<MediaNode *> nodes;
    const auto addNode = [&nodes](MediaNode *node) {
        if (node && !nodes.contains(node))
            nodes.append(node);
    };
    for (QObject *const object : qAsConst(m_objects))
        addNode(qobject_cast<MediaNode *>(object));
    for (QObject *const object : qAsConst(m_links)) {
        const auto *const link = static_cast<Link *>(object);
        addNode(link->from() ? link->from()->node() : nullptr);
        addNode(link->to() ? link->to()->node() : nullptr);
    }
    m_pipeline.setNodes(nodes);
    for (QObject *const object : qAsConst(m_links))
        static_cast<Link *>(object)->connectPins();
}

} // namespace host
