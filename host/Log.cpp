#include "host/Log.h"

#include "hostfw/MediaNode.h"

#include <QtCore/QVariant>

namespace host
{

Q_LOGGING_CATEGORY(lcHost, "Tavrin.Host", QtWarningMsg)

QString nodeName(const MediaNode *node)
{
    QString name = node->property("name").toString();
    if (!name.isEmpty())
        return name;
    // A scene that adds properties to a type makes a class of its own of it: "NDISource_QML_7".
    const QString type = QString::fromLatin1(node->metaObject()->className());
    return type.section(QLatin1String("::"), -1).section(QLatin1String("_QML"), 0, 0);
}

} // namespace host
