#include "host/graph/Sender.h"

#include <QtCore/QMetaProperty>
#include <QtQml/QQmlEngine>

#include <optional>

namespace host
{

namespace
{

QVariant inputOf(const MediaNode *node)
{
    return node->property("input");
}

// None when the value is nothing that has a name.
std::optional<QString> nameOf(const QVariant &input)
{
    const QMetaObject *const type = QMetaType::metaObjectForType(input.userType());
    const int index = type ? type->indexOfProperty("name") : -1;
    if (index < 0)
        return {};
    return type->property(index).readOnGadget(input.constData()).toString();
}

} // namespace

bool lacksSender(const MediaNode *node)
{
    const std::optional<QString> name = nameOf(inputOf(node));
    return name && name->isEmpty();
}

QString listedSender(const MediaNode *node)
{
    const QVariant input = inputOf(node);
    QQmlEngine *const engine = qmlEngine(node);
    const int type = qmlTypeId("Multimedia.Tavrin", 1, 0, "NDI");
    if (!input.isValid() || !engine || type < 0)
        return {};
    const QObject *const network = engine->singletonInstance<QObject *>(type);
    return network && network->property("inputs").toList().contains(input) ? nameOf(input).value_or(QString())
                                                                           : QString();
}

} // namespace host
