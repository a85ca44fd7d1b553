#include "host/StatusLine.h"

#include "host/Console.h"

#include <algorithm>
#include <cstdio>

namespace host
{

StatusLine::StatusLine() : m_overwrites(isTerminal()) {}

StatusLine::~StatusLine()
{
    if (m_shown > 0)
        std::fputs("\n", stdout);
    std::fflush(stdout);
}

int StatusLine::interval() const
{
    return m_overwrites ? 250 : 2000;
}

void StatusLine::show(const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    if (m_overwrites) {
        const int blanks = std::max(m_shown - text.size(), 0);
        std::fprintf(stdout, "\r%s%*s", bytes.constData(), blanks, "");
        m_shown = text.size();
    } else {
        std::fprintf(stdout, "%s\n", bytes.constData());
    }
    std::fflush(stdout);
}

} // namespace host
