#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

// Runs the event loop until the predicate is true. False when that did not happen before the deadline.
template <typename Predicate>
bool spinUntil(Predicate &&predicate, int deadlineMilliseconds = 20000)
{
    QElapsedTimer clock;
    clock.start();
    while (!predicate()) {
        if (clock.hasExpired(deadlineMilliseconds))
            return false;
        QEventLoop turn;
        QTimer::singleShot(5, &turn, &QEventLoop::quit);
        turn.exec();
    }
    return true;
}
