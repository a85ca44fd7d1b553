#include "format/MetadataEnvelope.h"

#include "format/VariantReader.h"

#include <QtCore/QDataStream>
#include <QtCore/QXmlStreamReader>
#include <QtCore/QXmlStreamWriter>

// {5833A435-00AB-4E9C-AFFC-1BD331EFFD30}
const GUID SampleMetadataAttribute = {0x5833a435, 0x00ab, 0x4e9c, {0xaf, 0xfc, 0x1b, 0xd3, 0x31, 0xef, 0xfd, 0x30}};

namespace
{

const QString elementName = QStringLiteral("tvx");

} // namespace

QByteArray wrapMetadataPayload(const QByteArray &payload)
{
    QByteArray envelope;
    QXmlStreamWriter writer(&envelope);
    writer.setCodec("UTF-8");
    writer.writeStartElement(elementName);
    writer.writeCDATA(QString::fromLatin1(payload.toBase64()));
    writer.writeEndElement();
    return envelope;
}

QByteArray metadataPayload(const QByteArray &envelope)
{
    QXmlStreamReader reader(envelope);
    if (!reader.readNextStartElement() || reader.name() != elementName)
        return {};
    return QByteArray::fromBase64(reader.readElementText().toLatin1());
}

QByteArray encodeMetadata(const QVariant &value)
{
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    stream << value;
    return wrapMetadataPayload(payload);
}

QVariant decodeMetadata(const QByteArray &envelope)
{
    return readVariant(metadataPayload(envelope));
}
