#include "ndi/tools/common/Interrupt.h"
#include "ndi/tools/common/Runtime.h"
#include "ndi/tools/common/SenderWait.h"
#include "ndi/tools/common/SummaryFile.h"
#include "ndi/tools/ndi-recv/Failure.h"
#include "ndi/tools/ndi-recv/Options.h"
#include "ndi/tools/ndi-recv/Reception.h"

#include <QtCore/QCoreApplication>

#include <cstdio>

using namespace ndirecv;

namespace
{

ExitCode receive(const Options &options)
{
    nditools::catchInterrupts();
    std::optional<nditools::SummaryFile> summaryFile;
    if (!options.jsonFile.isEmpty())
        summaryFile.emplace(options.jsonFile);

    const nditools::Runtime runtime;
    nditools::StatusLines lines(options.quiet);
    lines.print("waiting for '" + options.name.toStdString() + "'");
    const auto sender = nditools::waitForSender(options.name, options.wait);
    if (!sender)
        return ExitCode::Success; // interrupted
    const Summary summary = Reception(options, *sender, lines).run();
    if (summaryFile)
        summaryFile->write(summary.toJson());
    return summary.errors.empty() ? ExitCode::Success : ExitCode::CannotCreate;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    try {
        const ParsedOptions parsed = parseOptions(QCoreApplication::arguments());
        if (!parsed.text)
            return static_cast<int>(receive(parsed.options));
        std::fputs(qPrintable(*parsed.text), stdout);
        return static_cast<int>(ExitCode::Success);
    } catch (const Failure &failure) {
        std::fprintf(stderr, "ndi-recv: %s\n", failure.what());
        return static_cast<int>(failure.code());
    }
}
