#include "ndi/tools/common/CommandLine.h"

#include "ndi/tools/common/Failure.h"

#include <cmath>

namespace nditools
{

namespace
{

constexpr double LongestRun = 10 * 365.25 * 86400; // seconds
constexpr double LongestPatience = 86400;          // seconds
constexpr qlonglong MostFrames = 1LL << 40;

} // namespace

void refuse(const QString &option, const QString &why)
{
    throw Failure(ExitCode::Usage, QStringLiteral("--%1: %2").arg(option, why));
}

void refuseValue(const QString &option, const QString &value, const QString &wanted)
{
    refuse(option, QStringLiteral("'%1' is not %2").arg(value, wanted));
}

CommandLine::CommandLine(const Usage &usage, const QStringList &arguments) : m_program(usage.program)
{
    m_parser.setApplicationDescription(QLatin1String(usage.description));
    for (const OptionRow &row : usage.options)
        m_parser.addOption({QString::fromLatin1(row.name).split(QLatin1Char('|')), QLatin1String(row.description),
                            QLatin1String(row.valueName)});
    m_parser.addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this text.")});
    m_parser.addOption({{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Print the version.")});
    if (usage.argument != nullptr)
        m_parser.addPositionalArgument(QLatin1String(usage.argument), QLatin1String(usage.argumentDescription));

    if (!m_parser.parse(arguments))
        throw Failure(ExitCode::Usage, m_parser.errorText());
    if (usage.argument == nullptr && !m_parser.positionalArguments().isEmpty())
        throw Failure(
            ExitCode::Usage,
            QStringLiteral("'%1' is not an option; see --help").arg(m_parser.positionalArguments().constFirst()));
}

std::optional<QString> CommandLine::answer() const
{
    if (has("help"))
        return m_parser.helpText();
    if (has("version"))
        return QStringLiteral("%1 %2\n").arg(QLatin1String(m_program), QLatin1String(TAVRIN_VERSION));
    return std::nullopt;
}

int CommandLine::integer(const char *option, int least, int most) const
{
    bool ok = false;
    const int number = value(option).toInt(&ok);
    if (!ok || number < least || number > most)
        refuseValue(QLatin1String(option), value(option),
                    QStringLiteral("a whole number from %1 to %2").arg(least).arg(most));
    return number;
}

std::int64_t CommandLine::frames(const char *option) const
{
    bool ok = false;
    const qlonglong frames = value(option).toLongLong(&ok);
    if (!ok || frames < 1 || frames > MostFrames)
        refuseValue(QLatin1String(option), value(option), QStringLiteral("a number of frames"));
    return frames;
}

double CommandLine::seconds(const char *option) const
{
    return seconds(option, LongestRun);
}

double CommandLine::seconds(const char *option, double most) const
{
    bool ok = false;
    const double seconds = value(option).toDouble(&ok);
    if (!ok || !(seconds > 0) || seconds > most)
        refuseValue(QLatin1String(option), value(option),
                    QStringLiteral("a number of seconds above 0 and up to %1").arg(most, 0, 'f', 0));
    return seconds;
}

std::chrono::milliseconds CommandLine::patience(const char *option) const
{
    return std::chrono::milliseconds(std::llround(std::ceil(seconds(option, LongestPatience) * 1000)));
}

QString CommandLine::senderName() const
{
    const QStringList names = m_parser.positionalArguments();
    if (names.size() != 1 || names.constFirst().isEmpty())
        throw Failure(ExitCode::Usage, QStringLiteral("one sender's name is wanted; see --help"));
    return names.constFirst();
}

void CommandLine::refuseTogether(const char *option, const char *other, const char *why) const
{
    if (has(option) && has(other))
        refuse(QLatin1String(option), QStringLiteral("does not go with --%1: %2").arg(other, why));
}

void CommandLine::refuseEmpty(const std::vector<const char *> &options) const
{
    for (const char *option : options) {
        if (has(option) && value(option).isEmpty())
            refuse(QLatin1String(option), QStringLiteral("must not be empty"));
    }
}

} // namespace nditools
