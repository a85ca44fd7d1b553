#include "host/graph/Graph.h"
#include "host/Snapshot.h"
#include "host/monitor/Monitor.h"
#include "host/source/TestPattern.h"
#include "pattern/TestPicture.h"
#include "tests/host/EventLoop.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

#include <gtest/gtest.h>

#include <memory>

namespace
{

class GraphTest : public testing::Test
{
protected:
    // A scene made of the lines within Graph { }.
    void load(const QByteArray &lines)
    {
        QQmlComponent component(&m_engine);
        component.setData("import QtQml 2.15\nimport Tavrin.Host 1.0\nGraph {\n" + lines + "\n}", QUrl());
        m_scene.reset(qobject_cast<host::Graph *>(component.create()));
        ASSERT_TRUE(m_scene) << qPrintable(component.errorString());
    }
    // A pattern and a monitor, linked, with those properties of the pattern.
    void loadPattern(const QByteArray &properties)
    {
        load("TestPattern { id: pattern; " + properties +
             " }\n"
             "Monitor { id: monitor }\n"
             "Link { from: pattern.videoOutput; to: monitor.videoInput }\n"
             "Link { from: pattern.audioOutput; to: monitor.audioInput }\n");
    }
    template <typename Type>
    Type &find()
    {
        return *m_scene->findChild<Type *>();
    }
    bool receives(std::uint64_t pictures, std::uint64_t buffers)
    {
        const std::uint64_t picturesBefore = find<host::Monitor>().videoFigures().stream.samples;
        const std::uint64_t buffersBefore = find<host::Monitor>().audioFigures().stream.samples;
        return waitUntil([&] {
            return find<host::Monitor>().videoFigures().stream.samples >= picturesBefore + pictures &&
                   find<host::Monitor>().audioFigures().stream.samples >= buffersBefore + buffers;
        });
    }

