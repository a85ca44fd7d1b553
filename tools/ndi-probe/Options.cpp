#include "tools/ndi-probe/Options.h"

#include "tools/ndi-probe/Failure.h"

#include <QtCore/QCommandLineParser>

#include <cmath>

namespace ndiprobe
{

namespace
{

constexpr double MostSeconds = 86'400;

const char Description[] =
    "Waits for an NDI sender and prints what it carries.\n"
    "\n"
    "  ndi-probe \"STUDIO (Camera 1)\"\n"
    "  ndi-probe Camera --seconds 3 --json\n"
    "\n"
    "Exit status: 0 done, 3 no such sender, 64 wrong use, 69 the sender delivers nothing, 70 no NDI runtime.";

std::chrono::milliseconds parseSeconds(const QString &value)
{
    bool ok = false;
    const double seconds = value.toDouble(&ok);
    if (!ok || !(seconds > 0) || seconds > MostSeconds)
        throw Failure(ExitCode::Usage, QStringLiteral("--seconds: '%1' is not a number of seconds above 0 and up to %2")
                                           .arg(value)
                                           .arg(MostSeconds));
    return std::chrono::milliseconds(std::llround(std::ceil(seconds * 1000)));
}

} // namespace

ParsedOptions parseOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(Description));
    const QCommandLineOption seconds(
        QStringLiteral("seconds"),
        QStringLiteral("How long to wait for the sender, and then for its first frame. Default: 10."),
        QStringLiteral("number"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print a JSON document."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this text."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Print the version."));
    parser.addOptions({seconds, json, help, version});
    parser.addPositionalArgument(QStringLiteral("name"),
                                 QStringLiteral("The sender's name, or a part that only one sender's name has."));

    if (!parser.parse(arguments))
        throw Failure(ExitCode::Usage, parser.errorText());
    if (parser.isSet(help))
        return {{}, parser.helpText()};
    if (parser.isSet(version))
        return {{}, QStringLiteral("ndi-probe " TAVRIN_VERSION "\n")};

    const QStringList names = parser.positionalArguments();
    if (names.size() != 1 || names.constFirst().isEmpty())
        throw Failure(ExitCode::Usage, QStringLiteral("one sender's name is wanted; see --help"));
    Options options;
    options.name = names.constFirst();
    options.json = parser.isSet(json);
    if (parser.isSet(seconds))
        options.patience = parseSeconds(parser.value(seconds));
    return {options, std::nullopt};
}

} // namespace ndiprobe
