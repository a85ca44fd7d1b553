#include "ndi/tools/common/Interrupt.h"
#include "ndi/tools/common/Runtime.h"
#include "ndi/tools/common/SummaryFile.h"
#include "ndi/tools/ndi-send/Failure.h"
#include "ndi/tools/ndi-send/Options.h"
#include "ndi/tools/ndi-send/PatternSource.h"
#include "ndi/tools/ndi-send/Publisher.h"
#include "ndi/tools/ndi-send/ToneSource.h"
#include "ndi/tools/ndi-send/WavSource.h"
#include "ndi/tools/ndi-send/Y4mSource.h"

#include <QtCore/QCoreApplication>

#include <cstdio>

using namespace ndisend;

namespace
{

std::unique_ptr<VideoSource> makeVideo(const Options &options)
{
    if (!options.video)
        return nullptr;
    if (!options.videoFile.isEmpty())
        return std::make_unique<Y4mSource>(options);

    VideoFormat format;
    format.width = options.width;
    format.height = options.height;
    format.fourCC = options.format;
    format.rate = options.rate.value_or(pattern::FrameRate{});
    format.interlaced = options.interlaced.value_or(false);
    return std::make_unique<PatternSource>(format);
}

std::unique_ptr<AudioSource> makeAudio(const Options &options)
{
    if (!options.audio)
        return nullptr;
    if (!options.audioFile.isEmpty())
        return std::make_unique<WavSource>(options);
    return std::make_unique<ToneSource>(AudioFormat{options.sampleRate, options.channels});
}

void publish(const Options &options)
{
    nditools::catchInterrupts();
    std::optional<nditools::SummaryFile> summaryFile;
    if (!options.jsonFile.isEmpty())
        summaryFile.emplace(options.jsonFile);
    auto video = makeVideo(options);
    auto audio = makeAudio(options);

    const nditools::Runtime runtime;
    nditools::StatusLines lines(options.quiet);
    const Summary summary = Publisher(options, std::move(video), std::move(audio), lines).run();
    if (summaryFile)
        summaryFile->write(summary.toJson());
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    try {
        const ParsedOptions parsed = parseOptions(QCoreApplication::arguments());
        if (parsed.text)
            std::fputs(qPrintable(*parsed.text), stdout);
        else
            publish(parsed.options);
        return static_cast<int>(ExitCode::Success);
    } catch (const Failure &failure) {
        // A header that was still awaited.
        if (failure.code() == ExitCode::BadData && nditools::interrupted())
            return static_cast<int>(ExitCode::Success);
        std::fprintf(stderr, "ndi-send: %s\n", failure.what());
        return static_cast<int>(failure.code());
    }
}
