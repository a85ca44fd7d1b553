#include "host/graph/Sender.h"

#include <QtCore/QMetaProperty>

namespace host
{

namespace
{

QVariant inputOf(const MediaNode *node)
{
    return node->property("input");
}

QString nameOf(const QVariant &input)
{
    const QMetaObject *const type = QMetaType::metaObjectForType(input.userType());
    const int index = type ? type->indexOfProperty("name") : -1;
    return index < 0 ? QString() : type->property(index).readOnGadget(input.constData()).toString();
}

} // namespace

bool lacksSender(const MediaNode *node)
{
    const QVariant input = inputOf(node);
    return input.isValid() && nameOf(input).isEmpty();
}

} // namespace host
