// Metadata out of a scene: with its frames, and as the property of one node that becomes the property of another.

#include "tests/e2e/Envelope.h"
#include "tests/e2e/Scene.h"
#include "tests/e2e/SendingScenes.h"
#include "tests/e2e/TestReceiver.h"
#include "tests/e2e/TestSender.h"
#include "tests/e2e/TimeLimits.h"
#include "tests/support/QtCoreValues.h"

#include <QtGui/QColor>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

#include <algorithm>
#include <vector>

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

struct ChangedValue {
    QVariant value;
    QVariant seen; // by who receives it
};

// Of the types of Qt Core that become others in a QML binding, which may not hold all of the value.
std::vector<ChangedValue> valuesOfTypesThatBindingsChange()
{
    return {
        {7U, 7},
        {4000000000U, 4000000000.0},
        {-1LL, -1.0},
        {(1ULL << 63) + 1, 9223372036854775808.0},
        {1.25F, 1.25},
        {QVariant::fromValue<char>('c'), 'c'},
        {QVariant::fromValue<unsigned char>(250), 250},
        {QVariant::fromValue<short>(-300), -300},
        {QVariant::fromValue<unsigned short>(60000), 60000},
        {QChar(0x20AC), QString(QChar(0x20AC))},
        {QDate(2024, 2, 29), QDate(2024, 2, 29).startOfDay(Qt::UTC).toLocalTime()},
        {QTime(1, 2, 3, 4), QDateTime(QDate(1971, 4, 1), QTime(1, 2, 3, 4))}, // the day that Qt takes
        {QRegExp(QStringLiteral("a*b")), QRegularExpression(QStringLiteral("a*b"))},
        {QJsonValue(2.25), 2.25},
        {QJsonObject{{"a", 1}}, QVariantMap{{"a", 1.0}}},
        {QJsonArray{1, "two"}, QVariantList{1.0, "two"}},
        {QVariantList{1, "two", QVariantList{3.5}}, QVariantList{1, "two", QVariantList{3.5}}},
        {QVariantMap{{"one", 1U}, {"list", QVariantList{1, 2}}}, QVariantMap{{"one", 1}, {"list", QVariantList{1, 2}}}},
    };
}

std::vector<ChangedValue> valuesThatBindingsChange()
{
    std::vector<ChangedValue> values = valuesOfTypesThatBindingsChange();
    const QDateTime noon(QDate(2024, 2, 29), QTime(12, 0), Qt::UTC);
    values.push_back({noon, noon.toLocalTime()});
    return values;
}

// What a QML binding hands on as it got it: all other types of Qt Core, and some of Qt Gui.
QVariantList valuesThatBindingsKeep()
{
    const std::vector<ChangedValue> changed = valuesOfTypesThatBindingsChange();
    QVariantList values;
    for (const QVariant &value : qtCoreValues()) {
        const auto isOfItsType = [&](const ChangedValue &other) { return other.value.userType() == value.userType(); };
        if (std::none_of(changed.begin(), changed.end(), isOfItsType))
            values.append(value);
    }
    values.append({QColor(10, 20, 30, 40), QVector3D(1, 2, 3), QMatrix4x4()});
    return values;
}

TEST(SentMetadata, OfASinkBecomesTheSourcesWhateverItsType)
{
    const QString name = uniqueName("values");
    PatternScene sending(name);
    Scene receiving(name);
    ASSERT_TRUE(sending.isLoaded() && receiving.isLoaded());
    ASSERT_TRUE(receiving.receives(2, 2));
    QVariantList values = valuesThatBindingsKeep();
    for (const ChangedValue &changed : valuesThatBindingsChange())
        values.append(changed.value);
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

TEST(SentMetadata, OfASourceBecomesASinksExactlyWhateverTheBindingKeeps)
{
    const QString in = uniqueName("kept values in");
    const QString out = uniqueName("kept values out");
    TestSender sender(in, SenderFormat());
    const TestReceiver receiver(out);
    PassingScene scene(in, out);
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(waitUntil([&] { return receiver.pictureCount() > 0; }, Patience));
    QVariantList values = valuesThatBindingsKeep();
    values.append(scene.source().property("input")); // a type of the module's own
    for (const QVariant &value : qAsConst(values)) {
        const std::string text = envelope(serialised(value));
        sender.sendMetadata(text);
        EXPECT_TRUE(waitUntil(
            [&] {
                const std::vector<QByteArray> metadata = receiver.metadata();
                return !metadata.empty() && metadata.back() == QByteArray::fromStdString(text);
            },
            Patience))
            << value.typeName();
    }
    EXPECT_EQ(scene.graph().restarts(), 0);
}

TEST(SentMetadata, OfASourceBecomesASinksAsTheBindingChangesIt)
{
    const QString in = uniqueName("changed values in");
    const QString out = uniqueName("changed values out");
    TestSender sender(in, SenderFormat());
    PassingScene scene(in, out);
    Scene receiving(out);
    ASSERT_TRUE(scene.isLoaded() && receiving.isLoaded());
    ASSERT_TRUE(receiving.receives(2, 2));
    for (const ChangedValue &changed : valuesThatBindingsChange()) {
        sender.sendMetadata(envelope(serialised(changed.value)));
        // As bytes: these tell the type, too.
        EXPECT_TRUE(waitUntil(
            [&] { return serialised(receiving.source().property("metadata")) == serialised(changed.seen); }, Patience))
            << changed.value.typeName();
    }
    EXPECT_EQ(scene.graph().restarts(), 0);
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