    QQmlEngine m_engine;
    std::unique_ptr<host::Graph> m_scene;
};

TEST_F(GraphTest, CarriesEveryFrameOfAnUnpacedPatternInOrder)
{
    loadPattern("width: 320; height: 180; paced: false");
    ASSERT_TRUE(receives(200, 200));
    const host::VideoFigures figures = find<host::Monitor>().videoFigures();
    EXPECT_EQ(figures.coded, figures.stream.samples);
    EXPECT_EQ(figures.lost, 0U);
    EXPECT_EQ(figures.lastFrame + 1, figures.coded);
    EXPECT_EQ(figures.stream.gaps, 0U);
    EXPECT_EQ(find<host::Monitor>().audioFigures().stream.gaps, 0U);
}

TEST_F(GraphTest, ReportsTheFormatOfThePattern)
{
    loadPattern("width: 640; height: 360; fps: 59.94; subtype: \"BGRX\"; sampleRate: 44100; channels: 6; paced: false");
    ASSERT_TRUE(receives(3, 3));
    const QVariantMap video = find<host::Monitor>().video();
    EXPECT_EQ(video["subtype"], "RGB32");
    EXPECT_EQ(video["width"], 640);
    EXPECT_EQ(video["height"], 360);
    EXPECT_DOUBLE_EQ(video["nominalRate"].toDouble(), 60000.0 / 1001.0);
    const QVariantMap audio = find<host::Monitor>().audio();
    EXPECT_EQ(audio["sampleRate"], 44100);
    EXPECT_EQ(audio["channels"], 6);
}

TEST_F(GraphTest, PacesThePatternToItsFrameRate)
{
    loadPattern("width: 160; height: 90; fps: 50");
    QElapsedTimer elapsed;
    elapsed.start();
    ASSERT_TRUE(receives(26, 26));
    EXPECT_GE(elapsed.elapsed(), 490);
}

TEST_F(GraphTest, SavesThePictureOfThePattern)
{
    loadPattern("width: 320; height: 180; subtype: \"ARGB32\"; paced: false");
    ASSERT_TRUE(receives(1, 1));
    m_scene->stop();
    const QTemporaryDir folder;
    // Frames that were on their way may still arrive.
    std::uint64_t frame = 0;
    ASSERT_TRUE(waitUntil([&] {
        frame = find<host::Monitor>().videoFigures().lastFrame;
        return find<host::Monitor>().snapshot(folder.filePath("a.png")) &&
               frame == find<host::Monitor>().videoFigures().lastFrame;
    }));
    const QImage saved(folder.filePath("a.png"));
    ASSERT_EQ(saved.size(), QSize(320, 180));
    pattern::TestPicture expected(pattern::PixelLayout::BGRA, 320, 180);
    expected.draw(frame, frame % 25 < 3);
    for (int y = pattern::codeHeight(320); y < 180; ++y) {
        const auto *const line = reinterpret_cast<const QRgb *>(expected.picture().line(y));
        for (int x = 0; x < 320; ++x)
            ASSERT_EQ(saved.pixel(x, y), line[x]) << x << ' ' << y << " of frame " << frame;
    }
}

TEST_F(GraphTest, SavesThePicturesOfTwoMonitorsSideBySide)
{
    load("TestPattern { id: one; width: 320; height: 180; subtype: \"ARGB32\"; frames: 3 }\n"
         "TestPattern { id: two; width: 160; height: 96; subtype: \"ARGB32\"; frames: 3 }\n"
         "Monitor { id: first }\nMonitor { id: second }\nMonitor { id: third }\n"
         "Link { from: one.videoOutput; to: first.videoInput }\n"
         "Link { from: two.videoOutput; to: second.videoInput }\n");
    const QList<host::Monitor *> monitors = m_scene->findChildren<host::Monitor *>();
    const QTemporaryDir folder;
    EXPECT_FALSE(host::writeSnapshot(monitors, folder.filePath("none.png")));
    EXPECT_FALSE(host::writeSnapshot({}, folder.filePath("none.png")));
    ASSERT_TRUE(waitUntil([&] {
        return monitors[0]->videoFigures().stream.samples > 0 && monitors[1]->videoFigures().stream.samples > 0;
    }));
    m_scene->stop();
    ASSERT_TRUE(host::writeSnapshot(monitors, folder.filePath("both.png")));
    const QImage saved(folder.filePath("both.png"));
    ASSERT_EQ(saved.size(), QSize(480, 180));
    const auto same = [](const QImage &left, const QImage &right) {
        return left.convertToFormat(QImage::Format_RGB32) == right.convertToFormat(QImage::Format_RGB32);
    };
    EXPECT_TRUE(same(saved.copy(0, 0, 320, 180), monitors[0]->lastPicture()));
    EXPECT_TRUE(same(saved.copy(320, 0, 160, 96), monitors[1]->lastPicture()));
    EXPECT_EQ(saved.pixel(320, 96), qRgb(0, 0, 0));
    EXPECT_EQ(saved.pixel(479, 179), qRgb(0, 0, 0));
}

TEST_F(GraphTest, RecordsPictureAndSound)
{
    const QTemporaryDir folder;
    loadPattern("width: 160; height: 64; fps: 25; channels: 1; frames: 12; paced: false");
    find<host::Monitor>().setRecordVideo(folder.filePath("a.y4m"));
    find<host::Monitor>().setRecordAudio(folder.filePath("a.wav"));
    // One is counted before it is written: when the eleventh has come, ten are in the file.
    ASSERT_TRUE(receives(11, 11));
    m_scene->stop();
    find<host::Monitor>().setRecordVideo({});
    find<host::Monitor>().setRecordAudio({});
    // A write that was under way closes the file when it is over.
    constexpr qint64 headerBytes = 38;
    constexpr qint64 frameBytes = 6 + 160 * 64 * 2;
    EXPECT_TRUE(waitUntil([&] {
        const qint64 bytes = QFileInfo(folder.filePath("a.y4m")).size() - headerBytes;
        return bytes >= 10 * frameBytes && bytes % frameBytes == 0;
    }));
    EXPECT_TRUE(waitUntil([&] { return QFileInfo(folder.filePath("a.wav")).size() >= 58 + 10 * 1920 * 4; }));
    QFile video(folder.filePath("a.y4m"));
    ASSERT_TRUE(video.open(QIODevice::ReadOnly));
    EXPECT_EQ(video.readLine(), "YUV4MPEG2 W160 H64 F25:1 Ip A0:0 C422\n");
    EXPECT_EQ(video.pos(), headerBytes);
    QFile audio(folder.filePath("a.wav"));
    ASSERT_TRUE(audio.open(QIODevice::ReadOnly));
    EXPECT_GE(audio.size(), 58 + 10 * 1920 * 4);
}

TEST_F(GraphTest, FollowsAChangeOfThePattern)
{
    loadPattern("width: 160; height: 64; paced: false");
    ASSERT_TRUE(receives(3, 3));
    find<host::TestPattern>().setWidth(320);
    find<host::TestPattern>().setChannels(5);
    EXPECT_TRUE(waitUntil([this] {
        return find<host::Monitor>().video()["width"] == 320 && find<host::Monitor>().audio()["channels"] == 5;
    }));
    EXPECT_TRUE(receives(3, 3));
    EXPECT_EQ(m_scene->restarts(), 0);
}

TEST_F(GraphTest, StopsAndStartsFromTheScene)
{
    loadPattern("width: 160; height: 64; paced: false");
    ASSERT_TRUE(receives(3, 3));
    m_scene->setProperty("running", false);
    const std::uint64_t stopped = find<host::Monitor>().videoFigures().stream.samples;
    EXPECT_EQ(find<host::TestPattern>().status(), MediaNode::Idle);
    m_scene->setProperty("running", true);
    EXPECT_TRUE(receives(3, 3));
    EXPECT_GT(find<host::Monitor>().videoFigures().stream.samples, stopped);
}

TEST_F(GraphTest, DoesNotRunBeforeItIsTold)
{
    load("running: false\nTestPattern { id: pattern }\nMonitor { id: monitor }\n"
         "Link { from: pattern.videoOutput; to: monitor.videoInput }");
    EXPECT_FALSE(waitUntil([this] { return find<host::TestPattern>().status() != MediaNode::Idle; }, 50));
    m_scene->start();
    EXPECT_TRUE(waitUntil([this] { return find<host::Monitor>().videoFigures().stream.samples > 0; }));
}

TEST_F(GraphTest, MovesALinkToAnotherMonitor)
{
    load("property bool second: false\n"
         "TestPattern { id: pattern; width: 160; height: 64; paced: false }\n"
         "Monitor { id: one; objectName: \"one\" }\nMonitor { id: two; objectName: \"two\" }\n"
         "Link { from: pattern.videoOutput; to: parent.second ? two.videoInput : one.videoInput }\n"
         "property var parent: this");
    auto *const one = m_scene->findChild<host::Monitor *>("one");
    auto *const two = m_scene->findChild<host::Monitor *>("two");
    ASSERT_TRUE(waitUntil([&] { return one->videoFigures().stream.samples > 3; }));
    EXPECT_EQ(two->videoFigures().stream.samples, 0U);
    m_scene->setProperty("second", true);
    EXPECT_TRUE(waitUntil([&] { return two->videoFigures().stream.samples > 3; }));
    EXPECT_EQ(one->status(), MediaNode::Idle);
}

TEST_F(GraphTest, ReportsAPatternThatCannotBeMade)
{
    QStringList reasons;
    loadPattern("width: 161");
    QObject::connect(m_scene.get(), &host::Graph::nodeFailed, m_scene.get(),
                     [&reasons](QObject *, const QString &why) { reasons.append(why); });
    EXPECT_TRUE(waitUntil([&] { return !reasons.isEmpty(); }));
    find<host::TestPattern>().setWidth(160);
    EXPECT_TRUE(receives(3, 3));
}

TEST_F(GraphTest, GivesTheSceneItsArguments)
{
    load("property string second: Host.arguments[1]");
    EXPECT_EQ(m_scene->property("second"), "second");
}

} // namespace
