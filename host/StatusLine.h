#pragma once

#include <QtCore/QString>

namespace host
{

// The program's state on standard output: one line written over again on a terminal, a new line for each text
// elsewhere. Ends the line it has begun when it goes.
class StatusLine
{
public:
    StatusLine();
    StatusLine(const StatusLine &) = delete;
    StatusLine &operator=(const StatusLine &) = delete;
    ~StatusLine();

    // Milliseconds between two texts that are worth reading.
    int interval() const;
    void show(const QString &text);

private:
    const bool m_overwrites;
    int m_shown = 0; // characters on the line that is to be written over
};

} // namespace host
