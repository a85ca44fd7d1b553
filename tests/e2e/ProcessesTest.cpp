// The programs as users run them: ndi-send and tavrin-host side by side.

#include "tests/e2e/ChildProcess.h"
#include "tests/e2e/Network.h"
#include "tests/e2e/Scene.h"
#include "tests/e2e/TestSender.h"
#include "tests/e2e/TimeLimits.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtGui/QImage>

#include <algorithm>

namespace
{

QJsonObject firstMonitor(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return QJsonDocument::fromJson(file.readAll()).object()["monitors"].toArray().at(0).toObject();
}

TEST(Processes, ReceiveExampleShowsTheSendersPattern)
{
    const QTemporaryDir folder;
    const QString name = uniqueName("example");
    Child sender(TAVRIN_SEND_PROGRAM, senderArguments(name));
    Child host(TAVRIN_HOST_PROGRAM, {"--json", folder.filePath("a.json"), "--snapshot", folder.filePath("a.png"),
                                     TAVRIN_EXAMPLES "/receive.qml", name});
    ASSERT_TRUE(tells(host, "fps"));
    ASSERT_TRUE(endsWhenAsked(host));
    EXPECT_EQ(host.process().exitCode(), 0);
    const QJsonObject video = firstMonitor(folder.filePath("a.json"))["video"].toObject();
    EXPECT_EQ(video["subtype"].toString(), "UYVY");
    EXPECT_EQ(video["width"].toInt(), 640);
    EXPECT_GT(video["coded"].toInt(), 0);
    EXPECT_EQ(video["coded"].toInt(), video["samples"].toInt());
    EXPECT_GT(video["latencyMedianMs"].toDouble(), 0.0);
    const QJsonObject audio = firstMonitor(folder.filePath("a.json"))["audio"].toObject();
    EXPECT_EQ(audio["sampleRate"].toInt(), 48000);
    EXPECT_GT(audio["audioFrames"].toInt(), 0);
    EXPECT_EQ(QImage(folder.filePath("a.png")).size(), QSize(640, 360));
}

TEST(Processes, ReceiveExampleMakesItsSourceOnce)
{
    const QString name = uniqueName("once");
    Child sender(TAVRIN_SEND_PROGRAM, senderArguments(name));
    Child host(TAVRIN_HOST_PROGRAM, {"--verbose", TAVRIN_EXAMPLES "/receive.qml", name}, QProcess::MergedChannels);
    const QByteArray log = outputUntil(host, "fps");
    ASSERT_TRUE(log.contains("fps")) << log.constData();
    EXPECT_EQ(1, log.count("NDI source created"));
    EXPECT_EQ(0, log.count("Async source creation cancelled"));
}

// Needs a local runtime that knows NDI_LOCAL_DEAF_FINDER_S.
TEST(Processes, ReceiveExampleComesUpThoughItsFirstFinderHearsNothing)
{
    const QString name = uniqueName("deaf");
    Child sender(TAVRIN_SEND_PROGRAM, senderArguments(name));
    Network network;
    QElapsedTimer elapsed;
    elapsed.start();
    while (network.sendersAfter(100, name.toStdString()).empty())
        ASSERT_LT(elapsed.elapsed(), Patience);
    // Less than the five seconds after which the host makes the source anew, and more than NDI.inputs takes.
    qputenv("NDI_LOCAL_DEAF_FINDER_S", "4");
    Child host(TAVRIN_HOST_PROGRAM, {"--verbose", TAVRIN_EXAMPLES "/receive.qml", name}, QProcess::MergedChannels);
    qunsetenv("NDI_LOCAL_DEAF_FINDER_S");
    const QByteArray log = outputUntil(host, "fps");
    ASSERT_TRUE(log.contains("fps")) << log.constData();
    EXPECT_EQ(1, log.count("though it is listed"));
    EXPECT_EQ(1, log.count("NDI source created"));
}

TEST(Processes, TwoInputsExampleShowsOneSenderTwice)
{
    const QTemporaryDir folder;
    const QString name = uniqueName("twice");
    Child sender(TAVRIN_SEND_PROGRAM, senderArguments(name));
    Child host(TAVRIN_HOST_PROGRAM, {"--json", folder.filePath("a.json"), TAVRIN_EXAMPLES "/two-inputs.qml", name});
    ASSERT_TRUE(tells(host, "fps", 2));
    ASSERT_TRUE(endsWhenAsked(host));
    EXPECT_EQ(host.process().exitCode(), 0);
    QFile file(folder.filePath("a.json"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonArray monitors = QJsonDocument::fromJson(file.readAll()).object()["monitors"].toArray();
    ASSERT_EQ(monitors.size(), 2);
    for (const QJsonValue &monitor : monitors)
        EXPECT_GT(monitor.toObject()["video"].toObject()["coded"].toInt(), 0);
}

TEST(Processes, SceneGoesOnWhenItsSenderIsKilledAndComesBack)
{
    const QString name = uniqueName("killed");
    auto sender = std::make_unique<Child>(TAVRIN_SEND_PROGRAM, senderArguments(name));
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(scene.receives(5, 5));
    for (int round = 0; round < 2; ++round) {
        sender->kill();
        sender = std::make_unique<Child>(TAVRIN_SEND_PROGRAM, senderArguments(name));
        // More than what may still have been on its way from the one before.
        EXPECT_TRUE(scene.receives(30, 30)) << round;
    }
}

// A scene with so many sources whose senders are not there, made before the one that is; it ends with 42 when that
// plays.
QByteArray sceneWithAbsentSenders(int absent)
{
    QByteArray text = R"qml(
        import QtQml 2.15
        import Multimedia.Tavrin 1.0
        import Tavrin.Host 1.0
        Graph {
            id: graph
            function absent(number) {
                const input = NDI.createInput()
                input.name = "NOWHERE (" + number + ")"
                input.address = "127.0.0.1:1"
                return input
            }
            function choose() {
                const input = NDI.inputs.find(candidate => candidate.name.includes(Host.arguments[0]))
                if (input !== undefined)
                    present.input = input
            }
            property Connections updates: Connections { target: NDI; function onInputsChanged() { graph.choose() } }
            Component.onCompleted: choose()
    )qml";
    for (int number = 0; number < absent; ++number)
        text += QStringLiteral("NDISource { id: source%1; input: graph.absent(%1) }\n"
                               "Monitor { id: monitor%1 }\n"
                               "Link { from: source%1.videoOutput; to: monitor%1.videoInput }\n")
                    .arg(number)
                    .toLatin1();
    return text + R"qml(
            NDISource { id: present }
            Monitor { id: monitor; onFiguresChanged: if (video.coded > 0) Qt.exit(42) }
            Link { from: present.videoOutput; to: monitor.videoInput }
        })qml";
}

TEST(Processes, HostPlaysBesideMoreAbsentSendersThanProcessors)
{
    const QString name = uniqueName("present");
    const QByteArray text = sceneWithAbsentSenders(std::max(QThread::idealThreadCount() + 1, 3));
    const QTemporaryDir folder;
    QFile scene(folder.filePath("scene.qml"));
    ASSERT_TRUE(scene.open(QIODevice::WriteOnly) && scene.write(text) == text.size());
    scene.close();
    Child sender(TAVRIN_SEND_PROGRAM, senderArguments(name));
    Child host(TAVRIN_HOST_PROGRAM, {"--quiet", "--duration", "30", scene.fileName(), name});
    ASSERT_TRUE(host.process().waitForFinished(Patience));
    EXPECT_EQ(host.process().exitCode(), 42);
}

TEST(Processes, HostClosesWithinASecondWhileItSearches)
{
    Child host(TAVRIN_HOST_PROGRAM, {TAVRIN_EXAMPLES "/receive.qml", uniqueName("nobody")});
    ASSERT_TRUE(host.process().waitForReadyRead(Patience));
    QElapsedTimer elapsed;
    elapsed.start();
    ASSERT_TRUE(endsWhenAsked(host));
    EXPECT_LT(elapsed.elapsed(), ClosingLimit);
    EXPECT_EQ(host.process().exitCode(), 0);
}

} // namespace
