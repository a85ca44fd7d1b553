#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

// Reads one QVariant from bytes that came over the network. What Qt writes reads back as Qt reads it; damaged or
// hostile bytes end in an invalid value: nesting is bounded, and no container is made larger than the bytes that are
// there.
QVariant readVariant(const QByteArray &bytes);
