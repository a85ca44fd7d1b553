#include "format/MetadataEnvelope.h"

#include "discovery/NDIInput.h"
#include "tests/support/QtCoreValues.h"

#include <QtCore/QBitArray>
#include <QtCore/QDataStream>
#include <QtCore/QDateTime>
#include <QtCore/QEasingCurve>
#include <QtCore/QRegExp>
#include <QtGui/QBrush>
#include <QtGui/QColor>
#include <QtGui/QFont>
#include <QtGui/QImage>
#include <QtGui/QKeySequence>
#include <QtGui/QMatrix4x4>
#include <QtGui/QMatrix>
#include <QtGui/QPen>
#include <QtGui/QPolygon>
#include <QtGui/QQuaternion>
#include <QtGui/QRegion>
#include <QtGui/QTextFormat>
#include <QtGui/QTransform>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>
#include <QtGui/QVector4D>
#include <QtQml/QJSEngine>
#include <QtQml/QJSValue>

#include <gtest/gtest.h>

namespace
{

QByteArray streamed(const std::function<void(QDataStream &)> &write)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    write(stream);
    return bytes;
}

} // namespace

TEST(MetadataEnvelope, IsOneElementAroundOneCdataSection)
{
    EXPECT_EQ(QByteArray("<tvx><![CDATA[AQID]]></tvx>"), wrapMetadataPayload(QByteArray("\x01\x02\x03")));
    EXPECT_EQ(QByteArray("<tvx><![CDATA[]]></tvx>"), wrapMetadataPayload(QByteArray()));
}

TEST(MetadataEnvelope, APayloadComesBackWhateverItsBytes)
{
    QByteArray payload;
    for (int value = 0; value < 256; ++value)
        payload.append(static_cast<char>(value));
    EXPECT_EQ(payload, metadataPayload(wrapMetadataPayload(payload)));
    const QByteArray large(1024 * 1024, '\xff');
    EXPECT_EQ(large, metadataPayload(wrapMetadataPayload(large)));
}

TEST(MetadataEnvelope, TextAfterTheElementIsIgnored)
{
    EXPECT_EQ(QByteArray("\x01\x02\x03"), metadataPayload("<tvx><![CDATA[AQID]]></tvx> and <more/>"));
}

TEST(MetadataEnvelope, ForeignOrDamagedTextHasNoPayload)
{
    for (const char *text : {"", "hello", "<other>AQID</other>", "<a><tvx>AQID</tvx></a>", "<tvx", "<",
                             "<ndi_tally_echo on_program=\"true\" on_preview=\"false\"/>", "\xff\xfe\x80"})
        EXPECT_EQ(QByteArray(), metadataPayload(text)) << text;
}

TEST(MetadataEnvelope, ValuesOfQtCoreComeBack)
{
    NDIInput::registerMetaType();
    QVariantList values = qtCoreValues();
    values.append(QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3), Qt::UTC));
    values.append(QVariant::fromValue(NDIInput("STUDIO (Camera 1)", "10.0.0.5:5961")));
    for (const QVariant &value : qAsConst(values)) {
        const QVariant decoded = decodeMetadata(encodeMetadata(value));
        EXPECT_EQ(value, decoded) << value.typeName();
        EXPECT_STREQ(value.typeName(), decoded.typeName()); // numbers of different types are equal
    }
    const QVariant hash = QVariantHash{{"one", 1}, {"two", "b"}};
    EXPECT_EQ(hash.toHash(), decodeMetadata(encodeMetadata(hash)).toHash());
}

TEST(MetadataEnvelope, AForeignEnvelopeDecodesToAnInvalidValue)
{
    EXPECT_FALSE(decodeMetadata("<other>AAAA</other>").isValid());
    EXPECT_FALSE(decodeMetadata("").isValid());
    EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(QByteArray())).isValid());
    EXPECT_FALSE(decodeMetadata("<tvx>%%%not base64%%%</tvx>").isValid());
}

TEST(MetadataEnvelope, EveryTruncationOfAValueIsHarmless)
{
    const QVariantList values = {
        QVariantMap{{"list", QVariantList{1, "two", QByteArray(100, 'x')}}, {"text", "abc"}},
        QEasingCurve(QEasingCurve::InElastic),
    };
    for (const QVariant &value : values) {
        const QByteArray payload = streamed([&value](QDataStream &stream) { stream << value; });
        for (int length = 0; length < payload.size(); ++length)
            EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(payload.left(length))).isValid()) << length;
    }
}

TEST(MetadataEnvelope, AContainerThatClaimsMoreThanThereIsAllocatesNothing)
{
    for (const quint32 type : {QMetaType::QVariantList, QMetaType::QVariantMap, QMetaType::QVariantHash,
                               QMetaType::QStringList, QMetaType::QByteArrayList})
        for (const quint32 count : {0xffffffffu, 0x7fffffffu, 0x10000000u}) {
            const QByteArray payload =
                streamed([&](QDataStream &stream) { stream << type << qint8(0) << count << quint32(0); });
            EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(payload)).isValid());
        }
}

