#pragma once

#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

// Starts a program; fails the test when it cannot. Wine cannot once in some ten thousand times ("internal error",
// before anything of the program has run), so it is asked again.
inline void startProcess(QProcess &process, const QString &program, const QStringList &arguments)
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        process.start(program, arguments);
        if (process.waitForStarted())
            return;
    }
    ADD_FAILURE() << program.toStdString() << ": " << process.errorString().toStdString();
}
