#pragma once

#include "host/graph/Graph.h"
#include "tests/host/EventLoop.h"

#include <QtCore/QByteArray>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

#include <gtest/gtest.h>

#include <memory>

// A graph out of a text, with an engine of its own.
class QmlScene
{
public:
    // `text`: a Graph, without the imports.
    explicit QmlScene(const QByteArray &text)
    {
        m_engine.setImportPathList(QStringList(QStringLiteral(TAVRIN_QML_DIR)) + m_engine.importPathList());
        QQmlComponent component(&m_engine);
        component.setData("import QtQml 2.15\nimport Multimedia.Tavrin 1.0\nimport Tavrin.Host 1.0\n"
                          "import Tavrin.Test 1.0\n" +
                              text,
                          QUrl());
        m_graph.reset(qobject_cast<host::Graph *>(component.create()));
        EXPECT_TRUE(m_graph) << qPrintable(component.errorString());
    }

    bool isLoaded() const { return m_graph != nullptr; }
    host::Graph &graph() { return *m_graph; }
    // What a property of the graph holds.
    QObject &object(const char *property) { return *m_graph->property(property).value<QObject *>(); }

private:
    QQmlEngine m_engine;
    std::unique_ptr<host::Graph> m_graph; // goes before the engine
};
