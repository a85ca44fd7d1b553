// Metadata out of a scene: with its frames, and as the property of one node that becomes the property of another.

#include "tests/e2e/Envelope.h"
#include "tests/e2e/Scene.h"
#include "tests/e2e/SendingScenes.h"
#include "tests/e2e/TestReceiver.h"
#include "tests/e2e/TestSender.h"
#include "tests/e2e/TimeLimits.h"

#include <QtCore/QBitArray>
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

namespace
{

QByteArray bytesOfEveryValue(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 7 + i / 256);
    return bytes;
}

TEST(SentMetadata, OfAFrameGoesThroughWhateverItsBytes)
{
    const QString in = uniqueName("frame metadata in");
    const QString out = uniqueName("frame metadata out");
    TestSender sender(in, SenderFormat());
    const TestReceiver receiver(out);
    PassingScene scene(in, out);
    ASSERT_TRUE(scene.isLoaded());
    const auto brings = [&](const QByteArray &text) {
        return waitUntil(
            [&] {
                const ReceivedPicture picture = receiver.newestPicture();
                const ReceivedSound sound = receiver.newestSound();
                return !picture.bytes.isEmpty() && picture.metadata == text && !sound.samples.empty() &&
                       sound.metadata == text;
            },
            Patience);
    };
    ASSERT_TRUE(brings({}));
    for (const int size : {1, 2, 256, 65537, 1 << 20}) {
        const std::string text = envelope(bytesOfEveryValue(size));
        sender.setFrameMetadata(text);
        EXPECT_TRUE(brings(QByteArray::fromStdString(text))) << size;
    }
    // No bytes are no metadata.
    sender.setFrameMetadata(envelope({}));
    EXPECT_TRUE(brings({}));
    EXPECT_EQ(scene.graph().restarts(), 0);
}

QVariantList valuesOfQtCore()
{
    return {
        true,
        42,
        7U,
        -1LL,
        1ULL << 63,
        2.5,
        1.25F,
        QVariant::fromValue<char>('c'),
        QVariant::fromValue<signed char>(-2),
        QVariant::fromValue<unsigned char>(250),
        QVariant::fromValue<short>(-300),
        QVariant::fromValue<unsigned short>(60000),
        QVariant::fromValue<long>(-70000),
        QVariant::fromValue<unsigned long>(70000),
        QVariant::fromValue(nullptr),
        QChar(0x20AC),
        QStringLiteral("Käse"),
        QString(),
        QBitArray(5, true),
        QByteArray("\0\1]]>", 5), // not behind an empty text, which Qt takes for the same
        QDate(2024, 2, 29),
        QTime(1, 2, 3, 4),
        QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3), Qt::UTC),
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
        QRegExp(QStringLiteral("a*b")),
        QEasingCurve(QEasingCurve::OutBounce),
        QJsonValue(2.5),
        QJsonObject{{"a", 1}},
        QJsonArray{1, "two"},
        QJsonDocument(QJsonObject{{"a", 2}}),
        QStringList{"a", "b"},
        QVariant::fromValue(QByteArrayList{"x", "y"}),
        QVariantList{1, "two", QVariantList{3.0}},
        QVariantMap{{"one", 1}, {"list", QVariantList{1, 2}}},
        QVariantHash{{"one", 1}},
    };
}

TEST(SentMetadata, OfASinkBecomesTheSourcesWhateverItsType)
{
    const QString name = uniqueName("values");
    PatternScene sending(name);
    Scene receiving(name);
    ASSERT_TRUE(sending.isLoaded() && receiving.isLoaded());
    ASSERT_TRUE(receiving.receives(2, 2));
    QVariantList values = valuesOfQtCore();
    values.append(receiving.source().property("input")); // a type of the module's own
    for (const QVariant &value : qAsConst(values)) {
        sending.sink().setProperty("metadata", value);
        // As bytes: these tell the type and an empty value, too.
        EXPECT_TRUE(waitUntil([&] { return serialised(receiving.source().property("metadata")) == serialised(value); },
                              Patience))
            << value.typeName();
    }
    EXPECT_EQ(sending.graph().restarts(), 0);
}

TEST(SentMetadata, GoesOutWithEveryChangeInOrder)
{
    const QString name = uniqueName("changes");
    const TestReceiver receiver(name);
    PatternScene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(waitUntil([&] { return receiver.pictureCount() > 0; }, Patience));
    std::vector<QByteArray> expected;
    for (int number = 1; number <= 50; ++number) {
        scene.sink().setProperty("metadata", number);
        scene.sink().setProperty("metadata", number); // no change
        expected.push_back(QByteArray::fromStdString(envelope(serialised(number))));
    }
    EXPECT_TRUE(waitUntil([&] { return receiver.metadata().size() >= expected.size(); }, Patience));
    EXPECT_EQ(receiver.metadata(), expected);
}

} // namespace
