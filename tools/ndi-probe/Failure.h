#pragma once

// Why the program cannot go on, as one sentence for the user and the status that it ends with.

#include <QtCore/QString>

#include <stdexcept>

namespace ndiprobe
{

// But for NoSender the numbers are those of sysexits.h, written out because not every system has that header.
enum class ExitCode : int { Success = 0, NoSender = 3, Usage = 64, NothingDelivered = 69, NoRuntime = 70 };

class Failure : public std::runtime_error
{
public:
    Failure(ExitCode code, const QString &text) : std::runtime_error(text.toStdString()), m_code(code) {}

    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

} // namespace ndiprobe
