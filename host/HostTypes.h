#pragma once

namespace host
{

// Registers Graph, Link, TestPattern and Monitor as the QML module Tavrin.Host 1.0. Once per process is enough.
void registerHostTypes();

} // namespace host
