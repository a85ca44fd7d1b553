#include "host/monitor/FrameMetadata.h"

#include <QtCore/QBitArray>
#include <QtCore/QDataStream>
#include <QtCore/QIODevice>
#include <QtCore/QRegExp>

#include <gtest/gtest.h>

namespace
{

QByteArray serialised(const QVariant &value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << value;
    return bytes;
}

// What begins a value of that type.
void begin(QDataStream &out, QMetaType::Type type)
{
    out << static_cast<quint32>(type) << qint8{0};
}

// A number inside so many lists.
QVariant nested(int levels)
{
    QVariant value = 7;
    for (int level = 0; level < levels; ++level)
        value = QVariantList{value};
    return value;
}

TEST(FrameMetadata, ReadsWhatScenesSendEachOther)
{
    const QVariantMap map = {{"camera", "wide"},      {"number", 5},
                             {"iris", 2.8},           {"live", true},
                             {"frame", 1LL << 40},    {"bytes", QByteArray("\0\xFF", 2)},
                             {"nothing", QVariant()}, {"list", QVariantList{1, "two", QVariantMap{{"three", 3U}}}}};
    EXPECT_EQ(host::metadataValue(serialised(map)), QVariant(map));
    EXPECT_EQ(host::metadataValue(serialised("Camera 1")), QVariant("Camera 1"));
}

TEST(FrameMetadata, IsInvalidWhenCutShortAnywhere)
{
    const QByteArray whole = serialised(QVariantList{1, "two", QVariantMap{{"three", 3.0}}});
    ASSERT_TRUE(host::metadataValue(whole).isValid());
    for (int size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(host::metadataValue(whole.left(size)).isValid()) << size;
}

TEST(FrameMetadata, FollowsNestingToItsBoundOnly)
{
    EXPECT_EQ(host::metadataValue(serialised(nested(32))), nested(32));
    EXPECT_FALSE(host::metadataValue(serialised(nested(33))).isValid());
}

// Read to its end by recursion, either takes more than the stack of any thread.
TEST(FrameMetadata, RefusesListsInListsWithoutEnd)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    for (int level = 0; level < 1000000; ++level) {
        begin(out, QMetaType::QVariantList);
        out << quint32{1};
    }
    EXPECT_FALSE(host::metadataValue(bytes).isValid());
}

TEST(FrameMetadata, RefusesVariantsInVariantsWithoutEnd)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    for (int level = 0; level < 1000000; ++level)
        begin(out, QMetaType::QVariant);
    EXPECT_FALSE(host::metadataValue(bytes).isValid());
}

class FrameMetadataClaims : public testing::TestWithParam<QMetaType::Type>
{
};

TEST_P(FrameMetadataClaims, AreNotBelievedBeyondTheBytesThatAreThere)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    begin(out, GetParam());
    out << quint32{0xFFFFFFF0U};
    EXPECT_FALSE(host::metadataValue(bytes).isValid());
}

INSTANTIATE_TEST_SUITE_P(Sizes, FrameMetadataClaims,
                         testing::Values(QMetaType::QVariantList, QMetaType::QVariantMap, QMetaType::QVariantHash,
                                         QMetaType::QStringList, QMetaType::QString, QMetaType::QByteArray,
                                         QMetaType::QBitArray, QMetaType::QPolygon, QMetaType::User));

TEST(FrameMetadata, RefusesTypesThatItCannotBound)
{
    EXPECT_FALSE(host::metadataValue(serialised(QRegExp("a{1,9}"))).isValid());
    EXPECT_FALSE(host::metadataValue(serialised(QBitArray(3))).isValid());
    EXPECT_FALSE(host::metadataValue(serialised(QVariantList{1, QBitArray(3)})).isValid());
}

} // namespace
