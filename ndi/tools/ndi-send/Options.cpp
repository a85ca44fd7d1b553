#include "ndi/tools/ndi-send/Options.h"

#include "ndi/tools/ndi-send/Failure.h"
#include "ndi/tools/ndi-send/Limits.h"

#include <QtCore/QFile>

namespace ndisend
{

namespace
{

using nditools::CommandLine;
using nditools::refuse;
using nditools::refuseValue;
using nditools::Usage;

constexpr int MostFramesPerSecond = 1000;
constexpr int MostToneChannels = 64;
constexpr int LowestToneRate = 8000;
constexpr int HighestToneRate = 384000;
constexpr int MostClockPpm = 10000;
constexpr qint64 MostMetadata = 1 << 20; // bytes

struct FormatName {
    const char *name;
    NDIlib_FourCC_video_type_e format;
};

constexpr FormatName Formats[] = {{"UYVY", NDIlib_FourCC_video_type_UYVY},
                                  {"BGRA", NDIlib_FourCC_video_type_BGRA},
                                  {"BGRX", NDIlib_FourCC_video_type_BGRX}};

const char Description[] =
    "Publishes a moving test pattern with a frame counter and a tone, or a file or pipe, as an NDI sender.\n"
    "\n"
    "  ndi-send --name Bars --size 1280x720 --rate 60000/1001\n"
    "  ffmpeg -i clip.mov -pix_fmt yuv422p -f yuv4mpegpipe - | ndi-send --name Clip --video -\n"
    "\n"
    "Once a second the pattern's box flashes and the tone beeps, both from the start of the same frame.\n"
    "Ends at the end of --video (else of --audio), after --frames or --duration, or when interrupted.\n"
    "Exit status: 0 done, 64 wrong use, 65 bad input data, 66 input not found,\n"
    "70 no NDI runtime, 73 summary cannot be written.";

void parseSize(const QString &value, Options &options)
{
    const QStringList sides = value.split(QLatin1Char('x'));
    bool ok = sides.size() == 2;
    options.width = ok ? sides[0].toInt(&ok) : 0;
    options.height = ok ? sides[1].toInt(&ok) : 0;
    if (!ok || options.width < 2 || options.height < 2 || options.width > LargestSide || options.height > LargestSide)
        refuseValue(QStringLiteral("size"), value, QStringLiteral("WIDTHxHEIGHT from 2x2 to %1x%1").arg(LargestSide));
}

pattern::FrameRate parseRate(const QString &value)
{
    const QStringList parts = value.split(QLatin1Char('/'));
    bool ok = parts.size() <= 2;
    const int numerator = ok ? parts[0].toInt(&ok) : 0;
    const int denominator = ok && parts.size() == 2 ? parts[1].toInt(&ok) : 1;
    if (!ok || numerator < 1 || denominator < 1 || numerator > MostRate || denominator > MostRate ||
        numerator / denominator > MostFramesPerSecond || denominator / numerator > 60)
        refuseValue(
            QStringLiteral("rate"), value,
            QStringLiteral("N or N/D frames per second, at most %1 and at least 1/60").arg(MostFramesPerSecond));
    return {numerator, denominator};
}

NDIlib_FourCC_video_type_e parseFormat(const QString &value)
{
    for (const FormatName &known : Formats) {
        if (value == QLatin1String(known.name))
            return known.format;
    }
    refuseValue(QStringLiteral("format"), value, QStringLiteral("UYVY, BGRA or BGRX"));
}

std::string parseText(const QString &option, const QString &value)
{
    if (!value.startsWith(QLatin1Char('@')))
        return value.toStdString();

    QFile file(value.mid(1));
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(ExitCode::NoInput,
                      QStringLiteral("--%1: %2: %3").arg(option, file.fileName(), file.errorString()).toStdString());
    const QByteArray text = file.read(MostMetadata + 1);
    if (text.size() > MostMetadata || text.contains('\0'))
        throw Failure(ExitCode::BadData, QStringLiteral("--%1: %2: not a text of at most %3 bytes")
                                             .arg(option, file.fileName())
                                             .arg(MostMetadata)
                                             .toStdString());
    return text.toStdString();
}

Usage usage()
{
    return {"ndi-send",
            Description,
            {
                {"name", "Name of the sender. Default: ndi-send.", "name"},
                {"video", "Publish a y4m file (8 bit, 4:2:0, 4:2:2 or 4:4:4), or - for standard input.", "file"},
                {"audio", "Publish a wav file (PCM 16, 24 or 32 bit, or float), or - for standard input.", "file"},
                {"loop", "Start the files again when they end."},
                {"size", "Size of the pattern. Default: 1920x1080.", "WxH"},
                {"rate", "Frames per second. Default: 25, or the file's own.", "N[/D]"},
                {"format", "Pixel format of the pattern: UYVY, BGRA or BGRX. Default: UYVY.", "fourcc"},
                {"interleaved", "Publish frames of two interleaved fields, upper field first."},
                {"progressive", "Publish progressive frames. Default, unless the file says otherwise."},
                {"channels", "Channels of the tone. Default: 2.", "number"},
                {"sample-rate", "Sample rate of the tone. Default: 48000.", "Hz"},
                {"clock-ppm",
                 "Let the sender's clock run fast by so many parts in a million; below 0: slow. Default: 0.", "number"},
                {"audio-clock-ppm", "The same for the sound alone. Default: as --clock-ppm.", "number"},
                {"no-audio", "Publish no audio."},
                {"no-video", "Publish no video."},
                {"frames", "End after so many frames.", "number"},
                {"duration", "End after so many seconds.", "seconds"},
                {"metadata", "Send this text, or a file's, as it is: to each new connection and then once a second.",
                 "text|@file"},
                {"frame-metadata", "Attach this text, or a file's, as it is, to every frame.", "text|@file"},
                {"json", "Write a summary of the run to a file.", "file"},
                {"quiet", "Print errors only."},
            }};
}

void checkCombinations(const CommandLine &line)
{
    const char ofFile[] = "a file brings its own";
    for (const char *option : {"size", "format"})
        line.refuseTogether(option, "video", ofFile);
    for (const char *option : {"channels", "sample-rate"})
        line.refuseTogether(option, "audio", ofFile);
    line.refuseTogether("no-video", "video", "one of them says the opposite");
    line.refuseTogether("no-audio", "audio", "one of them says the opposite");
    line.refuseTogether("no-video", "no-audio", "nothing would be left to publish");
    line.refuseTogether("interleaved", "progressive", "one of them says the opposite");
    line.refuseTogether("frames", "duration", "one of them is enough");

    const bool pipedVideo = line.value("video") == QLatin1String("-");
    const bool pipedAudio = line.value("audio") == QLatin1String("-");
    if (pipedVideo && pipedAudio)
        refuse(QStringLiteral("audio"), QStringLiteral("standard input is taken by --video already"));
    if (line.has("loop") && (pipedVideo || pipedAudio))
        refuse(QStringLiteral("loop"), QStringLiteral("standard input cannot be started again"));
    if (line.has("loop") && !line.has("video") && !line.has("audio"))
        refuse(QStringLiteral("loop"), QStringLiteral("needs --video or --audio; the pattern never ends"));
    line.refuseEmpty({"name", "video", "audio", "json"});
}

Options optionsOf(const CommandLine &line)
{
    checkCombinations(line);
    Options options;
    if (line.has("name"))
        options.name = line.value("name");
    options.videoFile = line.value("video");
    options.audioFile = line.value("audio");
    options.loop = line.has("loop");
    options.video = !line.has("no-video");
    // A film without a sound file is silent; the tone belongs to the pattern.
    options.audio = !line.has("no-audio") && (!line.has("video") || line.has("audio"));

    if (line.has("size"))
        parseSize(line.value("size"), options);
    if (line.has("rate"))
        options.rate = parseRate(line.value("rate"));
    if (line.has("format"))
        options.format = parseFormat(line.value("format"));
    if (line.has("interleaved") || line.has("progressive"))
        options.interlaced = line.has("interleaved");
    if (line.has("channels"))
        options.channels = line.integer("channels", 1, MostToneChannels);
    if (line.has("sample-rate"))
        options.sampleRate = line.integer("sample-rate", LowestToneRate, HighestToneRate);
    if (line.has("clock-ppm"))
        options.clockPpm = line.integer("clock-ppm", -MostClockPpm, MostClockPpm);
    options.audioClockPpm =
        line.has("audio-clock-ppm") ? line.integer("audio-clock-ppm", -MostClockPpm, MostClockPpm) : options.clockPpm;
    if (line.has("frames"))
        options.frames = line.frames("frames");
    if (line.has("duration"))
        options.seconds = line.seconds("duration");
    if (line.has("metadata"))
        options.metadata = parseText(QStringLiteral("metadata"), line.value("metadata"));
    if (line.has("frame-metadata"))
        options.frameMetadata = parseText(QStringLiteral("frame-metadata"), line.value("frame-metadata"));
    options.jsonFile = line.value("json");
    options.quiet = line.has("quiet");
    return options;
}

} // namespace

ParsedOptions parseOptions(const QStringList &arguments)
{
    return nditools::parse(usage(), arguments, optionsOf);
}

} // namespace ndisend
