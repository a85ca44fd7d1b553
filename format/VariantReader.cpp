#include "format/VariantReader.h"

#include <QtCore/QDataStream>
#include <QtCore/QDateTime>
#include <QtCore/QEasingCurve>
#include <QtCore/QHash>
#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMetaType>
#include <QtCore/QStringList>
#include <QtCore/QTimeZone>

#include <algorithm>
#include <iterator>
#include <limits>

namespace
{

// Qt's own operators follow nesting without bound and reserve as many elements as the bytes claim; containers of values
// are therefore read here, element by element.
constexpr int maxNesting = 64;

// What Qt reads within the bytes that are there, without recursion, whatever they are.
constexpr QMetaType::Type plainTypes[] = {
    // no value, and numbers
    QMetaType::UnknownType, QMetaType::Nullptr, QMetaType::Bool, QMetaType::Char, QMetaType::SChar, QMetaType::UChar,
    QMetaType::Short, QMetaType::UShort, QMetaType::Int, QMetaType::UInt, QMetaType::Long, QMetaType::ULong,
    QMetaType::LongLong, QMetaType::ULongLong, QMetaType::Float, QMetaType::Double,
    // text, bytes, names and times
    QMetaType::QChar, QMetaType::QString, QMetaType::QByteArray, QMetaType::QUrl, QMetaType::QUuid, QMetaType::QLocale,
    QMetaType::QRegularExpression, QMetaType::QDate, QMetaType::QTime, QMetaType::QDateTime,
    // places and sizes
    QMetaType::QPoint, QMetaType::QPointF, QMetaType::QSize, QMetaType::QSizeF, QMetaType::QLine, QMetaType::QLineF,
    QMetaType::QRect, QMetaType::QRectF,
    // trees, which Qt parses out of one block of bytes, 1024 levels deep at most
    QMetaType::QJsonValue, QMetaType::QJsonObject, QMetaType::QJsonArray, QMetaType::QJsonDocument,
    QMetaType::QCborSimpleType, QMetaType::QCborValue, QMetaType::QCborArray, QMetaType::QCborMap,
    // of QtGui
    QMetaType::QColor, QMetaType::QTextLength, QMetaType::QMatrix, QMetaType::QTransform, QMetaType::QMatrix4x4,
    QMetaType::QVector2D, QMetaType::QVector3D, QMetaType::QVector4D, QMetaType::QQuaternion};

bool isPlain(quint32 type)
{
    return std::find(std::begin(plainTypes), std::end(plainTypes), static_cast<int>(type)) != std::end(plainTypes);
}

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

bool readWithQt(QDataStream &stream, qint64 start, QVariant &value)
{
    stream.device()->seek(start);
    stream >> value;
    return stream.status() == QDataStream::Ok && isUsable(value);
}

// Qt rounds a claimed number of bits up past the end of its range and then takes the array for one of negative size.
bool hasClaimedBits(QDataStream &stream)
{
    quint32 bits = 0;
    stream >> bits;
    constexpr quint32 mostBits = std::numeric_limits<int>::max();
    return stream.status() == QDataStream::Ok && bits <= mostBits && bits / 8 <= stream.device()->bytesAvailable();
}

// QRegExp compiles its pattern as it is read: by recursion, in time that grows faster than the pattern's length, and
// once again for each of a counted number of repetitions, in which a few characters can ask for all of the memory.
bool hasSimplePattern(QDataStream &stream)
{
    constexpr int maxLength = 128;
    QString pattern;
    stream >> pattern;
    return stream.status() == QDataStream::Ok && pattern.size() <= maxLength && !pattern.contains(QLatin1Char('{'));
}

// Qt takes the address of a curve's function out of the bytes and calls it; here the type says which function it is. A
// function of the sender's own cannot be told so, and of splines' points Qt reserves as many as the bytes claim.
bool readEasingCurve(QDataStream &stream, QVariant &value)
{
    quint8 type = QEasingCurve::Custom;
    quint64 address = 0;
    bool hasParameters = false;
    stream >> type >> address >> hasParameters;
    if (stream.status() != QDataStream::Ok || type >= QEasingCurve::BezierSpline)
        return false;
    QEasingCurve curve(static_cast<QEasingCurve::Type>(type));
    if (hasParameters) {
        qreal period = 0;
        qreal amplitude = 0;
        qreal overshoot = 0;
        quint32 bezierPoints = 0;
        quint32 tcbPoints = 0;
        stream >> period >> amplitude >> overshoot >> bezierPoints >> tcbPoints;
        if (stream.status() != QDataStream::Ok || bezierPoints != 0 || tcbPoints != 0)
            return false;
        curve.setPeriod(period);
        curve.setAmplitude(amplitude);
        curve.setOvershoot(overshoot);
    }
    value = curve;
    return true;
}

// Qt Qml writes a script's value as whether it is null or undefined and, if it is neither, what it comes to. Its own
// reader would follow that without bound.
bool readScriptValue(QDataStream &stream, int nesting, QVariant &value)
{
    constexpr quint32 isNull = 1;
    quint32 absence = 0;
    stream >> absence;
    if (stream.status() != QDataStream::Ok)
        return false;
    if (absence == 0)
        return readValue(stream, nesting, value);
    value = absence == isNull ? QVariant::fromValue(nullptr) : QVariant();
    return true;
}

bool readNamedType(QDataStream &stream, qint64 start, int nesting, QVariant &value)
{
    constexpr char scriptValue[] = "QJSValue";
    QByteArray name;
    stream >> name;
    if (stream.status() != QDataStream::Ok)
        return false;
    // By its number too: Qt knows a type by other spellings of its name.
    const int type = QMetaType::type(name.constData());
    if (qstrcmp(name.constData(), scriptValue) == 0 ||
        (type >= QMetaType::User && type == QMetaType::type(scriptValue)))
        return readScriptValue(stream, nesting, value);
    // Qt would take a built-in type by its name as well, and so come to a container past the cases below.
    return type >= QMetaType::User && readWithQt(stream, start, value);
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

// Into a QMultiMap or QMultiHash: a map in a variant may hold several values of one key.
template <typename Map>
bool readElement(QDataStream &stream, int nesting, Map &map)
{
    QString key;
    QVariant element;
    stream >> key;
    if (stream.status() != QDataStream::Ok || !readValue(stream, nesting, element))
        return false;
    map.insert(key, element);
    return true;
}

template <typename Value, typename Container = Value>
bool readContainer(QDataStream &stream, int nesting, bool isNull, QVariant &value)
{
    quint32 count = 0;
    stream >> count;
    Container container;
    for (quint32 index = 0; index < count; ++index)
        if (stream.status() != QDataStream::Ok || !readElement(stream, nesting, container))
            return false;
    value = isNull ? QVariant(qMetaTypeId<Value>(), nullptr) : QVariant::fromValue<Value>(container);
    return stream.status() == QDataStream::Ok;
}

bool readNested(QDataStream &stream, int nesting, QVariant &value)
{
    QVariant nested;
    if (!readValue(stream, nesting, nested))
        return false;
    value = QVariant(QMetaType::QVariant, &nested);
    return true;
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
        return readContainer<QVariantMap, QMultiMap<QString, QVariant>>(stream, nesting + 1, isNull, value);
    case QMetaType::QVariantHash:
        return readContainer<QVariantHash, QMultiHash<QString, QVariant>>(stream, nesting + 1, isNull, value);
    case QMetaType::QStringList:
        return readContainer<QStringList>(stream, nesting + 1, isNull, value);
    case QMetaType::QByteArrayList:
        return readContainer<QByteArrayList>(stream, nesting + 1, isNull, value);
    case QMetaType::QVariant:
        return readNested(stream, nesting + 1, value);
    case QMetaType::QBitArray:
        return hasClaimedBits(stream) && readWithQt(stream, start, value);
    case QMetaType::QRegExp:
        return hasSimplePattern(stream) && readWithQt(stream, start, value);
    case QMetaType::QEasingCurve:
        return readEasingCurve(stream, value);
    case QMetaType::User:
        return readNamedType(stream, start, nesting + 1, value);
    default:
        return isPlain(type) && readWithQt(stream, start, value);
    }
}

} // namespace

QVariant readVariant(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    QVariant value;
    return readValue(stream, 0, value) ? value : QVariant();
}
