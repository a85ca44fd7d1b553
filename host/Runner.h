#pragma once

#include "host/CommandLine.h"
#include "host/StatusLine.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtQml/QQmlEngine>

#include <memory>

class QQmlError;

namespace host
{

class Graph;
class Link;
class Monitor;

// Loads a scene, runs it until its time is over, and reports. Lives on the main thread; the application object outlives
// it, so that what the engine's modules leave to the application's end comes after the scene's.
class Runner : public QObject
{
    Q_OBJECT

public:
    explicit Runner(Options options);
    ~Runner() override;

    // The program's exit code.
    int run();

private:
    bool load();
    void onSceneErrors(const QList<QQmlError> &errors);
    int reportErrors(const QList<QQmlError> &errors) const;
    // Writes what was asked for; the exit code.
    int finish();
    void unload();
    void showStatus();
    QList<Monitor *> monitors() const;
    QList<Link *> links() const;

    const Options m_options;
    std::unique_ptr<StatusLine> m_status;
    QTimer m_statusTimer;
    QElapsedTimer m_elapsed;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QObject> m_scene;
    int m_exitCode = ExitOk;
    bool m_sceneFailed = false; // an error in the scene came about while it ran
};

} // namespace host
