#pragma once

#include <QtQml/QQmlExtensionPlugin>

// Where a QML engine enters the module: starts the NDI runtime and makes the module's types known.
// Used on the thread of the application object.
class QmlPlugin : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.QQmlExtensionInterface")

public:
    void registerTypes(const char *uri) override;
};
