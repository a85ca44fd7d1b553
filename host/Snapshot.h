#pragma once

#include <QtCore/QList>
#include <QtCore/QString>

namespace host
{

class Monitor;

// Writes the last pictures of the monitors to one PNG file, side by side in that order, at their own sizes. A monitor
// without a picture is left out; false when none has one, or the file cannot be written.
bool writeSnapshot(const QList<Monitor *> &monitors, const QString &path);

} // namespace host
