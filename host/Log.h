#pragma once

#include <QtCore/QLoggingCategory>
#include <QtCore/QString>

class MediaNode;

namespace host
{

Q_DECLARE_LOGGING_CATEGORY(lcHost)

// What messages and figures call a node: its own `name` if it has one, else its QML type.
QString nodeName(const MediaNode *node);

} // namespace host
