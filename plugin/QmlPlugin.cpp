#include "plugin/QmlPlugin.h"

#include "discovery/NDIInput.h"
#include "discovery/NDIInputEnumerator.h"
#include "plugin/Logging.h"
#include "sink/NDISink.h"
#include "source/NDISource.h"

#include <QtCore/QCoreApplication>
#include <QtQml/qqml.h>

#include "Processing.NDI.Interface.h"

namespace
{

constexpr int majorVersion = 1;
constexpr int minorVersion = 0;

void destroyRuntime()
{
    NDIlib_destroy();
    qCDebug(generalCategory, "NDI library uninitialized");
}

QObject *createEnumerator(QQmlEngine *, QJSEngine *)
{
    return new NDIInputEnumerator;
}

} // namespace

void QmlPlugin::registerTypes(const char *uri)
{
    if (!NDIlib_initialize()) {
        qCCritical(generalCategory, "Failed to initialize NDI library");
        return;
    }
    qCDebug(generalCategory, "NDI library initialized");
    qAddPostRoutine(destroyRuntime);

    qmlRegisterSingletonType<NDIInputEnumerator>(uri, majorVersion, minorVersion, "NDI", createEnumerator);
    NDIInput::registerMetaType();
    qmlRegisterType<NDISource>(uri, majorVersion, minorVersion, "NDISource");
    qmlRegisterType<NDISink>(uri, majorVersion, minorVersion, "NDISink");
}
