#pragma once

// Why the program cannot go on, as one sentence for the user and the status that it ends with.

#include <stdexcept>
#include <string>

namespace ndisend
{

// The numbers are those of sysexits.h, written out because not every system has that header.
enum class ExitCode : int { Success = 0, Usage = 64, BadData = 65, NoInput = 66, NoRuntime = 70, CannotCreate = 73 };

class Failure : public std::runtime_error
{
public:
    Failure(ExitCode code, const std::string &text) : std::runtime_error(text), m_code(code) {}

    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

} // namespace ndisend
