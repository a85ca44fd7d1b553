#pragma once

#include "hostfw/MediaNode.h"

namespace host
{

// What a source node says of its sender, read as a QML document reads it.

// Whether the node has an `input` that names nothing. Such a node makes nothing.
bool lacksSender(const MediaNode *node);

} // namespace host
