#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QString>

namespace host
{

class Link;
class Monitor;

// The figures of the monitors and of the links, with the keys of README.md.
QJsonObject report(const QString &scene, double seconds, const QList<Monitor *> &monitors, const QList<Link *> &links);
// One line for people: "main: UYVY 1920x1080 50.00 fps, 0 lost, 3.1 ms | 48000 Hz x 2 -20.0 dBFS".
QString statusText(const Monitor &monitor);
// The same for a link to another sink: "Studio: 2.7 ms, holds 1, left out 3 late, 0 full"; empty for others.
QString statusText(const Link &link);
// Writes all of the file or none of it; false with a reason in `error`.
bool writeFile(const QString &path, const QByteArray &content, QString &error);

} // namespace host
