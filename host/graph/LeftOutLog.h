#pragma once

#include "host/pipeline/Handover.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QString>

#include <map>
#include <vector>

namespace host
{

// Puts what the sinks of a graph had left out before them into one line for the log, once a second at most: everything
// since the line before. Lives on the graph's thread.
class LeftOutLog
{
public:
    // Empty when there is nothing new, or a line was given out less than a second ago.
    QString text(const std::vector<PortFigures> &ports);

private:
    std::map<QString, PortFigures> m_told; // by the ports' names
    QDeadlineTimer m_quiet{0};
};

} // namespace host
