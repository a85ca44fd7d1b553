#pragma once

#include "host/graph/Graph.h"
#include "tests/e2e/CollectingSink.h"
#include "tests/host/EventLoop.h"

#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

#include <gtest/gtest.h>

#include <memory>

// A running scene with the module's source and a sink that collects: it takes the sender whose name contains `wanted`.
class Scene
{
public:
    explicit Scene(const QString &wanted)
    {
        m_engine.setImportPathList(QStringList(QStringLiteral(TAVRIN_QML_DIR)) + m_engine.importPathList());
        QQmlComponent component(&m_engine);
        component.setData(R"(
            import QtQml 2.15
            import Multimedia.Tavrin 1.0
            import Tavrin.Host 1.0
            import Tavrin.Test 1.0
            Graph {
                id: graph
                property string wanted
                property var source: ndi
                property CollectingSink sink: collector
                onWantedChanged: choose()
                function choose() {
                    const input = NDI.inputs.find(candidate => wanted !== "" && candidate.name.includes(wanted))
                    if (input !== undefined)
                        ndi.input = input
                }
                NDISource { id: ndi; tallyProgram: true }
                CollectingSink { id: collector }
                Link { from: ndi.videoOutput; to: collector.videoInput }
                Link { from: ndi.audioOutput; to: collector.audioInput }
                Connections {
                    target: NDI
                    function onInputsChanged() { graph.choose() }
                }
            })",
                          QUrl());
        m_graph.reset(qobject_cast<host::Graph *>(component.create()));
        EXPECT_TRUE(m_graph) << qPrintable(component.errorString());
        if (m_graph)
            want(wanted);
    }

    bool isLoaded() const { return m_graph != nullptr; }
    host::Graph &graph() { return *m_graph; }
    QObject &source() { return *m_graph->property("source").value<QObject *>(); }
    CollectingSink &sink() const { return *m_graph->findChild<CollectingSink *>(); }
    void want(const QString &name) { m_graph->setProperty("wanted", name); }

    // Waits for that many more pictures and buffers of sound.
    bool receives(std::size_t pictures, std::size_t buffers)
    {
        const std::size_t picturesBefore = sink().video().count();
        const std::size_t buffersBefore = sink().audio().count();
        return waitUntil([&] {
            return sink().video().count() >= picturesBefore + pictures &&
                   sink().audio().count() >= buffersBefore + buffers;
        });
    }

private:
    QQmlEngine m_engine;
    std::unique_ptr<host::Graph> m_graph; // goes before the engine
};
