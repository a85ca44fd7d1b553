// Any text as a metadata frame from the network: decoded, or found not to be one. What is decoded must survive being
// sent on.

#include "format/MetadataEnvelope.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char *>(bytes), static_cast<int>(size));

    const QByteArray payload = metadataPayload(text);
    if (!payload.isEmpty() && metadataPayload(wrapMetadataPayload(payload)) != payload)
        std::abort();

    const QVariant value = decodeMetadata(text);
    if (value.isValid() && !decodeMetadata(encodeMetadata(value)).isValid())
        std::abort();

    // The same bytes as a payload, so that the search need not invent base64.
    decodeMetadata(wrapMetadataPayload(text));
    return 0;
}
