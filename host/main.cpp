#include "host/CommandLine.h"
#include "host/Console.h"
#include "host/HostTypes.h"
#include "host/MediaPlatform.h"
#include "host/Runner.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QThreadPool>

#include <cstdio>

namespace
{

// A source that waits for its sender keeps a thread of Qt's global pool for as long as it waits. With the pool's own
// bound, the number of processors, a few absent senders would keep all other sources from being made.
constexpr int MaxPoolThreads = 64;

// The exit code.
int runScene(int argc, char **argv, const host::MediaPlatform &platform)
{
    // Messages belong where the shell sends them; Windows and the journal would get them instead of a pipe or a file.
    qputenv("QT_FORCE_STDERR_LOGGING", "1");
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavrin-host"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TAVRIN_VERSION));

    int exitCode = host::ExitOk;
    const std::optional<host::Options> options = host::parseCommandLine(QCoreApplication::arguments(), exitCode);
    if (!options)
        return exitCode;
    // The environment variable QT_LOGGING_RULES has the last word.
    QLoggingCategory::setFilterRules(options->verbose
                                         ? QStringLiteral("Multimedia.*=true\nTavrin.*=true")
                                         : QStringLiteral("Multimedia.*.debug=false\nMultimedia.*.info=false"));

    QThreadPool::globalInstance()->setMaxThreadCount(MaxPoolThreads);
    if (FAILED(platform.result())) {
        std::fprintf(stderr, "tavrin-host: Media Foundation does not start (0x%08X)\n",
                     static_cast<unsigned>(platform.result()));
        return host::ExitFailure;
    }
    host::registerHostTypes(options->sceneArguments);
    const host::Interrupt interrupt;
    QObject::connect(&interrupt, &host::Interrupt::interrupted, &application, &QCoreApplication::quit);
    host::Runner runner(*options);
    return runner.run();
}

} // namespace

int main(int argc, char **argv)
{
    // To the end of the process, where endProcess() ends it: a shutdown would have threads on their way out just then.
    const host::MediaPlatform platform;
    return host::endProcess(runScene(argc, argv, platform));
}
