#include "tests/host/Program.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtGui/QImage>

namespace
{

TEST_F(Program, RunsThePatternExampleAndReports)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startProcess(process, QStringLiteral(TAVRIN_HOST_PROGRAM),
                 {"--duration", "20", "--json", path("a.json"), "--snapshot", path("a.png"), m_pattern, "640x360", "50",
                  path("a.y4m"), path("a.wav")});
    const QByteArray output = outputUntil(process, "fps");
    EXPECT_TRUE(output.contains("pattern: UYVY 640x360")) << output.constData();
    // Nothing is drawn over where there is no terminal.
    EXPECT_FALSE(QByteArray(output).replace("\r\n", "\n").contains('\r')) << output.constData();
    process.terminate();
    ASSERT_TRUE(process.waitForFinished(Patience));
    EXPECT_EQ(process.exitCode(), 0);

    QFile json(path("a.json"));
    ASSERT_TRUE(json.open(QIODevice::ReadOnly));
    const QJsonObject report = QJsonDocument::fromJson(json.readAll()).object();
    const QJsonObject monitor = report["monitors"].toArray().at(0).toObject();
    EXPECT_EQ(monitor["name"].toString(), "pattern");
    EXPECT_EQ(monitor["video"].toObject()["width"].toInt(), 640);
    EXPECT_GT(monitor["video"].toObject()["samples"].toInt(), 0);
    EXPECT_GT(monitor["audio"].toObject()["audioFrames"].toInt(), 0);
    EXPECT_EQ(QImage(path("a.png")).size(), QSize(640, 360));
    EXPECT_GT(QFile(path("a.y4m")).size(), 640 * 360 * 2);
    EXPECT_GT(QFile(path("a.wav")).size(), 58);
}

TEST_F(Program, IsSilentWhenQuiet)
{
    const Outcome outcome = run({"--quiet", "--duration", "0.3", m_pattern});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.output.toStdString(), "");
    EXPECT_EQ(outcome.errors.toStdString(), "");
}

TEST_F(Program, TellsFileAndLineOfAnErrorInTheScene)
{
    const QString path = scene("import Tavrin.Host 1.0\nGraph {\n    TestPattern { wdth: 5 }\n}\n");
    const Outcome outcome = run({path});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(outcome.errors.contains(shown(path) + ":3: ")) << outcome.errors.constData();
    EXPECT_TRUE(outcome.errors.contains("wdth"));
}

TEST_F(Program, TellsWhereItLookedForAModule)
{
    const QString path = scene("import No.Such.Module 1.0\nGraph {}\n");
    const Outcome outcome = run({"--import", "/somewhere/else", path});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(outcome.errors.contains(shown(path) + ":1: ")) << outcome.errors.constData();
    EXPECT_TRUE(outcome.errors.contains("No.Such.Module"));
    EXPECT_TRUE(outcome.errors.contains("/somewhere/else: no such folder"));
    EXPECT_TRUE(outcome.errors.contains("Modules are looked for in:")) << outcome.errors.constData();
}

TEST_F(Program, SaysThatThereIsNoSuchScene)
{
    const Outcome outcome = run({"/no/such/scene.qml"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(outcome.errors.contains("/no/such/scene.qml"));
}

TEST_F(Program, EndsWithTheCodeOfTheScene)
{
    const QString path = scene("import QtQml 2.15\nQtObject {\n    Component.onCompleted: Qt.exit(7)\n}\n");
    EXPECT_EQ(run({path}).code, 7);
}

TEST_F(Program, TellsFileAndLineOfAnErrorWhileTheSceneRunsAndGoesOn)
{
    const QString path = scene("import QtQml 2.15\nQtObject {\n    Component.onCompleted: noSuchThing.call()\n"
                               "    property Timer timer: Timer {\n        running: true\n        interval: 1\n"
                               "        onTriggered: { console.info('went on'); Qt.quit() }\n    }\n}\n");
    const Outcome outcome = run({path});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(outcome.errors.contains(shown(path) + ":3: ReferenceError")) << outcome.errors.constData();
    EXPECT_EQ(outcome.errors.count("ReferenceError"), 1) << outcome.errors.constData();
    EXPECT_TRUE(outcome.errors.contains("went on")) << outcome.errors.constData();
}

TEST_F(Program, EndsWithTheCodeOfTheSceneInSpiteOfAnErrorInIt)
{
    const QString path = scene("import QtQml 2.15\nQtObject {\n    Component.onCompleted: {\n        Qt.exit(7)\n"
                               "        noSuchThing.call()\n    }\n}\n");
    EXPECT_EQ(run({path}).code, 7);
}

TEST_F(Program, RefusesWrongUsage)
{
    EXPECT_EQ(run({}).code, 64);
    EXPECT_EQ(run({"--no-such-option", m_pattern}).code, 64);
    EXPECT_EQ(run({"--duration", "soon", m_pattern}).code, 64);
    EXPECT_EQ(run({"--duration", "-1", m_pattern}).code, 64);
}

TEST_F(Program, HelpsAndTellsItsVersion)
{
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_TRUE(help.output.contains("--snapshot"));
    const Outcome version = run({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_TRUE(version.output.startsWith("tavrin-host "));
}

TEST_F(Program, FailsWhenAFileCannotBeWritten)
{
    const Outcome outcome = run({"--duration", "0.3", "--json", "/no/such/folder/a.json", m_pattern});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_TRUE(outcome.errors.contains("/no/such/folder/a.json"));
}

} // namespace
