#pragma once

// The options of a program and what the user gave for them. Whatever is wrong is a Failure with ExitCode::Usage that
// names the option.

#include <QtCore/QCommandLineParser>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace nditools
{

struct OptionRow {
    const char *name; // other names behind it, with | between
    const char *description;
    const char *valueName = nullptr; // of one that takes a value
};

struct Usage {
    const char *program;
    const char *description;
    std::vector<OptionRow> options; // --help and --version are added
    const char *argument = nullptr; // what stands without an option, in the line of use
    const char *argumentDescription = nullptr;
};

// What a command line comes to.
template <class Options>
struct ParsedOptions {
    Options options;
    std::optional<QString> text; // --help or --version: print this and end
};

class CommandLine
{
public:
    // Arguments with the program's name first.
    CommandLine(const Usage &usage, const QStringList &arguments);

    // What --help or --version prints; nothing without them.
    std::optional<QString> answer() const;

    bool has(const char *option) const { return m_parser.isSet(QLatin1String(option)); }
    QString value(const char *option) const { return m_parser.value(QLatin1String(option)); }
    QStringList values(const char *option) const { return m_parser.values(QLatin1String(option)); }

    int integer(const char *option, int least, int most) const;
    std::int64_t frames(const char *option) const;
    double seconds(const char *option) const;
    // How long to wait for something, a day at most.
    std::chrono::milliseconds patience(const char *option) const;
    // The only argument that stands without an option.
    QString senderName() const;

    void refuseTogether(const char *option, const char *other, const char *why) const;
    void refuseEmpty(const std::vector<const char *> &options) const;

private:
    double seconds(const char *option, double most) const;

    const char *const m_program;
    QCommandLineParser m_parser;
};

// The options that `read` makes of a command line; it is not asked when the user wants help or the version.
template <class Options>
ParsedOptions<Options> parse(const Usage &usage, const QStringList &arguments, Options (*read)(const CommandLine &))
{
    const CommandLine line(usage, arguments);
    if (const auto text = line.answer())
        return {{}, text};
    return {read(line), std::nullopt};
}

[[noreturn]] void refuse(const QString &option, const QString &why);
[[noreturn]] void refuseValue(const QString &option, const QString &value, const QString &wanted);

} // namespace nditools
