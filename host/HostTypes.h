#pragma once

#include <QtCore/QStringList>

namespace host
{

// Registers Graph, Link, TestPattern, Monitor and the singleton Host as the QML module Tavrin.Host 1.0.
// `sceneArguments` is what scenes read as Host.arguments. To be called once per process.
void registerHostTypes(const QStringList &sceneArguments);

} // namespace host
