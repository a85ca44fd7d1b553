#pragma once

#include <QtCore/QObject>
#include <QtCore/QStringList>

namespace host
{

// The singleton Host: what a scene knows about the program that runs it.
class SceneContext : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QStringList arguments MEMBER m_arguments CONSTANT)

public:
    explicit SceneContext(const QStringList &arguments) : m_arguments(arguments) {}

private:
    const QStringList m_arguments;
};

} // namespace host
