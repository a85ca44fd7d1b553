#include "ndi/tools/common/Runtime.h"
#include "ndi/tools/common/SenderWait.h"
#include "tools/ndi-probe/Failure.h"
#include "tools/ndi-probe/Options.h"
#include "tools/ndi-probe/Probing.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>

#include <windows.h>

#include <mfapi.h>
#include <objbase.h>

#include <cstdio>

using namespace ndiprobe;

namespace
{

class MediaFoundation
{
public:
    MediaFoundation()
        : m_com(CoInitializeEx(nullptr, COINIT_MULTITHREADED)), m_result(MFStartup(MF_VERSION, MFSTARTUP_FULL))
    {
        if (FAILED(m_result))
            throw Failure(ExitCode::NoRuntime, QStringLiteral("Media Foundation does not start on this machine"));
    }
    ~MediaFoundation()
    {
        MFShutdown();
        if (SUCCEEDED(m_com))
            CoUninitialize();
    }

    MediaFoundation(const MediaFoundation &) = delete;
    MediaFoundation &operator=(const MediaFoundation &) = delete;

private:
    const HRESULT m_com;
    const HRESULT m_result;
};

Findings find(const Options &options)
{
    const MediaFoundation mediaFoundation;
    const nditools::Runtime runtime;
    // Interrupts are not caught: there is a sender, or a Failure.
    return probeSender(*nditools::waitForSender(options.name, options.patience), options.patience);
}

QByteArray textFor(const ParsedOptions &parsed)
{
    if (parsed.text)
        return parsed.text->toUtf8();
    const Findings findings = find(parsed.options);
    return parsed.options.json ? findings.toJson() : findings.toText();
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    // The environment variable QT_LOGGING_RULES has the last word.
    QLoggingCategory::setFilterRules(QStringLiteral("Multimedia.*.debug=false\nMultimedia.*.info=false"));
    try {
        std::fputs(textFor(parseOptions(QCoreApplication::arguments())).constData(), stdout);
        return static_cast<int>(ExitCode::Success);
    } catch (const Failure &failure) {
        std::fprintf(stderr, "ndi-probe: %s\n", failure.what());
        return static_cast<int>(failure.code());
    }
}
