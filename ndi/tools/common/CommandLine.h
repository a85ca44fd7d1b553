#pragma once

// The options of a program and what the user gave for them. Whatever is wrong is a Failure with ExitCode::Usage that
// names the option.

#include <QtCore/QCommandLineParser>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>
#include <vector>

namespace nditools
{

struct OptionRow {
    const char *name; // other names behind it, with | between
    const char *description;
    const char *valueName = nullptr; // of one that takes a value
};

struct Usage {
    const char *description;
    std::vector<OptionRow> options; // --help and --version are added
    const char *argument = nullptr; // what stands without an option, in the line of use
    const char *argumentDescription = nullptr;
};

class CommandLine
{
public:
    // Arguments with the program's name first.
    CommandLine(const Usage &usage, const QStringList &arguments);

    bool has(const char *option) const { return m_parser.isSet(QLatin1String(option)); }
    QString value(const char *option) const { return m_parser.value(QLatin1String(option)); }
    QStringList values(const char *option) const { return m_parser.values(QLatin1String(option)); }
    QStringList arguments() const { return m_parser.positionalArguments(); }
    QString helpText() const { return m_parser.helpText(); }

    int integer(const char *option, int least, int most) const;
    std::int64_t frames(const char *option) const;
    double seconds(const char *option) const;

    void refuseTogether(const char *option, const char *other, const char *why) const;
    void refuseEmpty(const std::vector<const char *> &options) const;

private:
    QCommandLineParser m_parser;
};

[[noreturn]] void refuse(const QString &option, const QString &why);
[[noreturn]] void refuseValue(const QString &option, const QString &value, const QString &wanted);

} // namespace nditools
