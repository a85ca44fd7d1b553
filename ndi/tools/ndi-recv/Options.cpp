#include "ndi/tools/ndi-recv/Options.h"

namespace ndirecv
{

namespace
{

using nditools::CommandLine;
using nditools::refuseValue;
using nditools::Usage;

struct ColourRow {
    const char *name;
    NDIlib_recv_color_format_e format;
};

constexpr ColourRow Colours[] = {
    {"uyvy-bgra", NDIlib_recv_color_format_UYVY_BGRA}, {"uyvy-rgba", NDIlib_recv_color_format_UYVY_RGBA},
    {"bgra", NDIlib_recv_color_format_BGRX_BGRA},      {"rgba", NDIlib_recv_color_format_RGBX_RGBA},
    {"fastest", NDIlib_recv_color_format_fastest},     {"best", NDIlib_recv_color_format_best}};

const char Description[] =
    "Receives an NDI sender, measures what arrives and writes it to files.\n"
    "\n"
    "  ndi-recv Bars --seconds 10\n"
    "  ndi-recv \"STUDIO (Camera 1)\" --record-video clip.y4m --record-audio clip.wav --frames 250\n"
    "\n"
    "Latency, lost frames and the offset of picture and sound are read from the pattern of ndi-send where there is "
    "one.\n"
    "Ends after --seconds or --frames, with --until-lost, or when interrupted.\n"
    "Exit status: 0 done, 3 no such sender, 64 wrong use, 69 the sender delivers nothing, 70 no NDI runtime,\n"
    "73 a file cannot be written.";

Usage usage()
{
    return {"ndi-recv",
            Description,
            {{"wait", "How long to wait for the sender, and then for its first frame. Default: 10.", "seconds"},
             {"seconds|duration", "End so many seconds after the first frame.", "number"},
             {"frames", "End after so many pictures.", "number"},
             {"until-lost", "End when the sender goes, rather than waiting until it comes back."},
             {"color",
              "Pixel formats to ask for, without and with alpha: uyvy-bgra, uyvy-rgba, bgra, rgba, fastest or best. "
              "Default: uyvy-bgra.",
              "formats"},
             {"whole-frames", "Ask for interlaced pictures as whole frames, not as separate fields."},
             {"tally", "Light the sender's tally: program, preview or program,preview.", "lights"},
             {"record-video", "Write UYVY pictures to a y4m file.", "file"},
             {"record-raw", "Write the bytes of pictures of any format to a file without a header.", "file"},
             {"record-audio", "Write the sound to a wav file, 32-bit float.", "file"},
             {"snapshot", "Write the last picture to a PNG file in the end.", "file"},
             {"metadata", "Write metadata, a JSON document a line, to a file.", "file"},
             {"json", "Write a summary of the run to a file.", "file"},
             {"quiet", "Print errors only."}},
            "name",
            "The sender's name, or a part that only one sender's name has."};
}

NDIlib_recv_color_format_e parseColour(const QString &value)
{
    for (const ColourRow &row : Colours) {
        if (value == QLatin1String(row.name))
            return row.format;
    }
    refuseValue(QStringLiteral("color"), value, QStringLiteral("uyvy-bgra, uyvy-rgba, bgra, rgba, fastest or best"));
}

NDIlib_tally_t parseTally(const QString &value)
{
    NDIlib_tally_t tally;
    for (const QString &light : value.split(QLatin1Char(','))) {
        if (light == QLatin1String("program"))
            tally.on_program = true;
        else if (light == QLatin1String("preview"))
            tally.on_preview = true;
        else
            refuseValue(QStringLiteral("tally"), value, QStringLiteral("program, preview or program,preview"));
    }
    return tally;
}

Options optionsOf(const CommandLine &line)
{
    line.refuseEmpty({"record-video", "record-raw", "record-audio", "snapshot", "metadata", "json"});
    Options options;
    options.name = line.senderName();
    if (line.has("wait"))
        options.wait = line.patience("wait");
    if (line.has("frames"))
        options.frames = line.frames("frames");
    if (line.has("seconds"))
        options.seconds = line.seconds("seconds");
    options.untilLost = line.has("until-lost");
    if (line.has("color"))
        options.colour = parseColour(line.value("color"));
    options.fields = !line.has("whole-frames");
    if (line.has("tally"))
        options.tally = parseTally(line.value("tally"));
    options.videoFile = line.value("record-video");
    options.rawFile = line.value("record-raw");
    options.audioFile = line.value("record-audio");
    options.snapshotFile = line.value("snapshot");
    options.metadataFile = line.value("metadata");
    options.jsonFile = line.value("json");
    options.quiet = line.has("quiet");
    return options;
}

} // namespace

ParsedOptions parseOptions(const QStringList &arguments)
{
    return nditools::parse(usage(), arguments, optionsOf);
}

} // namespace ndirecv