TEST(MetadataEnvelope, NestingWithoutEndIsRefused)
{
    const QByteArray payload = streamed([](QDataStream &stream) {
        for (int level = 0; level < 100000; ++level)
            stream << quint32(QMetaType::QVariantList) << qint8(0) << quint32(1);
        stream << QVariant(1);
    });
    EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(payload)).isValid());
}

TEST(MetadataEnvelope, ValuesOfQtGuiOfFixedSizeComeBack)
{
    const QVariantList values = {
        QColor(10, 20, 30, 40),
        QVariant::fromValue(QTextLength(QTextLength::PercentageLength, 50)),
        QVariant::fromValue(QMatrix(1, 2, 3, 4, 5, 6)),
        QTransform(1, 2, 3, 4, 5, 6, 7, 8, 9),
        QMatrix4x4(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16),
        QVector2D(1, 2),
        QVector3D(1, 2, 3),
        QVector4D(1, 2, 3, 4),
        QQuaternion(1, 2, 3, 4),
    };
    for (const QVariant &value : values)
        EXPECT_EQ(value, decodeMetadata(encodeMetadata(value))) << value.typeName();
}

TEST(MetadataEnvelope, ValuesOfQtGuiThatAreReadWithoutBoundAreRefused)
{
    QImage image(2, 2, QImage::Format_RGB32);
    image.fill(Qt::red);
    const QVariantList values = {
        QFont(QStringLiteral("Sans")),
        image,
        QBrush(Qt::red),
        QPen(Qt::red),
        QPolygon(QVector<QPoint>{{1, 2}, {3, 4}}),
        QPolygonF(QVector<QPointF>{{1, 2}, {3, 4}}),
        QRegion(1, 2, 3, 4),
        QKeySequence(QStringLiteral("Ctrl+A")),
        QVariant::fromValue(QTextFormat(QTextFormat::BlockFormat)),
    };
    for (const QVariant &value : values) {
        EXPECT_FALSE(decodeMetadata(encodeMetadata(value)).isValid()) << value.typeName();
        EXPECT_FALSE(decodeMetadata(encodeMetadata(QVariantList{1, value})).isValid()) << value.typeName();
    }
}

TEST(MetadataEnvelope, AnEasingCurveComesBackWithTheParametersThatItHas)
{
    for (int type = QEasingCurve::Linear; type < QEasingCurve::BezierSpline; ++type) {
        QEasingCurve curve(static_cast<QEasingCurve::Type>(type));
        EXPECT_EQ(QVariant(curve), decodeMetadata(encodeMetadata(curve))) << type;
        curve.setPeriod(0.25);
        curve.setAmplitude(1.5);
        curve.setOvershoot(2.5);
        const QVariant value = curve; // not every type of curve keeps each of the parameters when it is copied
        const QVariant decoded = decodeMetadata(encodeMetadata(value));
        EXPECT_EQ(value, decoded) << type;
        EXPECT_EQ(QVariant(QVariantList{value, 1}), decodeMetadata(encodeMetadata(QVariantList{value, 1}))) << type;
        EXPECT_EQ(curve.valueForProgress(0.3), decoded.value<QEasingCurve>().valueForProgress(0.3)) << type;
    }
}

TEST(MetadataEnvelope, AFunctionsAddressThatComesWithAnEasingCurveIsNotCalled)
{
    const QByteArray payload = streamed([](QDataStream &stream) {
        stream << quint32(QMetaType::QEasingCurve) << qint8(0) << quint8(QEasingCurve::Linear) << quint64(1) << false;
    });
    EXPECT_EQ(0.5, decodeMetadata(wrapMetadataPayload(payload)).value<QEasingCurve>().valueForProgress(0.5));
}

TEST(MetadataEnvelope, ASplineOrAFunctionOfTheSendersOwnIsRefused)
{
    QEasingCurve bezier(QEasingCurve::BezierSpline);
    bezier.addCubicBezierSegment({0.1, 0.2}, {0.3, 0.4}, {1, 1});
    QEasingCurve tcb(QEasingCurve::TCBSpline);
    tcb.addTCBSegment({0, 0}, 0.1, 0.2, 0.3);
    tcb.addTCBSegment({1, 1}, 0.1, 0.2, 0.3);
    QEasingCurve custom;
    custom.setCustomType([](qreal progress) { return 1 - progress; });
    for (const QEasingCurve &curve : {bezier, tcb, custom})
        EXPECT_FALSE(decodeMetadata(encodeMetadata(curve)).isValid()) << curve.type();
}

TEST(MetadataEnvelope, AnEasingCurveOfNoTypeOrWithPointsIsRefused)
{
    struct Case {
        int type;
        quint32 bezierPoints;
        quint32 tcbPoints;
    };
    for (const Case &each :
         {Case{QEasingCurve::BezierSpline, 0, 0}, Case{QEasingCurve::TCBSpline, 0, 0}, Case{QEasingCurve::Custom, 0, 0},
          Case{QEasingCurve::NCurveTypes, 0, 0}, Case{255, 0, 0}, Case{QEasingCurve::InElastic, 0xffffffff, 0},
          Case{QEasingCurve::InElastic, 0, 0xffffffff}}) {
        const QByteArray payload = streamed([&each](QDataStream &stream) {
            stream << quint32(QMetaType::QEasingCurve) << qint8(0) << quint8(each.type) << quint64(0) << true;
            stream << 1.0 << 1.0 << 1.0 << each.bezierPoints << each.tcbPoints;
        });
        EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(payload)).isValid()) << each.type;
    }
}

