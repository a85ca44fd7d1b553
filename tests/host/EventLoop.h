#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

// Runs the event loop until the condition holds; false when it does not within the time (milliseconds).
template <typename Condition>
bool waitUntil(Condition condition, int deadline = 10000)
{
    QElapsedTimer elapsed;
    elapsed.start();
    QTimer wake; // conditions that other threads make true post no event
    wake.start(2);
    while (!condition()) {
        if (elapsed.elapsed() > deadline)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}
