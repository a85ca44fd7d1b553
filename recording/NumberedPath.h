#pragma once

#include <QtCore/QFileInfo>
#include <QtCore/QString>

namespace recording
{

// The name of the n-th file of a recording, n from 1: clip.y4m, clip-2.y4m.
inline QString numberedPath(const QString &path, int number)
{
    if (number <= 1)
        return path;
    const QFileInfo info(path);
    const QString ending = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
    return path.left(path.size() - ending.size()) + QLatin1Char('-') + QString::number(number) + ending;
}

} // namespace recording
