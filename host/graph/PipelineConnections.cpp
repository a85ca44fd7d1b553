#include "host/Log.h"
#include "host/ResultText.h"
#include "host/graph/Negotiation.h"
#include "host/graph/Pipeline.h"

#include <mfapi.h>
#include <mferror.h>

#include <algorithm>
#include <utility>

namespace host
{

namespace
{

// Sinks adopt their types in the background; a clock that started too early is started again after this time.
constexpr int ClockStartDelay = 20; // milliseconds

bool isLive(IMFMediaSource *source)
{
    DWORD characteristics = 0;
    return SUCCEEDED(source->GetCharacteristics(&characteristics)) && (characteristics & MFMEDIASOURCE_IS_LIVE) != 0;
}

QString refusalText(HRESULT hr)
{
    return QStringLiteral("it does not take the type of its stream (%1)").arg(resultText(hr));
}

bool carriesSound(const NodeInput &input)
{
    GUID majorType = GUID_NULL;
    IMFMediaType *const type = input.getConnectedMfMediaType();
    return type && SUCCEEDED(type->GetMajorType(&majorType)) && IsEqualGUID(majorType, MFMediaType_Audio);
}

// "Studio, sound"
QString inputName(const NodeInput &input)
{
    return nodeName(input.node()) + (carriesSound(input) ? QStringLiteral(", sound") : QStringLiteral(", picture"));
}

template <typename Interface>
CComPtr<Interface> nodeAttribute(IMFTopologyNode *node, REFGUID key)
{
    CComPtr<Interface> object;
    node->GetUnknown(key, __uuidof(Interface), reinterpret_cast<void **>(&object));
    return object;
}

} // namespace

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
    const QPointer<NodeOutput> watched = output;
    outlet.feed = std::make_shared<StreamFeed>(
        type, isLive(source),
        StreamFeed::Callbacks{
            [failed](HRESULT hr) { failed(QStringLiteral("its stream failed with %1").arg(resultText(hr))); },
            [caller = m_caller, watched](IMFMediaType *changed) {
                caller->call([watched, changed = CComPtr<IMFMediaType>(changed)] {
                    if (NodeInput *const input = watched ? watched->getConnectedInput() : nullptr)
                        input->setConnectedMfMediaType(changed);
                });
            },
            [this, caller = m_caller, watched](HRESULT hr) {
                caller->call([this, watched, hr] { refuse(watched, hr); });
            }});
    entry.runner->addFeed(id, outlet.feed);
    entry.outlets.emplace(output, outlet);
    tellType(outlet, *output->getConnectedInput());
    return true;
}

void Pipeline::tellType(const Outlet &outlet, NodeInput &input)
{
    input.setConnectedMfMediaType(outlet.feed->type());
    Entry *const sink = find(input.node());
    if (sink && sink->driver->state() == NodeDriver::State::Off)
        sink->driver->request();
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
    if (!entry.activity)
        entry.activity = std::make_shared<SinkActivity>();
    const auto port = std::make_shared<SinkPort>(
        stream,
        SinkPort::Callbacks{
            [failed](HRESULT hr) { failed(QStringLiteral("its sink failed with %1").arg(resultText(hr))); },
            [this, caller = m_caller] { caller->call([this] { requestClock(ClockStartDelay); }); }},
        entry.activity, inputName(*input));
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

void Pipeline::refuse(const NodeOutput *output, HRESULT hr)
{
    NodeInput *const input = output ? output->getConnectedInput() : nullptr;
    Entry *const sink = input ? find(input->node()) : nullptr;
    const Outlet *const outlet = output ? findOutlet(output) : nullptr;
    // A feed that is attached has been linked to another sink since.
    if (sink && sink->ports.count(input) && outlet && outlet->feed->isAttachedTo(nullptr))
        fail(*sink, refusalText(hr));
}

Pipeline::Outlet *Pipeline::findOutlet(const NodeOutput *output)
{
    Entry *const source = find(output->node());
    if (!source || !source->runner)
        return nullptr;
    const auto found = source->outlets.find(const_cast<NodeOutput *>(output));
    return found == source->outlets.end() ? nullptr : &found->second;
}

// Whether the streams and stream sinks of a node are those that its links ask for.
bool Pipeline::fitsItsLinks(const Entry &entry)
{
    if (entry.driver->state() != NodeDriver::State::Ready)
        return false;
    const MediaNode *const node = entry.driver->node();
    for (int index = 0; index < node->inputCount(); ++index) {
        NodeInput *const input = node->getInput(index);
        if ((input->getConnectedOutput() != nullptr) != (entry.ports.count(input) > 0))
            return false;
    }
    for (int index = 0; index < node->outputCount(); ++index) {
        NodeOutput *const output = node->getOutput(index);
        if ((output->getConnectedInput() != nullptr) != (entry.outlets.count(output) > 0))
            return false;
    }
    return true;
}

std::shared_ptr<SinkPort> Pipeline::linkedPort(const NodeOutput *output)
{
    NodeInput *const input = output->getConnectedInput();
    Entry *const sink = input ? find(input->node()) : nullptr;
    if (!sink)
        return nullptr;
    const auto port = sink->ports.find(input);
    return port == sink->ports.end() ? nullptr : port->second;
}

void Pipeline::rewire()
{
    for (MediaNode *const node : std::exchange(m_changed, {})) {
        Entry *const entry = find(node);
        // A node that is being made meanwhile is not made twice: a sink would be on the network as two senders.
        if (entry && !entry->driver->isMakingForItsLinks() && !fitsItsLinks(*entry))
            entry->driver->request();
    }
    // What ends before what begins: the sink that a stream goes to may have been another's until now.
    for (auto &[node, entry] : m_entries) {
        for (auto &[output, outlet] : entry.outlets) {
            if (!outlet.feed->isAttachedTo(linkedPort(output)))
                outlet.feed->detach();
        }
    }
    for (auto &[node, entry] : m_entries) {
        for (auto &[output, outlet] : entry.outlets) {
            if (output->getConnectedInput())
                relink(entry, outlet, *output->getConnectedInput());
        }
    }
    // The sink that a source has waited for may be another's by now.
    for (auto &[node, entry] : m_entries)
        startSource(entry);
}

void Pipeline::relink(const Entry &source, Outlet &outlet, NodeInput &input)
{
    if (!input.getConnectedMfMediaType())
        tellType(outlet, input);
    Entry *const sink = find(input.node());
    if (!sink || !source.runner->isStarted())
        return;
    const auto port = sink->ports.find(&input);
    if (port != sink->ports.end() && !outlet.feed->isAttachedTo(port->second))
        attach(outlet, *sink, port->second);
}

} // namespace host
