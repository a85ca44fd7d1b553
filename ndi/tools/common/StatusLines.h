#pragma once

// What the user is told on standard output while the program runs, a line at a time, from any thread.

#include <mutex>
#include <string>

namespace nditools
{

class StatusLines
{
public:
    explicit StatusLines(bool quiet) : m_quiet(quiet) {}

    void print(const std::string &line);

private:
    const bool m_quiet;
    std::mutex m_mutex; // one line at a time
};

} // namespace nditools
