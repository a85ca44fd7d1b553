#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

namespace host
{

// What the program returns to its caller.
enum ExitCode {
    ExitOk = 0,
    ExitFailure = 1,    // the media platform, the module or a file failed
    ExitSceneError = 2, // the scene cannot be loaded
    ExitUsage = 64      // the command line cannot be understood
};

struct Options {
    QString scene;
    QStringList sceneArguments; // what stands after the scene
    QStringList importPaths;    // before the module's own folder beside the program
    double duration = 0.0;      // seconds; 0: until interrupted or the scene quits
    QString jsonFile;
    QString snapshotFile;
    bool quiet = false;
    bool verbose = false;
};

// The options on that command line; nothing when the program is to end now, with the exit code in `exitCode` (after
// --help and --version: ExitOk) and everything said that there is to say.
std::optional<Options> parseCommandLine(const QStringList &arguments, int &exitCode);

} // namespace host
