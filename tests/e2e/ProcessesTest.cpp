// The programs as users run them: ndi-send and tavrin-host side by side.

#include "tests/e2e/Scene.h"
#include "tests/e2e/TestSender.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>

namespace
{

// A program that is ended with the object.
class Child
{
public:
    Child(const char *program, const QStringList &arguments)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QLatin1String(program), arguments);
        m_process.waitForStarted();
    }
    ~Child() { kill(); }

    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    QProcess &process() { return m_process; }

private:
    QProcess m_process;
};

QStringList senderArguments(const QString &name)
{
    return {"--quiet", "--name", name, "--size", "640x360", "--rate", "50"};
}

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
    Child host(TAVRIN_HOST_PROGRAM, {"--quiet", "--duration", "5", "--json", folder.filePath("a.json"), "--snapshot",
                                     folder.filePath("a.png"), TAVRIN_EXAMPLES "/receive.qml", name});
    ASSERT_TRUE(host.process().waitForFinished(20000));
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

TEST(Processes, TwoInputsExampleShowsOneSenderTwice)
{
    const QTemporaryDir folder;
    const QString name = uniqueName("twice");
    Child sender(TAVRIN_SEND_PROGRAM, senderArguments(name));
    Child host(TAVRIN_HOST_PROGRAM, {"--quiet", "--duration", "5", "--json", folder.filePath("a.json"),
                                     TAVRIN_EXAMPLES "/two-inputs.qml", name});
    ASSERT_TRUE(host.process().waitForFinished(20000));
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

TEST(Processes, HostClosesWithinASecondWhileItSearches)
{
    Child host(TAVRIN_HOST_PROGRAM, {TAVRIN_EXAMPLES "/receive.qml", uniqueName("nobody")});
    ASSERT_TRUE(host.process().waitForReadyRead(20000));
    QElapsedTimer elapsed;
    elapsed.start();
    host.process().terminate();
    ASSERT_TRUE(host.process().waitForFinished(5000));
    EXPECT_LT(elapsed.elapsed(), 1000);
    EXPECT_EQ(host.process().exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(host.process().exitCode(), 0);
}

} // namespace
