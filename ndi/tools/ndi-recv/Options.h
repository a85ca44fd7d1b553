#pragma once

// What the command line asks for, checked: whoever reads an Options need not check it again.

#include "ndi/tools/common/CommandLine.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <Processing.NDI.Interface.h>

#include <chrono>
#include <cstdint>
#include <optional>

namespace ndirecv
{

struct Options {
    QString name;                           // of the sender, or a part of it
    std::chrono::milliseconds wait{10'000}; // for the sender, and then for its first frame

    std::optional<std::int64_t> frames; // end after so many
    std::optional<double> seconds;      // end so long after the first frame
    bool untilLost = false;             // end when the sender goes

    NDIlib_recv_color_format_e colour = NDIlib_recv_color_format_UYVY_BGRA;
    bool fields = true; // interlaced pictures may come as separate fields
    std::optional<NDIlib_tally_t> tally;

    // Empty: not written.
    QString videoFile;    // y4m
    QString rawFile;      // the pictures' bytes
    QString audioFile;    // wav
    QString metadataFile; // JSON lines
    QString snapshotFile; // png
    QString jsonFile;
    bool quiet = false;
};

using ParsedOptions = nditools::ParsedOptions<Options>;

// Arguments with the program's name first. Throws a Failure that names the option and what is wrong with it.
ParsedOptions parseOptions(const QStringList &arguments);

} // namespace ndirecv
