#include "format/VariantReader.h"

#include <QtCore/QDataStream>
#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMetaType>
#include <QtCore/QStringList>
#include <QtCore/QTimeZone>

namespace
{

// Qt's own operators follow nesting without bound and reserve as many elements as the bytes claim; containers of values
// are therefore read here, element by element, and everything else by Qt.
constexpr int maxNesting = 64;

bool readValue(QDataStream &stream, int nesting, QVariant &value);

// A date whose bytes name no known kind of time comes out of Qt with a time zone that is not there; Qt itself then
// fails when it writes the value or looks the zone up.
bool isUsable(const QVariant &value)
{
    if (value.userType() != QMetaType::QDateTime)
        return true;
    const QDateTime time = value.toDateTime();
    return time.timeSpec() != Qt::TimeZone || time.timeZone().isValid();
}

bool readElement(QDataStream &stream, int nesting, QVariantList &list)
{
    QVariant element;
    if (!readValue(stream, nesting, element))
        return false;
    list.append(element);
    return true;
}

bool readElement(QDataStream &stream, int, QStringList &list)
{
    QString element;
    stream >> element;
    list.append(element);
    return stream.status() == QDataStream::Ok;
}

bool readElement(QDataStream &stream, int, QByteArrayList &list)
{
    QByteArray element;
    stream >> element;
    list.append(element);
    return stream.status() == QDataStream::Ok;
}

template <typename Map>
bool readPair(QDataStream &stream, int nesting, Map &map)
{
    QString key;
    QVariant element;
    stream >> key;
    if (stream.status() != QDataStream::Ok || !readValue(stream, nesting, element))
        return false;
    map.insert(key, element);
    return true;
}

bool readElement(QDataStream &stream, int nesting, QVariantMap &map)
{
    return readPair(stream, nesting, map);
}

bool readElement(QDataStream &stream, int nesting, QVariantHash &hash)
{
    return readPair(stream, nesting, hash);
}

template <typename Container>
bool readContainer(QDataStream &stream, int nesting, bool isNull, QVariant &value)
{
    quint32 count = 0;
    stream >> count;
    Container container;
    for (quint32 index = 0; index < count; ++index)
        if (stream.status() != QDataStream::Ok || !readElement(stream, nesting, container))
            return false;
    value = isNull ? QVariant(qMetaTypeId<Container>(), nullptr) : QVariant::fromValue(container);
    return stream.status() == QDataStream::Ok;
}

// Qt writes built-in types by number and others by name. It would take a built-in one by its name as well, or by its
// number with high bits that it drops, and so come to a container past the cases below.
bool isPlainlyNamed(QDataStream &stream, quint32 type)
{
    if (type != QMetaType::User)
        return type < QMetaType::User;
    QByteArray name;
    stream >> name;
    return stream.status() == QDataStream::Ok && QMetaType::type(name.constData()) >= QMetaType::User;
}

bool readValue(QDataStream &stream, int nesting, QVariant &value)
{
    if (nesting > maxNesting)
        return false;
    const qint64 start = stream.device()->pos();
    quint32 type = QMetaType::UnknownType;
    qint8 isNull = 0;
    stream >> type >> isNull;
    if (stream.status() != QDataStream::Ok)
        return false;
    switch (type) {
    case QMetaType::QVariantList:
        return readContainer<QVariantList>(stream, nesting + 1, isNull, value);
    case QMetaType::QVariantMap:
        return readContainer<QVariantMap>(stream, nesting + 1, isNull, value);
    case QMetaType::QVariantHash:
        return readContainer<QVariantHash>(stream, nesting + 1, isNull, value);
    case QMetaType::QStringList:
        return readContainer<QStringList>(stream, nesting + 1, isNull, value);
    case QMetaType::QByteArrayList:
        return readContainer<QByteArrayList>(stream, nesting + 1, isNull, value);
    case QMetaType::QVariant:     // a value in a value: Qt would follow it without bound
    case QMetaType::QEasingCurve: // a container in disguise: Qt reserves as many points as the bytes claim
        return false;
    default:
        if (!isPlainlyNamed(stream, type))
            return false;
        stream.device()->seek(start);
        stream >> value;
        return stream.status() == QDataStream::Ok && isUsable(value);
    }
}

} // namespace

QVariant readVariant(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    QVariant value;
    return readValue(stream, 0, value) ? value : QVariant();
}
