#include "host/graph/Pipeline.h"

#include "host/Log.h"
#include "host/ResultText.h"
#include "host/graph/Sender.h"
#include "host/graph/SinkFarewell.h"

namespace host
{

namespace
{

bool hasLinks(const MediaNode *node)
{
    for (int index = 0; index < node->inputCount(); ++index) {
        if (node->getInput(index)->getConnectedOutput())
            return true;
    }
    for (int index = 0; index < node->outputCount(); ++index) {
        if (node->getOutput(index)->getConnectedInput())
            return true;
    }
    return false;
}

} // namespace

Pipeline::Pipeline(int searchPatience, QObject *parent)
    : QObject(parent), m_searchPatience(searchPatience), m_caller(std::make_shared<ObjectCaller>())
{
    m_clockStart.setSingleShot(true);
    connect(&m_clockStart, &QTimer::timeout, this, [this] {
        const HRESULT hr = m_clock.start();
        if (FAILED(hr))
            qCWarning(lcHost) << "The presentation clock does not start:" << resultText(hr);
    });
    m_rewiring.setSingleShot(true);
    connect(&m_rewiring, &QTimer::timeout, this, &Pipeline::rewire);
}

Pipeline::~Pipeline()
{
    m_caller->close();
    stop();
}

void Pipeline::setNodes(const QList<MediaNode *> &nodes)
{
    for (auto entry = m_entries.begin(); entry != m_entries.end();) {
        if (nodes.contains(entry->first)) {
            ++entry;
            continue;
        }
        entry->second.driver->setActive(false);
        entry = m_entries.erase(entry);
    }
    for (MediaNode *node : nodes) {
        if (!find(node))
            add(node);
    }
}

void Pipeline::start()
{
    if (m_running)
        return;
    m_running = true;
    for (auto &[node, entry] : m_entries)
        entry.driver->setActive(true);
}

void Pipeline::stop()
{
    if (!m_running)
        return;
    m_running = false;
    m_clockStart.stop();
    for (auto &[node, entry] : m_entries)
        entry.driver->setActive(false);
    m_clock.stop();
}

int Pipeline::restarts() const
{
    int count = 0;
    for (const auto &[node, entry] : m_entries)
        count += entry.driver->failures();
    return count;
}

Pipeline::Entry *Pipeline::find(const MediaNode *node)
{
    const auto found = m_entries.find(const_cast<MediaNode *>(node));
    return found == m_entries.end() ? nullptr : &found->second;
}

void Pipeline::add(MediaNode *node)
{
    Entry &entry = m_entries[node];
    entry.driver = std::make_unique<NodeDriver>(
        node, [this, node] { return mayCreate(node); },
        NodeDriver::Search{[node] { return listedSender(node); }, m_searchPatience});
    connect(entry.driver.get(), &NodeDriver::created, this, [this, node] { onCreated(node); });
    connect(entry.driver.get(), &NodeDriver::aboutToDestroy, this, [this, node] { onDestroy(node); });
    connect(entry.driver.get(), &NodeDriver::linksChanged, this, [this, node] {
        m_changed.insert(node);
        m_rewiring.start(0);
    });
    connect(entry.driver.get(), &NodeDriver::failed, this, [this, node](const QString &why) {
        // Sources that waited for this sink go ahead without it.
        for (auto &[other, source] : m_entries)
            startSource(source);
        Q_EMIT nodeFailed(node, why);
    });
    // A node that goes without a word has been let go of by its driver before this.
    connect(node, &QObject::destroyed, entry.driver.get(), [this, node] { m_entries.erase(node); });
    entry.driver->setActive(m_running);
}

bool Pipeline::mayCreate(const MediaNode *node) const
{
    if (!hasLinks(node) || lacksSender(node) || m_farewells.count(node) > 0)
        return false;
    for (int index = 0; index < node->inputCount(); ++index) {
        const NodeInput *const input = node->getInput(index);
        if (input->getConnectedOutput() && !input->getConnectedMfMediaType())
            return false;
    }
    return true;
}

void Pipeline::onCreated(MediaNode *node)
{
    Entry &entry = *find(node);
    entry.generation = ++m_lastGeneration;
    QString why = QStringLiteral("it has made nothing for what it is linked to");
    bool opened = false;
    if (node->outputCount() > 0)
        opened = openSource(entry, why);
    for (int index = 0; index < node->inputCount(); ++index) {
        NodeInput *const input = node->getInput(index);
        if (input->getConnectedOutput() && input->mfNode())
            opened = openSink(entry, input, why) || opened;
    }
    if (!opened)
        return fail(entry, why);
    if (entry.runner)
        startSource(entry);
    if (!entry.ports.empty())
        joinSink(entry);
}

void Pipeline::onDestroy(MediaNode *node)
{
    Entry *const entry = find(node);
    if (!entry)
        return;
    entry->generation = 0;
    if (entry->runner)
        entry->runner->shutdown();
    entry->runner.reset();
    entry->outlets.clear();
    for (auto &[input, port] : entry->ports) {
        for (auto &[other, source] : m_entries) {
            for (auto &[output, outlet] : source.outlets)
                outlet.feed->detach(port);
        }
        port->close();
    }
    entry->ports.clear();
    giveUpSinks(*entry);
}

void Pipeline::giveUpSinks(Entry &entry)
{
    if (entry.sinks.empty())
        return;
    MediaNode *const node = entry.driver->node();
    ++m_farewells[node];
    entry.activity.reset();
    for (const CComPtr<IMFMediaSink> &sink : entry.sinks)
        m_clock.removeSink(sink); // a clock that stops would find it shut down
    sayFarewell(std::exchange(entry.sinks, {}), [this, caller = m_caller, node] {
        caller->call([this, node] {
            if (--m_farewells[node] > 0)
                return;
            m_farewells.erase(node);
            Entry *const now = find(node);
            if (now && now->driver->state() == NodeDriver::State::Off)
                now->driver->request();
        });
    });
}

std::optional<PortFigures> Pipeline::figures(const NodeInput *input) const
{
    const auto entry = m_entries.find(input->node());
    if (entry == m_entries.end())
        return {};
    const auto port = entry->second.ports.find(const_cast<NodeInput *>(input));
    return port == entry->second.ports.end() ? std::nullopt : std::make_optional(port->second->figures());
}

void Pipeline::requestClock(int delay)
{
    if (m_running && !m_clockStart.isActive())
        m_clockStart.start(delay);
}

void Pipeline::fail(Entry &entry, const QString &why)
{
    bool worked = entry.runner && entry.runner->hasDelivered();
    for (const auto &[input, port] : entry.ports)
        worked = worked || port->isStarted();
    qCInfo(lcHost).noquote() << entry.driver->node() << why;
    entry.driver->fail(why, worked);
}

std::function<void(const QString &)> Pipeline::failureReport(const Entry &entry)
{
    MediaNode *const node = entry.driver->node();
    return [this, caller = m_caller, node, generation = entry.generation](const QString &why) {
        caller->call([this, node, generation, why] {
            Entry *const now = find(node);
            if (now && now->generation == generation)
                fail(*now, why);
        });
    };
}

} // namespace host
