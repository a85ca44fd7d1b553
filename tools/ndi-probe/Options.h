#pragma once

// What the command line asks for, checked.

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <optional>

namespace ndiprobe
{

struct Options {
    QString name;                               // of the sender, or a part of it
    std::chrono::milliseconds patience{10'000}; // for the sender, and then for its first frame
    bool json = false;
};

struct ParsedOptions {
    Options options;
    std::optional<QString> text; // --help or --version: print this and end
};

// Arguments with the program's name first. Throws a Failure that says what is wrong with them.
ParsedOptions parseOptions(const QStringList &arguments);

} // namespace ndiprobe
