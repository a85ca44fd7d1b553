#pragma once

// Why the program cannot go on, as one sentence for the user and the status that it ends with.

#include <QtCore/QString>

#include <stdexcept>
#include <string>

namespace nditools
{

// But for NoSender the numbers are those of sysexits.h, written out because not every system has that header.
enum class ExitCode : int {
    Success = 0,
    NoSender = 3,
    Usage = 64,
    BadData = 65,
    NoInput = 66,
    NothingDelivered = 69,
    NoRuntime = 70,
    CannotCreate = 73
};

class Failure : public std::runtime_error
{
public:
    Failure(ExitCode code, const std::string &text) : std::runtime_error(text), m_code(code) {}
    Failure(ExitCode code, const QString &text) : Failure(code, text.toStdString()) {}

    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

} // namespace nditools
