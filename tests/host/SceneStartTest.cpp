// How often a scene makes its nodes when it starts.

#include "host/graph/Graph.h"
#include "host/monitor/Monitor.h"
#include "tests/host/EventLoop.h"
#include "tests/host/FakeNodes.h"

#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

#include <gtest/gtest.h>

#include <memory>

namespace
{

class SceneStartTest : public testing::Test
{
protected:
    // A scene with a source that searches for its sender; the lines choose it.
    void load(const QByteArray &sourceLines, const QByteArray &graphLines)
    {
        qmlRegisterType<SearchingSource>("Tavrin.Fake", 1, 0, "SearchingSource");
        QQmlComponent component(&m_engine);
        component.setData("import QtQml 2.15\nimport Tavrin.Host 1.0\nimport Tavrin.Fake 1.0\n"
                          "Graph {\n"
                          "    id: graph\n"
                          "    function choose() { source.input = source.named(\"Studio\") }\n"
                          "    SearchingSource { id: source; " +
                              sourceLines +
                              " }\n"
                              "    Monitor { id: monitor }\n"
                              "    Link { from: source.videoOutput; to: monitor.videoInput }\n"
                              "    Link { from: source.audioOutput; to: monitor.audioInput }\n" +
                              graphLines + "\n}",
                          QUrl());
        m_scene.reset(component.create());
        ASSERT_TRUE(m_scene) << qPrintable(component.errorString());
    }
    // Waits until the scene plays. All that is to come of the start has come by then: the links were there before.
    void expectOneCreation()
    {
        const auto *const monitor = m_scene->findChild<host::Monitor *>();
        ASSERT_TRUE(waitUntil(
            [&] { return monitor->videoFigures().stream.samples > 5 && monitor->audioFigures().stream.samples > 5; }));
        EXPECT_EQ(1, source().created);
        EXPECT_EQ(0, source().destroyed);
    }
    SearchingSource &source() { return *m_scene->findChild<SearchingSource *>(); }

    QQmlEngine m_engine;
    std::unique_ptr<QObject> m_scene;
};

TEST_F(SceneStartTest, MakesASourceOnceWhoseSenderIsNamedInTheDocument)
{
    load("input: source.named(\"Studio\")", "");
    expectOneCreation();
}

TEST_F(SceneStartTest, MakesASourceOnceWhoseSenderIsChosenOnCompletion)
{
    load("", "Component.onCompleted: choose()");
    expectOneCreation();
}

TEST_F(SceneStartTest, MakesASourceOnceWhoseSenderIsFoundLater)
{
    load("", "Timer { running: true; interval: 1; onTriggered: graph.choose() }");
    expectOneCreation();
}

TEST_F(SceneStartTest, MakesASourceAnewWhenItsSenderIsChosenAnew)
{
    load("", "Component.onCompleted: choose()");
    expectOneCreation();
    source().setInput({QStringLiteral("Gallery")});
    EXPECT_TRUE(waitUntil([this] { return source().created == 2 && source().destroyed == 1; }));
    source().setInput({});
    EXPECT_TRUE(waitUntil([this] { return source().destroyed == 2; }));
    EXPECT_EQ(2, source().created);
}

} // namespace
