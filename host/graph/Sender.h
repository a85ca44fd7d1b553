#pragma once

#include "hostfw/MediaNode.h"

#include <QtCore/QString>

namespace host
{

// What a source node says of its sender, and the module of the network, read as a QML document reads it.

// Whether the node has an `input` that names nothing. Such a node makes nothing.
bool lacksSender(const MediaNode *node);

// The name in the node's `input`, if NDI.inputs lists that input; empty otherwise.
QString listedSender(const MediaNode *node);

} // namespace host
