#include "tests/tools/SenderProcess.h"

#include "tests/support/StartedProcess.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

namespace
{

constexpr int ProcessPatience = 60000; // milliseconds

} // namespace

std::string plainLines(QByteArray text)
{
    return text.replace("\r\n", "\n").toStdString();
}

Tool::Tool(const char *program, const QStringList &arguments)
{
    startProcess(m_process, QString::fromLocal8Bit(program), arguments);
}

Tool::~Tool()
{
    kill();
}

void Tool::kill()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(ProcessPatience);
    }
}

bool Tool::waitForOutput(const std::string &part)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (m_output.find(part) == std::string::npos && elapsed.elapsed() < ProcessPatience) {
        m_process.waitForReadyRead(100);
        m_output += plainLines(m_process.readAllStandardOutput());
    }
    return m_output.find(part) != std::string::npos;
}

void Tool::write(const QByteArray &bytes)
{
    m_process.write(bytes);
    while (m_process.bytesToWrite() > 0 && m_process.waitForBytesWritten(ProcessPatience)) {
    }
}

int Tool::wait()
{
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(ProcessPatience)) {
        ADD_FAILURE() << m_process.program().toStdString() << " does not end";
        return -1;
    }
    m_output += plainLines(m_process.readAllStandardOutput());
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

std::string Tool::errors()
{
    return plainLines(m_process.readAllStandardError());
}

std::string uniqueName()
{
    static int count = 0;
    return "test " + std::to_string(QCoreApplication::applicationPid()) + " " + std::to_string(++count);
}

Sender::Sender(const QStringList &arguments, const std::string &name)
    : Tool(NDI_SEND_PROGRAM, QStringList{QStringLiteral("--name"), QString::fromStdString(name)} + arguments),
      m_name(name)
{
}

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QJsonObject readJson(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(file.readAll()).object();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QByteArray greyFilm(int frames)
{
    QByteArray bytes("YUV4MPEG2 W64 H48 F50:1 Ip C422\n");
    for (int i = 0; i < frames; ++i)
        bytes += "FRAME\n" + QByteArray(64 * 48, static_cast<char>(40 + i)) + QByteArray(64 * 48, char(-128));
    return bytes;
}
