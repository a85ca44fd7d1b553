#pragma once

// What the command line asks for, checked: whoever reads an Options need not check it again.

#include "ndi/tools/common/CommandLine.h"
#include "pattern/FrameRate.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <Processing.NDI.Interface.h>

#include <cstdint>
#include <optional>
#include <string>

namespace ndisend
{

struct Options {
    QString name = QStringLiteral("ndi-send");

    bool video = true;
    bool audio = true;
    QString videoFile; // y4m; empty: the test pattern; "-": standard input
    QString audioFile; // wav; empty: the test tone; "-": standard input
    bool loop = false;

    // Of the pattern; a file brings its own.
    int width = 1920;
    int height = 1080;
    NDIlib_FourCC_video_type_e format = NDIlib_FourCC_video_type_UYVY;
    // Of pattern and file; a file's own when empty.
    std::optional<pattern::FrameRate> rate;
    std::optional<bool> interlaced;

    // Of the tone; a file brings its own.
    int channels = 2;
    int sampleRate = 48000; // Hz

    // By how many parts in a million the sender's clock runs fast, for the picture and for the sound.
    int clockPpm = 0;
    int audioClockPpm = 0;

    std::optional<std::int64_t> frames; // end after so many
    std::optional<double> seconds;      // end after so long
    std::string metadata;               // UTF-8, sent to every new connection and then once a second
    std::string frameMetadata;          // UTF-8, on every frame

    QString jsonFile;
    bool quiet = false;
};

using ParsedOptions = nditools::ParsedOptions<Options>;

// Arguments with the program's name first. Throws a Failure that names the option and what is wrong with it.
ParsedOptions parseOptions(const QStringList &arguments);

} // namespace ndisend
