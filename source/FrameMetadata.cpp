#include "source/FrameMetadata.h"

#include "format/MetadataEnvelope.h"

void attachFrameMetadata(IMFSample *sample, const char *metadata)
{
    if (!metadata)
        return;
    const QByteArray payload = metadataPayload(QByteArray(metadata));
    sample->SetBlob(SampleMetadataAttribute, reinterpret_cast<const UINT8 *>(payload.constData()),
                    static_cast<UINT32>(payload.size()));
}
