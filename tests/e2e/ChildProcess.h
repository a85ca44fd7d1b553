#pragma once

#include "tests/e2e/TimeLimits.h"
#include "tests/support/StartedProcess.h"

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>

// A program that is ended with the object.
class Child
{
public:
    Child(const char *program, const QStringList &arguments,
          QProcess::ProcessChannelMode mode = QProcess::ForwardedErrorChannel)
    {
        m_process.setProcessChannelMode(mode);
        startProcess(m_process, QLatin1String(program), arguments);
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

inline QStringList senderArguments(const QString &name)
{
    return {"--quiet", "--name", name, "--size", "640x360", "--rate", "50"};
}

// Waits for a line that holds that text so many times; false when there is none in time.
inline bool tells(Child &child, const char *text, int times = 1)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (elapsed.elapsed() < Patience) {
        while (child.process().canReadLine())
            if (child.process().readLine().count(text) >= times)
                return true;
        if (!child.process().waitForReadyRead(Patience))
            return false;
    }
    return false;
}

// All that the program prints until a line holds that text, or until there is none in time.
inline QByteArray outputUntil(Child &child, const char *text)
{
    QElapsedTimer elapsed;
    elapsed.start();
    QByteArray output;
    while (!output.contains(text) && elapsed.elapsed() < Patience &&
           (child.process().canReadLine() || child.process().waitForReadyRead(Patience)))
        output += child.process().readLine();
    return output;
}

// Asks for the program's end, as Ctrl-C does, and waits for it.
inline bool endsWhenAsked(Child &child)
{
    child.process().terminate();
    return child.process().waitForFinished(Patience) && child.process().exitStatus() == QProcess::NormalExit;
}
