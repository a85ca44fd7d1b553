#include "sink/SampleMetadata.h"

#include "format/MetadataEnvelope.h"

#include <climits>

QByteArray sampleMetadata(IMFSample *sample)
{
    UINT32 size = 0;
    if (FAILED(sample->GetBlobSize(SampleMetadataAttribute, &size)) || size == 0 || size > INT_MAX)
        return {};
    QByteArray payload(static_cast<int>(size), Qt::Uninitialized);
    if (FAILED(sample->GetBlob(SampleMetadataAttribute, reinterpret_cast<UINT8 *>(payload.data()), size, nullptr)))
        return {};
    return wrapMetadataPayload(payload);
}
