#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

// Reads one QVariant from bytes that came over the network. Damaged or hostile bytes end in an invalid value: nesting
// is bounded, and nothing is made larger than the bytes that are there.
//
// Read back as Qt wrote them are the values of Qt Core, of QtGui's types of fixed size, and of types that are
// registered with stream operators of their own; a script's value (QJSValue) reads back as what it comes to. Refused
// are the values that cannot be read within bounds: easing curves that are splines or functions of one's own, regular
// expressions of the old kind that are long or count repetitions, and the rest of QtGui (fonts, pictures, brushes,
// polygons).
QVariant readVariant(const QByteArray &bytes);
