#include "host/HostTypes.h"

#include "host/graph/Graph.h"
#include "host/graph/Link.h"
#include "host/monitor/Monitor.h"
#include "host/source/TestPattern.h"

#include <QtQml/qqml.h>

namespace host
{

void registerHostTypes()
{
    const char *const uri = "Tavrin.Host";
    qmlRegisterType<Graph>(uri, 1, 0, "Graph");
    qmlRegisterType<Link>(uri, 1, 0, "Link");
    qmlRegisterType<TestPattern>(uri, 1, 0, "TestPattern");
    qmlRegisterType<Monitor>(uri, 1, 0, "Monitor");
    qmlRegisterAnonymousType<NodeInput>(uri, 1);
    qmlRegisterAnonymousType<NodeOutput>(uri, 1);
}

} // namespace host
