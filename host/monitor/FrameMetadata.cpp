#include "host/monitor/FrameMetadata.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>
#include <QtCore/QMetaType>
#include <QtCore/QString>

#include <limits>

namespace host
{

namespace
{
constexpr GUID SampleMetadata = {0x5833A435, 0x00AB, 0x4E9C, {0xAF, 0xFC, 0x1B, 0xD3, 0x31, 0xEF, 0xFD, 0x30}};

// The bytes come from whoever sends. Qt's own operator follows nesting without bound and reserves as many elements as
// the bytes claim; containers are therefore read element by element, and of the rest only what cannot grow.
constexpr int MaxNesting = 32;

bool readValue(QDataStream &in, int nesting, QVariant &value);

bool readList(QDataStream &in, int nesting, QVariant &value)
{
    quint32 count = 0;
    in >> count;
    QVariantList list;
    for (quint32 index = 0; index < count; ++index) {
        QVariant element;
        if (in.status() != QDataStream::Ok || !readValue(in, nesting, element))
            return false;
        list.append(element);
    }
    value = list;
    return true;
}

bool readMap(QDataStream &in, int nesting, QVariant &value)
{
    quint32 count = 0;
    in >> count;
    QVariantMap map;
    for (quint32 index = 0; index < count; ++index) {
        QString key;
        QVariant element;
        in >> key;
        if (in.status() != QDataStream::Ok || !readValue(in, nesting, element))
            return false;
        map.insert(key, element);
    }
    value = map;
    return true;
}

bool readValue(QDataStream &in, int nesting, QVariant &value)
{
    if (nesting > MaxNesting)
        return false;
    const qint64 start = in.device()->pos();
    quint32 type = QMetaType::UnknownType;
    qint8 isNull = 0;
    in >> type >> isNull;
    if (in.status() != QDataStream::Ok)
        return false;
    bool isRead = true;
    switch (type) {
    case QMetaType::QVariantList:
        isRead = readList(in, nesting + 1, value);
        break;
    case QMetaType::QVariantMap:
        isRead = readMap(in, nesting + 1, value);
        break;
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QByteArray:
        in.device()->seek(start);
        in >> value;
        break;
    default:
        isRead = false;
    }
    return isRead && in.status() == QDataStream::Ok;
}

} // namespace

QByteArray frameMetadata(IMFSample *sample)
{
    UINT32 size = 0;
    if (FAILED(sample->GetBlobSize(SampleMetadata, &size)) || size == 0 ||
        size > static_cast<UINT32>(std::numeric_limits<int>::max()))
        return {};
    QByteArray bytes(static_cast<int>(size), Qt::Uninitialized);
    if (FAILED(sample->GetBlob(SampleMetadata, reinterpret_cast<UINT8 *>(bytes.data()), size, nullptr)))
        return {};
    return bytes;
}

QVariant metadataValue(const QByteArray &bytes)
{
    QDataStream in(bytes);
    QVariant value;
    return readValue(in, 0, value) ? value : QVariant();
}

} // namespace host
