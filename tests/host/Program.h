#pragma once

#include "tests/support/StartedProcess.h"

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

struct Outcome {
    int code = -1; // as it is when the program crashed or did not end
    QByteArray output;
    QByteArray errors;
};

class Program : public testing::Test
{
protected:
    static constexpr int Patience = 60000; // milliseconds, on a machine that has much else to do

    Outcome run(const QStringList &arguments)
    {
        QProcess process;
        startProcess(process, QStringLiteral(TAVRIN_HOST_PROGRAM), arguments);
        if (!process.waitForFinished(Patience)) {
            process.kill();
            process.waitForFinished();
            return {};
        }
        const bool isNormal = process.exitStatus() == QProcess::NormalExit;
        return {isNormal ? process.exitCode() : -1, process.readAllStandardOutput(), process.readAllStandardError()};
    }
    // Waits until the program has said that on its standard output; all it said until then.
    static QByteArray outputUntil(QProcess &process, const char *text)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        QByteArray output;
        while (!output.contains(text) && elapsed.elapsed() < Patience && process.waitForReadyRead(Patience))
            output += process.readAllStandardOutput();
        return output;
    }
    // Writes a scene; its path.
    QString scene(const QByteArray &text)
    {
        const QString path = m_folder.filePath("scene.qml");
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(text);
        return path;
    }
    // The path as a message names it.
    static QByteArray shown(const QString &path) { return QDir::toNativeSeparators(path).toLocal8Bit(); }
    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }

    const QString m_pattern = QStringLiteral(TAVRIN_EXAMPLES "/pattern.qml");

private:
    QTemporaryDir m_folder;
};
