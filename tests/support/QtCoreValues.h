#pragma once

#include <QtCore/QBitArray>
#include <QtCore/QCborArray>
#include <QtCore/QCborMap>
#include <QtCore/QCborValue>
#include <QtCore/QDateTime>
#include <QtCore/QEasingCurve>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLine>
#include <QtCore/QLocale>
#include <QtCore/QRect>
#include <QtCore/QRegExp>
#include <QtCore/QRegularExpression>
#include <QtCore/QUrl>
#include <QtCore/QUuid>
#include <QtCore/QVariant>

// Values of every type of Qt Core that a stream holds, none of which equals the one before it.
inline QVariantList qtCoreValues()
{
    return {
        true,
        42,
        2.5,
        QVariant::fromValue<signed char>(-2),
        QVariant::fromValue<long>(-70000),
        QVariant::fromValue<unsigned long>(70000),
        QVariant::fromValue(nullptr),
        QStringLiteral("Käse"),
        QString(),
        QBitArray(5, true),
        QByteArray("\0\1]]>", 5), // not behind an empty text, which Qt takes for the same
        QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3, 4)),
        QUrl(QStringLiteral("http://example.org/a?b")),
        QLocale(QLocale::German),
        QPoint(1, 2),
        QPointF(1.5, 2.5),
        QSize(3, 4),
        QSizeF(3.5, 4.5),
        QRect(1, 2, 3, 4),
        QRectF(1.5, 2, 3, 4),
        QLine(1, 2, 3, 4),
        QLineF(1.5, 2, 3, 4),
        QUuid(QStringLiteral("{5833a435-00ab-4e9c-affc-1bd331effd30}")),
        QRegularExpression(QStringLiteral("a+b")),
        QEasingCurve(QEasingCurve::OutBounce),
        QJsonDocument(QJsonObject{{"a", 2}}),
        QVariant::fromValue(QCborMap{{QStringLiteral("a"), QCborArray{1, "two"}}}),
        QVariant::fromValue(QCborArray{1, "two"}),
        QVariant::fromValue(QCborValue(2.5)),
        QVariant::fromValue(QCborSimpleType::Null),
        QStringList{"a", "b"},
        QVariant::fromValue(QByteArrayList{"x", "y"}),
        QVariantHash{{"one", 1}},
        7U,
        -1LL,
        (1ULL << 63) + 1,
        1.25F,
        QVariant::fromValue<char>('c'),
        QVariant::fromValue<unsigned char>(250),
        QVariant::fromValue<short>(-300),
        QVariant::fromValue<unsigned short>(60000),
        QChar(0x20AC),
        QDate(2024, 2, 29),
        QTime(1, 2, 3, 4),
        QRegExp(QStringLiteral("a*b")),
        QJsonValue(2.25),
        QJsonObject{{"a", 1}},
        QJsonArray{1, "two"},
        QVariantList{1, "two", QVariantList{3.5}},
        QVariantMap{{"one", 1}, {"list", QVariantList{1, 2}}},
    };
}
