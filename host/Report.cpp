#include "host/Report.h"

#include "host/Log.h"
#include "host/graph/Link.h"
#include "host/monitor/Monitor.h"

#include <QtCore/QJsonArray>
#include <QtCore/QSaveFile>

namespace host
{

namespace
{

QString videoText(const VideoFigures &figures)
{
    if (!figures.format || figures.stream.samples == 0)
        return QStringLiteral("no picture");
    QString text = QStringLiteral("%1 %2x%3 %4 fps")
                       .arg(subtypeName(figures.format->subtype))
                       .arg(figures.format->width)
                       .arg(figures.format->height)
                       .arg(figures.stream.rate, 0, 'f', 2);
    if (figures.coded > 0)
        return text + QStringLiteral(", %1 lost, %2 ms").arg(figures.lost).arg(figures.latencyMedianMs, 0, 'f', 1);
    return text + QStringLiteral(", %1 gaps").arg(figures.stream.gaps);
}

QString audioText(const AudioFigures &figures)
{
    if (figures.sampleRate == 0 || figures.stream.samples == 0)
        return QStringLiteral("no sound");
    return QStringLiteral("%1 Hz x %2, %3 dBFS")
        .arg(figures.sampleRate)
        .arg(figures.channels)
        .arg(figures.peakDbfs, 0, 'f', 1);
}

QString nodeName(const NodePin *pin)
{
    return pin ? host::nodeName(pin->node()) : QString();
}

QJsonArray linkList(const QList<Link *> &links)
{
    QJsonArray list;
    for (const Link *const link : links) {
        QJsonObject figures = QJsonObject::fromVariantMap(link->figures());
        figures[QStringLiteral("from")] = nodeName(link->from());
        figures[QStringLiteral("to")] = nodeName(link->to());
        list.append(figures);
    }
    return list;
}

} // namespace

QJsonObject report(const QString &scene, double seconds, const QList<Monitor *> &monitors, const QList<Link *> &links)
{
    QJsonArray list;
    for (const Monitor *const monitor : monitors) {
        list.append(QJsonObject{{QStringLiteral("name"), monitor->name()},
                                {QStringLiteral("video"), QJsonObject::fromVariantMap(monitor->video())},
                                {QStringLiteral("audio"), QJsonObject::fromVariantMap(monitor->audio())},
                                {QStringLiteral("avOffsetMs"), monitor->avOffset()}});
    }
    return {{QStringLiteral("scene"), scene},
            {QStringLiteral("seconds"), seconds},
            {QStringLiteral("monitors"), list},
            {QStringLiteral("links"), linkList(links)}};
}

QString statusText(const Monitor &monitor)
{
    const QString name = monitor.name().isEmpty() ? QString() : monitor.name() + QStringLiteral(": ");
    QString text = name + videoText(monitor.videoFigures());
    if (monitor.audioInput()->getConnectedOutput())
        text += QStringLiteral(" | ") + audioText(monitor.audioFigures());
    return text;
}

QString statusText(const Link &link)
{
    const QVariantMap figures = link.figures();
    if (figures.isEmpty() || !link.to() || qobject_cast<Monitor *>(link.to()->node()))
        return {};
    const auto number = [&figures](const char *key) { return figures.value(QLatin1String(key)); };
    return QStringLiteral("%1: %2 ms, holds %3, left out %4 late, %5 full")
        .arg(nodeName(link.to()))
        .arg(number("latencyMedianMs").toDouble(), 0, 'f', 1)
        .arg(number("held").toUInt())
        .arg(number("leftOutLate").toULongLong())
        .arg(number("leftOutFull").toULongLong());
}

bool writeFile(const QString &path, const QByteArray &content, QString &error)
{
    QSaveFile file(path);
    const bool written = file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
    if (!written)
        error = file.errorString();
    return written;
}

} // namespace host
