#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

#include <windows.h>

// A host's value travels in NDI metadata as one XML element "tvx" around a CDATA section with the base64 text of the
// value's QDataStream bytes (the payload). Functions without state, callable from any thread.

// The sample attribute (a blob) on which per-frame metadata rides through the host's graph, as payload.
extern const GUID SampleMetadataAttribute;

QByteArray wrapMetadataPayload(const QByteArray &payload);
// Empty for text whose first element is not the envelope's.
QByteArray metadataPayload(const QByteArray &envelope);

QByteArray encodeMetadata(const QVariant &value);
// Invalid for text that is not an envelope, or whose payload is not one well-formed value.
QVariant decodeMetadata(const QByteArray &envelope);
