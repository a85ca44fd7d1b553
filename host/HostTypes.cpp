#include "host/HostTypes.h"

#include "host/SceneContext.h"
#include "host/graph/Graph.h"
#include "host/graph/Link.h"
#include "host/monitor/Monitor.h"
#include "host/source/TestPattern.h"

#include <QtQml/qqml.h>

#include <memory>

namespace host
{

void registerHostTypes(const QStringList &sceneArguments)
{
    const char *const uri = "Tavrin.Host";
    qmlRegisterType<Graph>(uri, 1, 0, "Graph");
    qmlRegisterType<Link>(uri, 1, 0, "Link");
    qmlRegisterType<TestPattern>(uri, 1, 0, "TestPattern");
    qmlRegisterType<Monitor>(uri, 1, 0, "Monitor");
    qmlRegisterSingletonType<SceneContext>(uri, 1, 0, "Host", [sceneArguments](QQmlEngine *, QJSEngine *) -> QObject * {
        return std::make_unique<SceneContext>(sceneArguments).release(); // the engine owns it
    });
    qmlRegisterAnonymousType<NodeInput>(uri, 1);
    qmlRegisterAnonymousType<NodeOutput>(uri, 1);
}

} // namespace host
