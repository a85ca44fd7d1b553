// A scene whose sender is held up in a send, over the scripted runtime.

#include "host/HostTypes.h"
#include "host/graph/Graph.h"
#include "host/graph/Link.h"
#include "host/graph/SinkFarewell.h"
#include "host/pipeline/StreamPace.h"
#include "hostfw/MediaNode.h"
#include "plugin/QmlPlugin.h"
#include "tests/host/EventLoop.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedNdi.h"

#include <QtCore/QThreadPool>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace
{

constexpr int SendDeadline = 60000; // milliseconds
constexpr int Rate = 50;

class HeldSenderTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        QmlPlugin().registerTypes("Multimedia.Tavrin");
        host::registerHostTypes({});
    }
    void SetUp() override
    {
        QQmlComponent component(&m_engine);
        component.setData(R"(
            import QtQml 2.15
            import Multimedia.Tavrin 1.0
            import Tavrin.Host 1.0
            Graph {
                property var target: sink
                property var soundTarget: target
                TestPattern { id: pattern; width: 160; height: 64; fps: 50 }
                NDISink { id: sink; objectName: "sink"; name: "Studio" }
                NDISink { id: other; objectName: "other"; name: "Gallery" }
                Link { objectName: "video"; from: pattern.videoOutput; to: target.videoInput }
                Link { objectName: "audio"; from: pattern.audioOutput; to: soundTarget.audioInput }
                function moveToOther() { target = other }
                function moveSoundToOther() { soundTarget = other }
            })",
                          QUrl());
        m_scene.reset(qobject_cast<host::Graph *>(component.create()));
        ASSERT_TRUE(m_scene) << qPrintable(component.errorString());
        ASSERT_TRUE(sends(5));
    }
    void TearDown() override
    {
        m_ndi.holdSends(false);
        m_scene.reset();
        QThreadPool::globalInstance()->waitForDone();
        EXPECT_TRUE(host::waitForFarewells(std::chrono::milliseconds(SendDeadline)));
        EXPECT_TRUE(
            m_ndi.waitFor([](const ScriptedNdi::Calls &calls) { return calls.sendersDestroyed == calls.sendersMade; }));
        EXPECT_TRUE(m_ndi.reset());
    }

    // So many pictures and pieces of sound more.
    bool sends(int count)
    {
        const ScriptedNdi::Calls before = m_ndi.calls();
        return waitUntil(
            [&] {
                const ScriptedNdi::Calls now = m_ndi.calls();
                return now.videoSends >= before.videoSends + count && now.audioSends >= before.audioSends + count;
            },
            SendDeadline);
    }
    void holdUp()
    {
        m_ndi.holdSends(true);
        ASSERT_TRUE(m_ndi.waitFor(isSending));
    }
    // A send is under way, which has not ended without the test's leave.
    static bool isSending(const ScriptedNdi::Calls &calls)
    {
        return calls.holdsOver == 0 && calls.sendsEntered > calls.videoSends + calls.audioSends;
    }
    bool isHeldUp() { return isSending(m_ndi.calls()); }
    void letGo() { m_ndi.holdSends(false); }
    MediaNode &sink() { return *m_scene->findChild<MediaNode *>("sink"); }
    QVariantMap figures(const char *link) { return m_scene->findChild<host::Link *>(link)->figures(); }
    bool senderGoes()
    {
        return m_ndi.waitFor([](const ScriptedNdi::Calls &calls) { return calls.sendersDestroyed == 1; });
    }

    ScriptedNdi &m_ndi = ScriptedNdi::instance();
    LogCapture m_log;
    QQmlEngine m_engine;
    std::unique_ptr<host::Graph> m_scene;
};

TEST_F(HeldSenderTest, SceneGoesOnAndTheSinkHoldsNoMoreThanItMay)
{
    holdUp();
    ASSERT_TRUE(waitUntil(
        [this] { return figures("video")["leftOutFull"].toInt() > 5 && figures("audio")["leftOutFull"].toInt() > 5; },
        SendDeadline));
    EXPECT_TRUE(isHeldUp());
    const double pictureMs = 1000.0 / Rate;
    const double mostMs = static_cast<double>(host::StreamPace::mostHeld.toMilliseconds()) + pictureMs;
    for (const char *const link : {"video", "audio"}) {
        const unsigned held = figures(link)["held"].toUInt();
        EXPECT_LE(1U, held) << link;
        EXPECT_GE(mostMs, held * pictureMs) << link; // a piece of sound lasts as long as a picture
    }
}

