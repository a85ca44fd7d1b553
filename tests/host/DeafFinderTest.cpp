// Sources of the module in a graph whose finders hear nothing, over the scripted runtime.

#include "host/graph/Pipeline.h"
#include "plugin/QmlPlugin.h"
#include "tests/host/EventLoop.h"
#include "tests/host/FakeNodes.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedNdi.h"

#include <QtCore/QThreadPool>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

#include <gtest/gtest.h>

#include <memory>

namespace
{

constexpr int Patience = 1500; // milliseconds
constexpr int Deadline = 60000;
constexpr const char *Studio = "HOST (Studio)";

// A scene with a source, as QML makes it, before a sink of the test's.
struct SourceScene {
    explicit SourceScene(QQmlEngine &engine)
    {
        QQmlComponent component(&engine);
        component.setData(R"(
            import QtQml 2.15
            import Multimedia.Tavrin 1.0
            NDISource {
                readonly property int listed: NDI.inputs.length
                function take(name, address) {
                    const sender = NDI.createInput()
                    sender.name = name
                    sender.address = address
                    input = sender
                }
            })",
                          QUrl());
        node.reset(qobject_cast<MediaNode *>(component.create()));
        EXPECT_TRUE(node) << qPrintable(component.errorString());
        node->getOutput(0)->connectTo(sink.video());
    }
    void take(const char *name, const char *address) const
    {
        QMetaObject::invokeMethod(node.get(), "take", Q_ARG(QVariant, name), Q_ARG(QVariant, address));
    }

    KeepingSink sink;
    std::unique_ptr<MediaNode> node;
};

class DeafFinderTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { QmlPlugin().registerTypes("Multimedia.Tavrin"); }

    DeafFinderTest()
    {
        m_ndi.setSources({{Studio, "127.0.0.1:5961"}});
        m_pipeline.setNodes({m_scene.node.get(), &m_scene.sink, m_other.node.get(), &m_other.sink});
        m_pipeline.start();
    }
    void SetUp() override
    {
        ASSERT_TRUE(waitUntil([this] { return m_scene.node->property("listed") == 1; }));
        ASSERT_EQ(1, m_ndi.calls().findersMade);
    }
    void TearDown() override
    {
        m_pipeline.setNodes({});
        m_engine.reset();
        QThreadPool::globalInstance()->waitForDone();
        // The media source goes on a thread of its work queue.
        EXPECT_TRUE(m_ndi.waitFor(
            [](const ScriptedNdi::Calls &calls) { return calls.receiversDestroyed == calls.receiversMade; }));
        EXPECT_TRUE(m_ndi.reset());
    }

    ScriptedNdi &m_ndi = ScriptedNdi::instance();
    LogCapture m_log;
    std::unique_ptr<QQmlEngine> m_engine = std::make_unique<QQmlEngine>();
    SourceScene m_scene{*m_engine};
    SourceScene m_other{*m_engine};
    host::Pipeline m_pipeline{Patience};
};

TEST_F(DeafFinderTest, SourceComesUpThoughItsFirstFindersHearNothing)
{
    m_ndi.deafenFinders(3);
    m_scene.take(Studio, "127.0.0.1:5961");
    ASSERT_TRUE(waitUntil([this] { return m_scene.node->status() == MediaNode::Created; }, Deadline));
    EXPECT_LE(5, m_ndi.calls().findersMade); // more where a finder that hears took longer than the patience
    EXPECT_EQ(0, m_pipeline.restarts());
    EXPECT_EQ(1, m_log.countContaining("does not hear HOST (Studio) though it is listed"));
    // A job that is given up leaves its thread, and its finder, within a quarter of a second.
    EXPECT_TRUE(waitUntil([] { return QThreadPool::globalInstance()->activeThreadCount() == 0; }));
    EXPECT_EQ(m_ndi.calls().findersMade - 1, m_ndi.calls().findersDestroyed); // but for that of NDI.inputs
}

TEST_F(DeafFinderTest, SourceWhoseSenderIsNotListedGoesOnSearching)
{
    // Somebody else is there under that name now.
    m_other.take(Studio, "127.0.0.1:5962");
    ASSERT_TRUE(waitUntil([this] { return m_ndi.calls().findersMade == 2; }));

    m_ndi.deafenFinders(3);
    m_scene.take(Studio, "127.0.0.1:5961");
    ASSERT_TRUE(waitUntil([this] { return m_scene.node->status() == MediaNode::Created; }, Deadline));
    EXPECT_LE(6, m_ndi.calls().findersMade);
    EXPECT_EQ(MediaNode::Creating, m_other.node->status());
    EXPECT_EQ(1, m_log.countContaining("does not hear"));
}

} // namespace
