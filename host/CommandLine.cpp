#include "host/CommandLine.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>

#include <cstdio>

namespace host
{

namespace
{

void print(std::FILE *stream, const QString &text)
{
    std::fprintf(stream, "%s\n", qPrintable(text));
}

int usageError(const QString &message)
{
    print(stderr, QStringLiteral("tavrin-host: %1\nTry tavrin-host --help.").arg(message));
    return ExitUsage;
}

} // namespace

std::optional<Options> parseCommandLine(const QStringList &arguments, int &exitCode)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Runs a media graph that is written down in QML.\n\n"
                       "What stands after the scene is for the scene, which reads it as Host.arguments.\n"
                       "Exit codes: 0 all right, 1 something failed, 2 an error in the scene, 64 wrong usage."));
    // What follows the scene belongs to the scene, options included.
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption import(QStringLiteral("import"),
                                    QStringLiteral("Looks for QML modules in <dir> too; may be given more than once."),
                                    QStringLiteral("dir"));
    const QCommandLineOption duration(QStringLiteral("duration"), QStringLiteral("Ends after that many seconds."),
                                      QStringLiteral("seconds"));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Writes the monitors' figures to <file> at the end."),
                                  QStringLiteral("file"));
    const QCommandLineOption snapshot(QStringLiteral("snapshot"),
                                      QStringLiteral("Writes the monitors' last pictures, side by side, to <file> "
                                                     "(PNG) at the end."),
                                      QStringLiteral("file"));
    const QCommandLineOption quiet(QStringLiteral("quiet"), QStringLiteral("Prints no status."));
    const QCommandLineOption verbose(QStringLiteral("verbose"), QStringLiteral("Logs what the graph and the module "
                                                                               "do."));
    parser.addOptions({import, duration, json, snapshot, quiet, verbose});
    parser.addPositionalArgument(QStringLiteral("scene"), QStringLiteral("The QML document."));
    parser.addPositionalArgument(QStringLiteral("arguments"), QStringLiteral("For the scene."),
                                 QStringLiteral("[arguments...]"));

    if (!parser.parse(arguments)) {
        exitCode = usageError(parser.errorText());
        return std::nullopt;
    }
    exitCode = ExitOk;
    if (parser.isSet(help)) {
        print(stdout, parser.helpText());
        return std::nullopt;
    }
    if (parser.isSet(version)) {
        print(stdout, QCoreApplication::applicationName() + QLatin1Char(' ') + QCoreApplication::applicationVersion());
        return std::nullopt;
    }
    Options options;
    if (parser.positionalArguments().isEmpty()) {
        exitCode = usageError(QStringLiteral("no scene given"));
        return std::nullopt;
    }
    options.scene = parser.positionalArguments().constFirst();
    options.sceneArguments = parser.positionalArguments().mid(1);
    if (parser.isSet(duration)) {
        bool isNumber = false;
        options.duration = parser.value(duration).toDouble(&isNumber);
        if (!isNumber || !(options.duration > 0.0 && options.duration <= 1e6)) {
            exitCode = usageError(
                QStringLiteral("--duration takes a number of seconds above 0, not \"%1\"").arg(parser.value(duration)));
            return std::nullopt;
        }
    }
    options.importPaths = parser.values(import);
    options.jsonFile = parser.value(json);
    options.snapshotFile = parser.value(snapshot);
    options.quiet = parser.isSet(quiet);
    options.verbose = parser.isSet(verbose);
    return options;
}

} // namespace host