TEST(MetadataEnvelope, MoreBitsThanThereAreAreRefused)
{
    for (const quint32 bits : {0xffffffffu, 0xfffffff9u, 0x80000000u, 0x7fffffffu, 64u}) {
        const QByteArray payload = streamed(
            [&](QDataStream &stream) { stream << quint32(QMetaType::QBitArray) << qint8(0) << bits << quint8(1); });
        EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(payload)).isValid()) << bits;
    }
}

TEST(MetadataEnvelope, AnOldRegularExpressionComesBackUnlessItIsLongOrCountsRepetitions)
{
    const QVariant simple = QRegExp(QStringLiteral("a+(b|c)"), Qt::CaseInsensitive);
    EXPECT_EQ(simple, decodeMetadata(encodeMetadata(simple)));
    for (const QString &pattern : {QStringLiteral("((a{1000}){1000}){1000}"), QString(100000, QLatin1Char('('))}) {
        const QByteArray payload = streamed([&](QDataStream &stream) {
            stream << quint32(QMetaType::QRegExp) << qint8(0) << pattern << quint8(1) << quint8(0) << quint8(0);
        });
        EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(payload)).isValid());
    }
}

TEST(MetadataEnvelope, AMapWithSeveralValuesOfOneKeyKeepsThemInTheirOrder)
{
    QMultiMap<QString, QVariant> values;
    for (const int value : {1, 2, 3})
        values.insert(QStringLiteral("key"), value);
    const QVariantMap map = values;
    EXPECT_EQ(map, decodeMetadata(encodeMetadata(map)).toMap());
}

TEST(MetadataEnvelope, AValueWithinAValueComesBackButNotWithoutEnd)
{
    const QVariant inner = 42;
    const QVariant outer(QMetaType::QVariant, &inner);
    const QVariant decoded = decodeMetadata(encodeMetadata(outer));
    ASSERT_EQ(QMetaType::QVariant, static_cast<QMetaType::Type>(decoded.userType()));
    EXPECT_EQ(inner, *static_cast<const QVariant *>(decoded.constData()));
    const QByteArray payload = streamed([](QDataStream &stream) {
        for (int level = 0; level < 100000; ++level)
            stream << quint32(QMetaType::QVariant) << qint8(0);
        stream << QVariant(1);
    });
    EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(payload)).isValid());
}

TEST(MetadataEnvelope, ABuiltInTypeThatComesByItsNameOrWithHighBitsIsRefused)
{
    const QByteArray named = streamed([](QDataStream &stream) {
        stream << quint32(QMetaType::User) << qint8(0) << QByteArray("QVariantList") << quint32(0);
    });
    EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(named)).isValid());
    const QByteArray high = streamed(
        [](QDataStream &stream) { stream << quint32(0x10000u | QMetaType::QVariantList) << qint8(0) << quint32(0); });
    EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(high)).isValid());
}

TEST(MetadataEnvelope, AValueOfAScriptComesBackAsWhatItComesTo)
{
    QJSEngine engine;
    const auto decoded = [&](const char *script) {
        return decodeMetadata(encodeMetadata(QVariant::fromValue(engine.evaluate(QString::fromLatin1(script)))));
    };
    EXPECT_EQ(QVariant(QVariantMap{{"a", 1}, {"b", QVariantList{"x", true}}}), decoded("({a: 1, b: ['x', true]})"));
    EXPECT_EQ(QVariant::fromValue(nullptr), decoded("null"));
    EXPECT_FALSE(decoded("undefined").isValid());
}

TEST(MetadataEnvelope, ValuesOfScriptsWithinEachOtherWithoutEndAreRefused)
{
    const QJSEngine engine; // makes the type known, as a host's own engine does
    for (const QByteArray &name :
         {QByteArray("QJSValue\0", 9), QByteArray("QJSValue \0", 10), QByteArray("QJSValue\0x\0", 11)}) {
        const QByteArray payload = streamed([&](QDataStream &stream) {
            for (int level = 0; level < 100000; ++level)
                stream << quint32(QMetaType::User) << qint8(0) << name << quint32(0);
            stream << QVariant(1);
        });
        EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(payload)).isValid()) << name.constData();
    }
}

TEST(MetadataEnvelope, AnUnknownTypeIsRefused)
{
    const QByteArray payload = streamed(
        [](QDataStream &stream) { stream << quint32(QMetaType::User) << qint8(0) << QByteArray("NoSuchType") << 1; });
    EXPECT_FALSE(decodeMetadata(wrapMetadataPayload(payload)).isValid());
}
