#pragma once

// What the command line asks for, checked.

#include "ndi/tools/common/CommandLine.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>

namespace ndiprobe
{

struct Options {
    QString name;                               // of the sender, or a part of it
    std::chrono::milliseconds patience{10'000}; // for the sender, and then for its first frame
    bool json = false;
};

using ParsedOptions = nditools::ParsedOptions<Options>;

// Arguments with the program's name first. Throws a Failure that says what is wrong with them.
ParsedOptions parseOptions(const QStringList &arguments);

} // namespace ndiprobe