TEST_F(HeldSenderTest, NewestGoesWhenTheSenderGoesOn)
{
    holdUp();
    const std::size_t sent = m_ndi.calls().sentVideo.size();
    // Some may have been left out before, and the first of these here and there while the sink filled.
    const int leftOut = figures("video")["leftOutFull"].toInt();
    ASSERT_TRUE(waitUntil([&] { return figures("video")["leftOutFull"].toInt() >= leftOut + 2 * Rate; }, SendDeadline));
    letGo();
    ASSERT_TRUE(sends(20));
    const std::vector<ScriptedNdi::SentVideo> frames = m_ndi.calls().sentVideo;
    constexpr int64_t second = 10000000;
    int64_t widest = 0;
    for (std::size_t frame = sent; frame < frames.size(); ++frame) {
        const int64_t step = frames[frame].frame.timecode - frames[frame - 1].frame.timecode;
        EXPECT_LT(0, step) << frame;
        widest = std::max(widest, step);
    }
    // What was left out lay between those that the sink had and the newest.
    EXPECT_LE(second, widest);
    EXPECT_TRUE(waitUntil([this] { return figures("video")["held"].toInt() <= 1; }, SendDeadline));
}

TEST_F(HeldSenderTest, StopReturnsWhileASendIsHeldUp)
{
    holdUp();
    m_scene->stop();
    EXPECT_TRUE(isHeldUp());
    letGo();
    EXPECT_TRUE(senderGoes());
}

TEST_F(HeldSenderTest, GraphThatIsStartedAgainSends)
{
    holdUp();
    m_scene->stop();
    m_scene->start();
    EXPECT_TRUE(isHeldUp());
    letGo();
    EXPECT_TRUE(sends(5));
}

TEST_F(HeldSenderTest, NodeGoesWhileItsSendIsHeldUp)
{
    holdUp();
    delete &sink();
    EXPECT_TRUE(isHeldUp());
    letGo();
    EXPECT_TRUE(senderGoes());
}

TEST_F(HeldSenderTest, SceneGoesWhileASendIsHeldUp)
{
    holdUp();
    m_scene.reset();
    EXPECT_TRUE(isHeldUp());
    EXPECT_FALSE(host::waitForFarewells(std::chrono::milliseconds(0)));
    letGo();
    EXPECT_TRUE(senderGoes());
}

TEST_F(HeldSenderTest, SinkTakesAnotherNameWhileASendIsHeldUp)
{
    holdUp();
    sink().setProperty("name", "Stage");
    ASSERT_TRUE(waitUntil([this] { return m_ndi.calls().sendersMade == 2; }, SendDeadline)); // a second at the latest
    EXPECT_TRUE(isHeldUp());
    letGo();
    EXPECT_TRUE(senderGoes());
    EXPECT_TRUE(sends(5));
    EXPECT_EQ("Stage", m_ndi.calls().senderSettings[1].name);
}

TEST_F(HeldSenderTest, SinkThatIsMadeAnewKeepsItsName)
{
    holdUp();
    QElapsedTimer elapsed;
    elapsed.start();
    sink().setProperty("name", "Stage");
    sink().setProperty("name", "Studio");
    ASSERT_TRUE(waitUntil([] { return !host::waitForFarewells(std::chrono::milliseconds(0)); }, SendDeadline));
    letGo();
    ASSERT_TRUE(waitUntil([this] { return m_ndi.calls().sendersMade == 2; }, SendDeadline));
    EXPECT_TRUE(m_ndi.calls().namesakes == 0 || elapsed.hasExpired(950));
    EXPECT_EQ("Studio", m_ndi.calls().senderSettings[1].name);
    EXPECT_TRUE(sends(5));
}

TEST_F(HeldSenderTest, LinksMoveToAnotherSinkWhileASendIsHeldUp)
{
    holdUp();
    QMetaObject::invokeMethod(m_scene.get(), "moveToOther");
    // The other one is made, though none of the two can send.
    ASSERT_TRUE(waitUntil([this] { return m_ndi.calls().sendersMade == 2; }, SendDeadline));
    EXPECT_TRUE(isHeldUp());
    letGo();
    EXPECT_TRUE(senderGoes());
    EXPECT_TRUE(sends(5));
    EXPECT_EQ("Gallery", m_ndi.calls().senderSettings[1].name);
}

TEST_F(HeldSenderTest, AnotherSinkJoinsWhileASendIsHeldUp)
{
    QMetaObject::invokeMethod(m_scene.get(), "moveSoundToOther");
    ASSERT_TRUE(waitUntil([this] { return m_ndi.calls().sendersDestroyed == 1; }, SendDeadline));
    // More than a sink that is held up is given.
    ASSERT_TRUE(sends(static_cast<int>(host::StreamPace::mostSamples) + 1));
    holdUp();
    const int before = m_ndi.calls().sendersMade;
    auto &other = *m_scene->findChild<MediaNode *>("other");
    other.setProperty("name", "Stage");
    ASSERT_TRUE(waitUntil([&] { return m_ndi.calls().sendersMade == before + 1; }, SendDeadline));
    // It joins the clock, which knows the sink that is held up. Its figures begin anew.
    ASSERT_TRUE(waitUntil(
        [this] {
            const QVariantMap now = figures("audio");
            return !now.isEmpty() && now["samples"].toUInt() <= host::StreamPace::mostSamples;
        },
        SendDeadline));
    EXPECT_TRUE(isHeldUp());
    letGo();
    EXPECT_TRUE(sends(5));
}

} // namespace
