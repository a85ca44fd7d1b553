#include "host/Runner.h"

#include "host/Console.h"
#include "host/Report.h"
#include "host/Snapshot.h"
#include "host/graph/Graph.h"
#include "host/graph/Link.h"
#include "host/graph/SinkFarewell.h"
#include "host/monitor/Monitor.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QLibrary>
#include <QtCore/QThreadPool>
#include <QtCore/QUrl>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlError>

#include <cstdio>

namespace host
{

namespace
{

// A source that still searches for its sender looks at its cancellation four times a second.
constexpr int JobPatience = 600; // milliseconds
// A sender that is destroyed waits up to two seconds for its receivers, and gives up what it holds in one.
constexpr std::chrono::milliseconds FarewellPatience{4000};

void printError(const QString &text)
{
    std::fprintf(stderr, "%s\n", qPrintable(text));
}

QString errorLine(const QQmlError &error)
{
    const QUrl url = error.url();
    const QString file = url.isLocalFile() ? QDir::toNativeSeparators(url.toLocalFile()) : url.toString();
    return error.line() > 0 ? QStringLiteral("%1:%2: %3").arg(file).arg(error.line()).arg(error.description())
                            : QStringLiteral("%1: %2").arg(file, error.description());
}

// What to do about a module that does not load; empty for other errors.
QString advice(const QString &error)
{
    if (!error.contains(QLatin1String("plugin cannot be loaded")))
        return {};
    // Not every loader names the file that it missed.
    if (!QLibrary(QString::fromLatin1(NdiRuntimeFile)).load())
        return QStringLiteral("The NDI runtime (%1) is missing. Install the vendor's, or put the folder of this "
                              "project's local runtime (ndi-local) on the loader's search path.")
            .arg(QLatin1String(NdiRuntimeFile));
    return QStringLiteral("The module's library is there, but one that it needs is not; the file is named above.");
}

} // namespace

Runner::Runner(Options options) : m_options(std::move(options))
{
    if (!m_options.quiet)
        m_status = std::make_unique<StatusLine>();
    connect(&m_statusTimer, &QTimer::timeout, this, &Runner::showStatus);
}

Runner::~Runner()
{
    unload();
}

int Runner::run()
{
    if (!load()) {
        unload();
        return m_exitCode;
    }
    m_elapsed.start();
    if (m_status)
        m_statusTimer.start(m_status->interval());
    if (m_options.duration > 0.0)
        QTimer::singleShot(static_cast<int>(m_options.duration * 1000.0), Qt::PreciseTimer,
                           QCoreApplication::instance(), &QCoreApplication::quit);
    const int sceneCode = QCoreApplication::exec();
    m_statusTimer.stop();
    const int code = finish();
    m_status.reset();
    unload();
    if (code != ExitOk)
        return code;
    return sceneCode == ExitOk && m_sceneFailed ? ExitSceneError : sceneCode;
}

bool Runner::load()
{
    m_engine = std::make_unique<QQmlEngine>();
    // The engine leaves out folders that do not exist.
    for (const QString &path : m_options.importPaths) {
        if (!QFileInfo(path).isDir())
            printError(QStringLiteral("%1: no such folder to import from").arg(path));
    }
    QStringList paths = m_options.importPaths;
    paths.append(QCoreApplication::applicationDirPath() + QStringLiteral("/../qml"));
    m_engine->setImportPathList(paths + m_engine->importPathList());
    m_engine->setOutputWarningsToStandardError(false);
    connect(m_engine.get(), &QQmlEngine::warnings, this, &Runner::onSceneErrors);
    // Before the event loop runs, a direct call would be lost.
    connect(m_engine.get(), &QQmlEngine::quit, QCoreApplication::instance(), &QCoreApplication::quit,
            Qt::QueuedConnection);
    connect(
        m_engine.get(), &QQmlEngine::exit, QCoreApplication::instance(), [](int code) { QCoreApplication::exit(code); },
        Qt::QueuedConnection);

    const QFileInfo file(m_options.scene);
    if (!file.isFile()) {
        printError(QStringLiteral("%1: no such scene").arg(m_options.scene));
        m_exitCode = ExitSceneError;
        return false;
    }
    QQmlComponent component(m_engine.get(), QUrl::fromLocalFile(file.absoluteFilePath()));
    if (!component.isError())
        m_scene.reset(component.create());
    if (m_scene && !component.isError())
        return true;
    m_exitCode = reportErrors(component.errors());
    return false;
}

// An error in one handler does not end what is on air.
void Runner::onSceneErrors(const QList<QQmlError> &errors)
{
    m_sceneFailed = true;
    for (const QQmlError &error : errors)
        printError(errorLine(error));
}

int Runner::reportErrors(const QList<QQmlError> &errors) const
{
    QString hint;
    for (const QQmlError &error : errors) {
        printError(errorLine(error));
        if (hint.isEmpty())
            hint = advice(error.description());
        if (error.description().contains(QLatin1String("is not installed")))
            printError(QStringLiteral("Modules are looked for in:\n  %1")
                           .arg(m_engine->importPathList().join(QStringLiteral("\n  "))));
    }
    if (hint.isEmpty())
        return ExitSceneError;
    printError(hint);
    return ExitFailure;
}

int Runner::finish()
{
    int code = ExitOk;
    showStatus();
    const QList<Monitor *> all = monitors();
    if (!m_options.jsonFile.isEmpty()) {
        const double seconds = static_cast<double>(m_elapsed.elapsed()) / 1000.0;
        QString error;
        if (!writeFile(m_options.jsonFile, QJsonDocument(report(m_options.scene, seconds, all, links())).toJson(),
                       error)) {
            printError(QStringLiteral("%1: %2").arg(m_options.jsonFile, error));
            code = ExitFailure;
        }
    }
    if (!m_options.snapshotFile.isEmpty() && !writeSnapshot(all, m_options.snapshotFile)) {
        printError(QStringLiteral("%1: there is no picture, or it cannot be written").arg(m_options.snapshotFile));
        code = ExitFailure;
    }
    for (const Monitor *const monitor : all) {
        for (const QString &error : {monitor->videoFigures().recordingError, monitor->audioFigures().recordingError}) {
            if (error.isEmpty())
                continue;
            printError(QStringLiteral("recording: %1").arg(error));
            code = ExitFailure;
        }
    }
    return code;
}

void Runner::unload()
{
    m_scene.reset();
    waitForFarewells(FarewellPatience);
    QThreadPool::globalInstance()->waitForDone(JobPatience);
    m_engine.reset();
}

void Runner::showStatus()
{
    if (!m_status)
        return;
    QStringList texts;
    for (const Monitor *const monitor : monitors())
        texts.append(statusText(*monitor));
    for (const Link *const link : links())
        texts.append(statusText(*link));
    texts.removeAll(QString());
    m_status->show(texts.join(QStringLiteral("   ")));
}

QList<Link *> Runner::links() const
{
    return m_scene ? m_scene->findChildren<Link *>() : QList<Link *>();
}

QList<Monitor *> Runner::monitors() const
{
    return m_scene ? m_scene->findChildren<Monitor *>() : QList<Monitor *>();
}

} // namespace host
