#include "host/graph/Pipeline.h"

#include "host/Log.h"
#include "host/graph/Negotiation.h"

#include <mfapi.h>
#include <mferror.h>

#include <algorithm>

namespace host
{

namespace
{

// Sinks adopt their types in the background; a clock that started too early is started again after this time.
constexpr int ClockStartDelay = 20; // milliseconds

QString resultText(HRESULT hr)
{
    return QStringLiteral("0x%1").arg(static_cast<quint32>(hr), 8, 16, QLatin1Char('0'));
}

QString refusalText(HRESULT hr)
{
    return QStringLiteral("it does not take the type of its stream (%1)").arg(resultText(hr));
}

template <typename Interface>
CComPtr<Interface> nodeAttribute(IMFTopologyNode *node, REFGUID key)
{
    CComPtr<Interface> object;
    node->GetUnknown(key, __uuidof(Interface), reinterpret_cast<void **>(&object));
    return object;
}

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

Pipeline::Pipeline(QObject *parent) : QObject(parent), m_caller(std::make_shared<ObjectCaller>())
{
    m_clockStart.setSingleShot(true);
    connect(&m_clockStart, &QTimer::timeout, this, [this] {
        const HRESULT hr = m_clock.start();
        if (FAILED(hr))
            qCWarning(lcHost) << "The presentation clock does not start:" << resultText(hr);
    });
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
    entry.driver = std::make_unique<NodeDriver>(node, [this, node] { return mayCreate(node); });
    connect(entry.driver.get(), &NodeDriver::created, this, [this, node] { onCreated(node); });
    connect(entry.driver.get(), &NodeDriver::aboutToDestroy, this, [this, node] { onDestroy(node); });
    connect(entry.driver.get(), &NodeDriver::failed, this, [this, node](const QString &why) {
        // Sources that waited for this sink go ahead without it.
        for (auto &[other, source] : m_entries)
            startSource(source);
        Q_EMIT nodeFailed(node, why);
    });
    // A node that goes without a word has been let go of by its driver before this.
    connect(node, &QObject::destroyed, entry.driver.get(), [this, node] { m_entries.erase(node); });
    watchPins(node, entry.driver.get());
    entry.driver->setActive(m_running);
}

void Pipeline::watchPins(MediaNode *node, NodeDriver *driver)
{
    for (int index = 0; index < node->inputCount(); ++index) {
        NodeInput *const input = node->getInput(index);
        connect(input, &NodeInput::connectedOutputChanged, driver, [input, driver] {
            if (!input->getConnectedOutput())
                input->setConnectedMfMediaType(nullptr);
            driver->request();
        });
    }
    for (int index = 0; index < node->outputCount(); ++index)
        connect(node->getOutput(index), &NodeOutput::connectedInputChanged, driver, &NodeDriver::request);
}

bool Pipeline::mayCreate(const MediaNode *node) const
{
    if (!hasLinks(node))
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
    for (const CComPtr<IMFMediaSink> &sink : entry->sinks)
        sink->Shutdown();
    entry->sinks.clear();
}

bool Pipeline::openSource(Entry &entry, QString &why)
{
    MediaNode *const node = entry.driver->node();
    for (int index = 0; index < node->outputCount(); ++index) {
        NodeOutput *const output = node->getOutput(index);
        if (!output->getConnectedInput() || !output->mfNode())
            continue;
        if (!openOutlet(entry, output, why))
            return false;
    }
    return entry.runner != nullptr;
}

bool Pipeline::openOutlet(Entry &entry, NodeOutput *output, QString &why)
{
    IMFTopologyNode *const mfNode = output->mfNode();
    const auto source = nodeAttribute<IMFMediaSource>(mfNode, MF_TOPONODE_SOURCE);
    const auto presentation = nodeAttribute<IMFPresentationDescriptor>(mfNode, MF_TOPONODE_PRESENTATION_DESCRIPTOR);
    Outlet outlet;
    outlet.descriptor = nodeAttribute<IMFStreamDescriptor>(mfNode, MF_TOPONODE_STREAM_DESCRIPTOR);
    DWORD id = 0;
    if (!source || !presentation || !outlet.descriptor || FAILED(outlet.descriptor->GetStreamIdentifier(&id))) {
        why = QStringLiteral("its topology node names no source, presentation or stream");
        return false;
    }
    const auto failed = failureReport(entry);
    if (!entry.runner) {
        entry.runner = std::make_shared<SourceRunner>(
            source, presentation,
            SourceRunner::Callbacks{
                [failed](HRESULT hr) { failed(QStringLiteral("its source failed with %1").arg(resultText(hr))); },
                [failed] { failed(QStringLiteral("its source has ended")); }});
        m_device.offerTo(source);
    }
    const CComPtr<IMFMediaType> type = currentType(outlet.descriptor);
    const QPointer<NodeInput> input = output->getConnectedInput();
    outlet.feed = std::make_shared<StreamFeed>(
        type,
        StreamFeed::Callbacks{
            [failed](HRESULT hr) { failed(QStringLiteral("its stream failed with %1").arg(resultText(hr))); },
            [caller = m_caller, input](IMFMediaType *changed) {
                caller->call([input, changed = CComPtr<IMFMediaType>(changed)] {
                    if (input && input->getConnectedOutput())
                        input->setConnectedMfMediaType(changed);
                });
            },
            [this, caller = m_caller, input](HRESULT hr) { caller->call([this, input, hr] { refuse(input, hr); }); }});
    entry.runner->addFeed(id, outlet.feed);
    entry.outlets.emplace(output, outlet);
    input->setConnectedMfMediaType(type);
    Entry *const sink = find(input->node());
    if (sink && sink->driver->state() == NodeDriver::State::Off)
        sink->driver->request();
    return true;
}

bool Pipeline::openSink(Entry &entry, NodeInput *input, QString &why)
{
    CComPtr<IUnknown> object;
    CComPtr<IMFStreamSink> stream;
    CComPtr<IMFMediaSink> sink;
    if (FAILED(input->mfNode()->GetObject(&object)) || !object || FAILED(object.QueryInterface(&stream)) ||
        FAILED(stream->GetMediaSink(&sink))) {
        why = QStringLiteral("its topology node holds no stream sink");
        return false;
    }
    const auto failed = failureReport(entry);
    const auto port = std::make_shared<SinkPort>(
        stream, SinkPort::Callbacks{
                    [failed](HRESULT hr) { failed(QStringLiteral("its sink failed with %1").arg(resultText(hr))); },
                    [this, caller = m_caller] { caller->call([this] { requestClock(ClockStartDelay); }); }});
    HRESULT hr = port->open();
    if (SUCCEEDED(hr))
        hr = port->adopt(input->getConnectedMfMediaType());
    if (FAILED(hr)) {
        port->close();
        why = refusalText(hr);
        return false;
    }
    entry.ports[input] = port;
    const bool known = std::any_of(entry.sinks.begin(), entry.sinks.end(),
                                   [&sink](const CComPtr<IMFMediaSink> &other) { return other.IsEqualObject(sink); });
    if (!known) {
        m_clock.addSink(sink);
        entry.sinks.push_back(sink);
    }
    return true;
}

void Pipeline::joinSink(Entry &entry)
{
    for (auto &[input, port] : entry.ports) {
        NodeOutput *const output = input->getConnectedOutput();
        Entry *const source = output ? find(output->node()) : nullptr;
        if (!source || !source->runner)
            continue;
        if (!source->runner->isStarted()) {
            startSource(*source);
            continue;
        }
        const auto outlet = source->outlets.find(output);
        if (outlet != source->outlets.end())
            attach(outlet->second, entry, port);
    }
    entry.driver->node()->onTopologyCreated();
    requestClock(0);
}

void Pipeline::startSource(Entry &entry)
{
    if (!entry.runner || entry.runner->isStarted())
        return;
    std::vector<std::pair<Outlet *, NodeInput *>> connections;
    for (auto &[output, outlet] : entry.outlets) {
        NodeInput *const input = output->getConnectedInput();
        Entry *const sink = input ? find(input->node()) : nullptr;
        if (sink && sink->driver->isPending())
            return;
        if (sink && sink->ports.count(input))
            connections.emplace_back(&outlet, input);
    }
    for (const auto &[outlet, input] : connections) {
        Entry &sink = *find(input->node());
        const bool enumerate = input->node()->needEnumerateMediaTypes();
        if (SUCCEEDED(negotiate(outlet->descriptor, sink.ports[input]->sink(), enumerate)))
            outlet->feed->setType(currentType(outlet->descriptor));
        attach(*outlet, sink, sink.ports[input]);
    }
    const HRESULT hr = entry.runner->start();
    if (FAILED(hr))
        return fail(entry, QStringLiteral("its source does not start (%1)").arg(resultText(hr)));
    entry.driver->node()->onTopologyCreated();
}

void Pipeline::attach(Outlet &outlet, Entry &sink, const std::shared_ptr<SinkPort> &port)
{
    const HRESULT hr = outlet.feed->attach(port);
    if (FAILED(hr))
        failureReport(sink)(refusalText(hr));
}

void Pipeline::refuse(NodeInput *input, HRESULT hr)
{
    Entry *const sink = input ? find(input->node()) : nullptr;
    if (sink && sink->ports.count(input))
        fail(*sink, refusalText(hr));
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
