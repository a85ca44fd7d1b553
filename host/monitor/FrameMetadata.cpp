#include "host/monitor/FrameMetadata.h"

#include <QtCore/QDataStream>

namespace host
{

namespace
{
constexpr GUID SampleMetadata = {0x5833A435, 0x00AB, 0x4E9C, {0xAF, 0xFC, 0x1B, 0xD3, 0x31, 0xEF, 0xFD, 0x30}};
} // namespace

QByteArray frameMetadata(IMFSample *sample)
{
    UINT32 size = 0;
    if (FAILED(sample->GetBlobSize(SampleMetadata, &size)) || size == 0)
        return {};
    QByteArray bytes(static_cast<int>(size), Qt::Uninitialized);
    if (FAILED(sample->GetBlob(SampleMetadata, reinterpret_cast<UINT8 *>(bytes.data()), size, nullptr)))
        return {};
    return bytes;
}

QVariant metadataValue(const QByteArray &bytes)
{
    QVariant value;
    QDataStream in(bytes);
    in >> value;
    return in.status() == QDataStream::Ok ? value : QVariant();
}

} // namespace host
