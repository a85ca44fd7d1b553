#include "host/Snapshot.h"

#include "host/monitor/Monitor.h"

#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <algorithm>

namespace host
{

bool writeSnapshot(const QList<Monitor *> &monitors, const QString &path)
{
    QList<QImage> pictures;
    QSize size(0, 0);
    for (const Monitor *const monitor : monitors) {
        const QImage picture = monitor->lastPicture();
        if (picture.isNull())
            continue;
        pictures.append(picture);
        size = {size.width() + picture.width(), std::max(size.height(), picture.height())};
    }
    if (pictures.size() <= 1)
        return !pictures.isEmpty() && pictures.constFirst().save(path, "PNG");

    QImage sheet(size, QImage::Format_RGB32);
    sheet.fill(Qt::black);
    QPainter painter(&sheet);
    int left = 0;
    for (const QImage &picture : std::as_const(pictures)) {
        painter.drawImage(left, 0, picture);
        left += picture.width();
    }
    painter.end();
    return sheet.save(path, "PNG");
}

} // namespace host
