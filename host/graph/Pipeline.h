#pragma once

#include "host/graph/GraphicsDevice.h"
#include "host/graph/NodeDriver.h"
#include "host/graph/ObjectCaller.h"
#include "host/pipeline/GraphClock.h"
#include "host/pipeline/SinkPort.h"
#include "host/pipeline/SourceRunner.h"

#include <QtCore/QList>
#include <QtCore/QObject>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace host
{

// Runs the nodes of a graph: connects what they create and drives it with one presentation clock.
//
// Sources and sinks come and go by themselves. A sink keeps running while its source is made anew or it is linked to
// another one, and the other way round; the connection is put together again when both are there. A source starts when
// the sinks that are being made for it are ready, or have failed; those that come later join it as it runs.
//
// Lives on the thread of the QML engine. Work queue threads reach it through m_caller only.
class Pipeline : public QObject
{
    Q_OBJECT

public:
    // A source that does not hear its sender although NDI.inputs lists it is made anew after so many milliseconds.
    explicit Pipeline(int searchPatience = NodeDriver::Search().patience, QObject *parent = nullptr);
    ~Pipeline() override;

    // The nodes to run. Nodes that leave the list are destroyed first.
    void setNodes(const QList<MediaNode *> &nodes);
    void start();
    void stop();
    bool isRunning() const { return m_running; }

    // How often a node had to be made again because it failed or its source ended.
    int restarts() const;
    // What goes to the sink behind that input; none while there is no sink.
    std::optional<PortFigures> figures(const NodeInput *input) const;

Q_SIGNALS:
    void nodeFailed(MediaNode *node, const QString &why);

private:
    // An output whose stream the running source delivers.
    struct Outlet {
        std::shared_ptr<StreamFeed> feed;
        CComPtr<IMFStreamDescriptor> descriptor;
    };
    // A node and what it has created. Generations tell late reports of an earlier source or sink from those of now.
    struct Entry {
        std::unique_ptr<NodeDriver> driver;
        std::shared_ptr<SourceRunner> runner;
        std::map<NodeOutput *, Outlet> outlets;
        std::map<NodeInput *, std::shared_ptr<SinkPort>> ports;
        std::vector<CComPtr<IMFMediaSink>> sinks;
        std::shared_ptr<SinkActivity> activity; // of these
        quint64 generation = 0;
    };
    using EntryMap = std::map<MediaNode *, Entry>;

    Entry *find(const MediaNode *node);
    void add(MediaNode *node);
    bool mayCreate(const MediaNode *node) const;

    void onCreated(MediaNode *node);
    void onDestroy(MediaNode *node);
    void giveUpSinks(Entry &entry);
    bool openSource(Entry &entry, QString &why);
    bool openOutlet(Entry &entry, NodeOutput *output, QString &why);
    // The type that the sink behind that input is made for.
    void tellType(const Outlet &outlet, NodeInput &input);
    bool openSink(Entry &entry, NodeInput *input, QString &why);
    void startSource(Entry &entry);
    void joinSink(Entry &entry);
    void attach(Outlet &outlet, Entry &sink, const std::shared_ptr<SinkPort> &port);
    // The sink that the output is linked to has turned a type down.
    void refuse(const NodeOutput *output, HRESULT hr);
    Outlet *findOutlet(const NodeOutput *output);

    // Links have changed. A stream that goes to another sink now goes on there; only nodes whose own streams are other
    // ones now are made anew.
    void rewire();
    static bool fitsItsLinks(const Entry &entry);
    std::shared_ptr<SinkPort> linkedPort(const NodeOutput *output);
    void relink(const Entry &source, Outlet &outlet, NodeInput &input);
    void requestClock(int delay);
    void fail(Entry &entry, const QString &why);
    // Calls fail() for the node later, on the graph's thread, if its media objects are still those of now.
    std::function<void(const QString &)> failureReport(const Entry &entry);

    const int m_searchPatience;
    EntryMap m_entries;
    // How many times the sinks of a node are still being given up. Until they are it makes none: a sender would have to
    // take another name. A node may leave the graph and come back meanwhile.
    std::map<const MediaNode *, int> m_farewells;
    GraphicsDevice m_device;
    GraphClock m_clock;
    const std::shared_ptr<ObjectCaller> m_caller;
    bool m_running = false;
    QTimer m_clockStart;
    // Links change one after the other; what has come of all of them counts.
    QTimer m_rewiring;
    std::set<MediaNode *> m_changed;
    quint64 m_lastGeneration = 0;
};

} // namespace host
