// The program on a terminal: Ctrl-C, and the line that is written over again.

#include "tests/host/Program.h"

#ifdef Q_OS_UNIX

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace
{

class Console : public Program
{
protected:
    static void send(const QProcess &process, int signal) { ::kill(static_cast<pid_t>(process.processId()), signal); }
};

class ConsoleSignals : public Console, public testing::WithParamInterface<int>
{
};

TEST_P(ConsoleSignals, EndTheProgramCleanly)
{
    QProcess process;
    process.setReadChannel(QProcess::StandardError);
    startProcess(process, QStringLiteral(TAVRIN_HOST_PROGRAM),
                 {"--json", path("a.json"),
                  scene("import Tavrin.Host 1.0\nGraph {\n    TestPattern { id: pattern }\n"
                        "    Monitor { id: monitor; onFiguresChanged: if (video.samples > 0) console.info('runs') }\n"
                        "    Link { from: pattern.videoOutput; to: monitor.videoInput }\n}\n")});
    ASSERT_TRUE(process.waitForReadyRead(Patience));
    send(process, GetParam());
    ASSERT_TRUE(process.waitForFinished(Patience));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(QFile::exists(path("a.json")));
}

INSTANTIATE_TEST_SUITE_P(CtrlCAndTermination, ConsoleSignals, testing::Values(SIGINT, SIGTERM));

TEST_F(Console, SecondCtrlCEndsAProgramThatDoesNotListen)
{
    QProcess process;
    process.setReadChannel(QProcess::StandardError);
    // The thread sanitizer hands signals over at calls of the C library, of which the loop has one.
    startProcess(process, QStringLiteral(TAVRIN_HOST_PROGRAM),
                 {"--json", path("a.json"),
                  scene("import QtQml 2.15\nQtObject {\n    Component.onCompleted: {\n"
                        "        console.info('busy')\n        while (true) Date.now();\n    }\n}\n")});
    ASSERT_TRUE(process.waitForReadyRead(Patience));
    // Two that come close together may be one to the process, so the second is sent until it tells.
    QElapsedTimer elapsed;
    elapsed.start();
    do
        send(process, SIGINT);
    while (!process.waitForFinished(20) && elapsed.elapsed() < Patience);
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_FALSE(QFile::exists(path("a.json")));
}

TEST_F(Console, WritesItsLineOverOnATerminal)
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    QProcess process;
    process.setStandardOutputFile(QString::fromLocal8Bit(ptsname(terminal)));
    startProcess(process, QStringLiteral(TAVRIN_HOST_PROGRAM), {"--duration", "1.2", m_pattern});
    EXPECT_TRUE(process.waitForFinished(Patience));
    EXPECT_EQ(process.exitCode(), 0);
    std::array<char, 4096> bytes = {};
    const ssize_t size = read(terminal, bytes.data(), bytes.size());
    close(terminal);
    ASSERT_GT(size, 0);
    const QByteArray output(bytes.data(), static_cast<int>(size));
    // Begun several times, ended once; the terminal itself makes \r\n of \n.
    EXPECT_TRUE(output.startsWith("\rpattern: ")) << output.constData();
    EXPECT_GE(output.count("\rpattern: "), 2) << output.constData();
    EXPECT_EQ(output.count('\n'), 1) << output.constData();
    EXPECT_TRUE(output.endsWith("\r\n")) << output.constData();
}

} // namespace

#endif
