#include "host/graph/LeftOutLog.h"

#include <QtCore/QStringList>

namespace host
{

namespace
{

constexpr int Interval = 1000; // milliseconds

// A sink that was made anew begins at 0.
unsigned long long added(unsigned long long now, unsigned long long before)
{
    return now < before ? now : now - before;
}

} // namespace

QString LeftOutLog::text(const std::vector<PortFigures> &ports)
{
    if (!m_quiet.hasExpired())
        return {};
    QStringList parts;
    for (const PortFigures &port : ports) {
        PortFigures &told = m_told[port.name];
        const unsigned long long late = added(port.leftOutLate, told.leftOutLate);
        const unsigned long long full = added(port.leftOutFull, told.leftOutFull);
        told = port;
        if (late + full > 0)
            parts += QStringLiteral("%1: %2 late, %3 with no room for them").arg(port.name).arg(late).arg(full);
    }
    if (parts.isEmpty())
        return {};
    m_quiet.setRemainingTime(Interval);
    return QStringLiteral("Left out before ") + parts.join(QStringLiteral("; "));
}

} // namespace host
